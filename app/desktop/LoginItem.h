// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace quillo {

// Opening Quillo when the user logs in: an XDG autostart entry whose command carries
// --launched-at-login. When a systemd user unit named after the launch agent starts it
// instead, an installer manages the start and the settings switch is not the way.
class LoginItem {
public:
    // The directories default to $XDG_CONFIG_HOME/autostart and $XDG_CONFIG_HOME/systemd/user.
    LoginItem(QString autostartDir = {}, QString unitDir = {});

    bool isOn() const;
    // Writes or removes the entry; gives the line to show when that failed.
    std::optional<QString> set(bool on) const;
    bool managedByInstaller() const;

    QString entryPath() const;

    // Whether this start is the session's login start: --launched-at-login on the command line,
    // or the login agent's label as the service name in the environment.
    static bool isLoginLaunch(const QStringList& arguments, const QString& serviceName);

private:
    QString m_autostartDir;
    QString m_unitDir;
};

} // namespace quillo
