// SPDX-License-Identifier: Apache-2.0
#include "LoginItem.h"

#include "store/AppIdentity.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace quillo {

namespace {

QString configHome() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

// Desktop entry values escape the backslash, spaces stay inside double quotes.
QString quotedForExec(const QString& path) {
    QString quoted = path;
    quoted.replace(u'\\', QStringLiteral("\\\\"));
    quoted.replace(u'"', QStringLiteral("\\\""));
    return u'"' + quoted + u'"';
}

} // namespace

LoginItem::LoginItem(QString autostartDir, QString unitDir)
    : m_autostartDir(autostartDir.isEmpty() ? configHome() + QStringLiteral("/autostart")
                                            : std::move(autostartDir))
    , m_unitDir(unitDir.isEmpty() ? configHome() + QStringLiteral("/systemd/user")
                                  : std::move(unitDir)) {}

QString LoginItem::entryPath() const {
    return m_autostartDir + u'/' + AppIdentity::bundleIdentifier() + QStringLiteral(".desktop");
}

bool LoginItem::isOn() const {
    QFile entry(entryPath());
    if (!entry.open(QIODevice::ReadOnly))
        return false;
    // An entry the desktop's own settings switched off stays on disk, marked hidden.
    const QByteArray text = entry.readAll();
    return !text.contains("\nHidden=true") && !text.contains("\nX-GNOME-Autostart-enabled=false");
}

std::optional<QString> LoginItem::set(bool on) const {
    const QString failed = QStringLiteral("Couldn't change whether Quillo opens at login.");
    if (!on) {
        QFile entry(entryPath());
        return !entry.exists() || entry.remove() ? std::nullopt : std::optional(failed);
    }
    if (!QDir().mkpath(m_autostartDir))
        return failed;
    const QString program = QCoreApplication::applicationFilePath();
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=%1\n"
                                        "Exec=%2 --launched-at-login\n"
                                        "Icon=%3\n"
                                        "Terminal=false\n"
                                        "X-GNOME-Autostart-enabled=true\n")
                             .arg(AppIdentity::displayName(), quotedForExec(program),
                                  AppIdentity::bundleIdentifier());
    QSaveFile entry(entryPath());
    if (!entry.open(QIODevice::WriteOnly) || entry.write(text.toUtf8()) < 0 || !entry.commit())
        return failed;
    return std::nullopt;
}

bool LoginItem::isLoginLaunch(const QStringList& arguments, const QString& serviceName) {
    return arguments.contains(QStringLiteral("--launched-at-login")) ||
           serviceName == AppIdentity::launchAgentLabel();
}

bool LoginItem::managedByInstaller() const {
    return QFile::exists(m_unitDir + u'/' + AppIdentity::launchAgentLabel() +
                         QStringLiteral(".service"));
}

} // namespace quillo
