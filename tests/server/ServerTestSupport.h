// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ModelFixture.h"
#include "auth/GoogleIdTokenVerifier.h"
#include "auth/Secrets.h"
#include "common/Clock.h"
#include "config/ServerConfig.h"
#include "http/AccessCode.h"
#include "http/ApiServer.h"
#include "storage/Storage.h"
#include "support/ManualClock.h"
#include "upstream/ModelClient.h"
#include "upstream/TranscribeClient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <httplib.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>

namespace quillo::server::apitest {

constexpr qint64 millisPerDay = 24 * 60 * 60 * 1000;

// A loopback port that nothing listens on: bound once by the kernel's choice, then let go.
inline int freeLoopbackPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), length);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

// One answer of the service under test; status 0 when no HTTP answer came.
struct Answer {
    int status = 0;
    QByteArray body;
    QJsonObject json; // the body as an object, when it is one
    std::string contentType;
    std::string allow;
};

inline Answer answerOf(const httplib::Result& result) {
    Answer answer;
    if (!result)
        return answer;
    answer.status = result->status;
    answer.body = QByteArray::fromStdString(result->body);
    answer.json = QJsonDocument::fromJson(answer.body).object();
    answer.contentType = result->get_header_value("Content-Type");
    answer.allow = result->get_header_value("Allow");
    return answer;
}

inline QByteArray compact(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A well-formed reply request with one user message.
inline QJsonObject replyRequest(const QString& text = QStringLiteral("Hola, ¿qué tal?")) {
    return {{QStringLiteral("messages"),
             QJsonArray{QJsonObject{{QStringLiteral("role"), QStringLiteral("system")},
                                    {QStringLiteral("content"), QStringLiteral("Be brief.")}},
                        QJsonObject{{QStringLiteral("role"), QStringLiteral("user")},
                                    {QStringLiteral("content"), text}}}},
            {QStringLiteral("maxTokens"), 80},
            {QStringLiteral("temperature"), 0.6}};
}

// The service in-process on loopback, over SQLite in a temporary directory, a manual clock and
// a scripted model. Tests change `config` and call restart() for other settings; the database
// stays.
class ApiTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    ManualClock clock;
    ModelFixture model;
    ServerConfig config;
    std::unique_ptr<Storage> storage;

    void SetUp() override {
        config.listenHost = QStringLiteral("127.0.0.1");
        config.listenPort = 0;
        config.modelUrl = model.url();
        config.modelName = QStringLiteral("test-model");
        config.dailyLimit = 3;
        config.maxBodyBytes = 256 * 1024;
        config.threads = 4;
        config.googleClientIds = {};
        ASSERT_TRUE(dir.isValid());
        storage = openStorage(databaseUrl());
        storage->migrate();
        start();
    }

    void TearDown() override { stop(); }

    void start() {
        m_model = std::make_unique<ModelClient>(config, clock);
        // As `quillo-server serve` does before it serves.
        m_model->discovery().lookBlocking();
        m_transcriber = std::make_unique<TranscribeClient>(config);
        m_verifier = std::make_unique<GoogleIdTokenVerifier>(config.googleJwksUrl,
                                                             config.googleClientIds, clock);
        m_server = std::make_unique<ApiServer>(config, servedStorage(), *m_model, *m_transcriber,
                                               *m_verifier, clock);
        ASSERT_TRUE(m_server->bind());
        m_serving = std::thread([this] { m_server->listen(); });
    }

    void stop() {
        if (!m_server)
            return;
        m_server->stop();
        m_serving.join();
        m_server.reset();
    }

    void restart() {
        stop();
        start();
    }

    // Where `storage` keeps its data; a test may choose another engine.
    virtual QString databaseUrl() {
        return QStringLiteral("sqlite:") + dir.filePath(QStringLiteral("q.db"));
    }

    // The storage the server is given; a test may put a decorator in front of `storage`.
    virtual Storage& servedStorage() { return *storage; }

    int port() const { return m_server->port(); }

    Answer send(const std::string& method, const std::string& path, const QByteArray& body = {},
                const QString& token = {}) const {
        httplib::Client client("127.0.0.1", port());
        httplib::Headers headers;
        if (!token.isEmpty())
            headers.emplace("Authorization", "Bearer " + token.toStdString());
        const std::string content = body.toStdString();
        const char* type = "application/json";
        if (method == "GET")
            return answerOf(client.Get(path, headers));
        if (method == "DELETE")
            return answerOf(client.Delete(path, headers));
        if (method == "POST")
            return answerOf(client.Post(path, headers, content, type));
        if (method == "PUT")
            return answerOf(client.Put(path, headers, content, type));
        if (method == "PATCH")
            return answerOf(client.Patch(path, headers, content, type));
        ADD_FAILURE() << "no such method in the tests: " << method;
        return {};
    }
    Answer get(const std::string& path, const QString& token = {}) const {
        return send("GET", path, {}, token);
    }
    Answer post(const std::string& path, const QJsonObject& body, const QString& token = {}) const {
        return send("POST", path, compact(body), token);
    }

    // A new access code for the account of `email`, as `quillo-server invite` makes one.
    QString invite(const QString& email) {
        const AccountRow account = storage->ensureAccount(email, QStringLiteral("Test"), 1);
        const QString code = newAccessCode();
        storage->addAccessCode(account.id, sha256(normalizedAccessCode(code)), clock.nowMillis());
        return code;
    }

    // A session token for the account of `email`, signed in with an access code.
    QString signIn(const QString& email) {
        const Answer answer = post("/v1/session", {{QStringLiteral("reviewCode"), invite(email)}});
        EXPECT_EQ(answer.status, 200) << answer.body.toStdString();
        return answer.json.value(u"sessionToken").toString();
    }

    // Moves the clock to the first millisecond of the next UTC day.
    void advanceToNextDay() { clock.advance(millisPerDay - clock.nowMillis() % millisPerDay); }

private:
    std::unique_ptr<ModelClient> m_model;
    std::unique_ptr<TranscribeClient> m_transcriber;
    std::unique_ptr<GoogleIdTokenVerifier> m_verifier;
    std::unique_ptr<ApiServer> m_server;
    std::thread m_serving;
};

} // namespace quillo::server::apitest
