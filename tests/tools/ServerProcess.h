// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../server/ModelFixture.h"
#include "../server/ServerTestSupport.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillo::tooltest {

// A real quillo-server process on a free loopback port, over SQLite in a temporary directory and
// a scripted model, as the tool's user would run one.
class ServerProcess {
public:
    server::ModelFixture model;

    ServerProcess() {
        m_port = server::apitest::freeLoopbackPort();
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("XDG_STATE_HOME"), m_dir.path());
        m_environment.insert(QStringLiteral("QUILLO_DATABASE_URL"),
                             QStringLiteral("sqlite:") + m_dir.filePath(QStringLiteral("q.db")));
        m_environment.insert(QStringLiteral("QUILLO_MODEL_URL"), model.url());
        m_environment.insert(QStringLiteral("QUILLO_SERVER_LISTEN"),
                             QStringLiteral("127.0.0.1:%1").arg(m_port));
    }

    ~ServerProcess() {
        m_server.terminate();
        m_server.waitForFinished(30000);
    }

    // A setting of the service's own, before start().
    void setEnvironment(const QString& name, const QString& value) {
        m_environment.insert(name, value);
    }

    // Starts serving; returns once the service listens.
    void start() {
        m_server.setProcessEnvironment(m_environment);
        m_server.setReadChannel(QProcess::StandardError);
        m_server.start(QStringLiteral(QUILLO_SERVER_PATH), {QStringLiteral("serve")});
        QByteArray log;
        while (!log.contains("listening on http://127.0.0.1:")) {
            ASSERT_TRUE(m_server.waitForReadyRead(20000)) << log.toStdString();
            log += m_server.readAllStandardError();
        }
    }

    // A new access code for `email`, from `quillo-server invite`.
    QString invite(const QString& email) const {
        QProcess invite;
        invite.setProcessEnvironment(m_environment);
        invite.start(QStringLiteral(QUILLO_SERVER_PATH), {QStringLiteral("invite"), email});
        EXPECT_TRUE(invite.waitForFinished(30000));
        EXPECT_EQ(invite.exitCode(), 0) << invite.readAllStandardError().toStdString();
        return QString::fromLatin1(invite.readAllStandardOutput()).trimmed();
    }

    int port() const { return m_port; }
    QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(m_port); }

private:
    QTemporaryDir m_dir;
    QProcessEnvironment m_environment;
    QProcess m_server;
    int m_port = 0;
};

} // namespace quillo::tooltest
