// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

namespace quillo {

// The fixed names of the application: what it is called, where its files live and how its
// parts identify themselves to the system.
struct AppIdentity {
    // Shown in the user interface.
    static QString displayName();
    // Identifies the desktop application; also the prefix of its log categories.
    static QString bundleIdentifier();
    // Name of the support directory.
    static QString supportSuiteName();
    // Support directory names of earlier releases, in the order they are looked for.
    static QStringList legacySupportSuiteNames();
    // Label of the login agent.
    static QString launchAgentLabel();
    // Shown to the user and compared by the update check; "dev" for builds without a version.
    static QString version();

    // Where the service lives: QUILLO_API_URL when it holds a usable URL, else the default.
    static QUrl apiBaseURL();
    // The same rule for a given override text (empty meaning none).
    static QUrl apiBaseURL(const QString& overrideText);
    static QUrl defaultApiBaseURL();
};

} // namespace quillo
