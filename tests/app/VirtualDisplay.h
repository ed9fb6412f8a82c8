#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

namespace quillo::apptest {

// An X server of the test's own, on the first free display number from :90.
class VirtualDisplay {
public:
    VirtualDisplay() {
        int number = 90;
        while (QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(number)) ||
               QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(number)))
            ++number;
        m_name = QStringLiteral(":%1").arg(number);
        m_server.start(QStringLiteral("Xvfb"), {m_name, QStringLiteral("-nolisten"),
                                                QStringLiteral("tcp"), QStringLiteral("-screen"),
                                                QStringLiteral("0"), QStringLiteral("640x480x24")});
        QElapsedTimer waited;
        waited.start();
        const QString socket = QStringLiteral("/tmp/.X11-unix/X%1").arg(number);
        while (m_server.state() != QProcess::NotRunning && !QFile::exists(socket) &&
               waited.elapsed() < 10'000)
            m_server.waitForFinished(20);
    }
    ~VirtualDisplay() {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    bool running() const { return m_server.state() == QProcess::Running; }
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
