// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AtomicFile.h"

#include <QString>

#include <optional>

namespace quillo {

// Where the application's files live: the support directory with the state file, the session
// file and the logs. Both roots are given at construction so that tests can point them anywhere;
// `current()` reads them from the process.
class AppPaths {
public:
    // `supportDirOverride` is QUILLO_SUPPORT_DIR (empty: not set); `dataRoot` is the per-user
    // data directory that holds the support directory and those of earlier releases.
    AppPaths(const QString& supportDirOverride, const QString& dataRoot);

    // From QUILLO_SUPPORT_DIR and the platform's per-user data location.
    static AppPaths current();

    QString applicationSupportDir() const { return m_supportDir; }
    QString statePath() const;
    QString sessionPath() const;
    QString logsDir() const;

    // Moves an earlier release's support directory into place, then creates the support and
    // logs directories. Gives the first failure, or nothing when all is in place.
    std::optional<FileError> ensureSupportDirectories() const;

    // When there is no support directory yet, moves the first earlier release's directory that
    // exists (in the order of AppIdentity::legacySupportSuiteNames) to it.
    std::optional<FileError> migrateLegacySupportDirectoryIfNeeded() const;

private:
    QString m_dataRoot;
    QString m_supportDir;
};

} // namespace quillo
