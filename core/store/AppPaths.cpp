// SPDX-License-Identifier: Apache-2.0
#include "AppPaths.h"

#include "AppIdentity.h"
#include "common/LogCategories.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

namespace quillo {

namespace {

std::optional<FileError> makeDirectory(const QString& path) {
    if (QFileInfo(path).isDir())
        return std::nullopt;
    if (!QDir().mkpath(path))
        return FileError{path, QStringLiteral("could not create the directory")};
    return std::nullopt;
}

} // namespace

AppPaths::AppPaths(const QString& supportDirOverride, const QString& dataRoot)
    : m_dataRoot(QDir::cleanPath(dataRoot)) {
    const QString support = supportDirOverride.isEmpty()
                                ? m_dataRoot + u'/' + AppIdentity::supportSuiteName()
                                : supportDirOverride;
    // Absolute, so that nothing depends on the working directory the app was started in.
    m_supportDir = QDir::cleanPath(QFileInfo(support).absoluteFilePath());
}

AppPaths AppPaths::current() {
    QString root = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (root.isEmpty())
        root = QDir::homePath() + QStringLiteral("/.local/share");
    return AppPaths(qEnvironmentVariable("QUILLO_SUPPORT_DIR"), root);
}

QString AppPaths::statePath() const {
    return m_supportDir + QStringLiteral("/state.json");
}

QString AppPaths::sessionPath() const {
    return m_supportDir + QStringLiteral("/session.json");
}

QString AppPaths::logsDir() const {
    return m_supportDir + QStringLiteral("/logs");
}

std::optional<FileError> AppPaths::ensureSupportDirectories() const {
    if (auto error = migrateLegacySupportDirectoryIfNeeded())
        return error;
    if (auto error = makeDirectory(m_supportDir))
        return error;
    return makeDirectory(logsDir());
}

std::optional<FileError> AppPaths::migrateLegacySupportDirectoryIfNeeded() const {
    if (QFileInfo::exists(m_supportDir))
        return std::nullopt;
    for (const QString& name : AppIdentity::legacySupportSuiteNames()) {
        const QString legacy = m_dataRoot + u'/' + name;
        if (!QFileInfo(legacy).isDir())
            continue;
        // The support directory may be an override somewhere else whose parent is not there yet.
        if (auto error = makeDirectory(QFileInfo(m_supportDir).absolutePath()))
            return error;
        if (!QDir().rename(legacy, m_supportDir)) {
            return FileError{legacy, QStringLiteral("could not move it to ") + m_supportDir};
        }
        qCInfo(lcState) << "moved the support directory" << legacy << "to" << m_supportDir;
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace quillo
