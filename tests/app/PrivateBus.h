// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace quillo::apptest {

// A session bus of the test's own: dbus-daemon, gone with the test.
class PrivateBus {
public:
    PrivateBus() {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"),
                        QStringLiteral("--print-address")});
        if (m_daemon.waitForStarted(5000) && m_daemon.waitForReadyRead(5000))
            m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus() {
        for (const QString& name : std::as_const(m_names))
            QDBusConnection::disconnectFromBus(name);
        m_daemon.kill();
        m_daemon.waitForFinished(5000);
    }
    QDBusConnection connect(const QString& name) {
        // Connection names are per process: one bus's names must not meet the next one's.
        const QString unique = name + QString::number(quintptr(this));
        m_names.append(unique);
        return QDBusConnection::connectToBus(m_address, unique);
    }
    const QString& address() const { return m_address; }

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};

} // namespace quillo::apptest
