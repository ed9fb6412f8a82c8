// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

namespace quillo::apptest {

// An X server of the test's own. Xvfb picks a free display itself and names it once it takes
// connections: tests starting side by side (ctest -j) never race for one number.
class VirtualDisplay {
public:
    VirtualDisplay() {
        m_server.start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                                QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                                                QStringLiteral("-screen"), QStringLiteral("0"),
                                                QStringLiteral("640x480x24")});
        QByteArray number;
        QElapsedTimer waited;
        waited.start();
        while (!number.contains('\n') && waited.elapsed() < 10'000 &&
               m_server.waitForReadyRead(int(10'000 - waited.elapsed())))
            number += m_server.readAllStandardOutput();
        if (number.contains('\n'))
            m_name = u':' + QString::fromLatin1(number.trimmed());
    }
    ~VirtualDisplay() {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    bool running() const { return !m_name.isEmpty() && m_server.state() == QProcess::Running; }
    const QString& name() const { return m_name; }

    // What a user's keyboard does: a key press the server delivers to whoever grabbed it.
    bool press(const QString& keys) const {
        QProcess xdotool;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_name);
        xdotool.setProcessEnvironment(environment);
        xdotool.start(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
        return xdotool.waitForFinished(10'000) && xdotool.exitCode() == 0;
    }

private:
    QProcess m_server;
    QString m_name;
};

} // namespace quillo::apptest
