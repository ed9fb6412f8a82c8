// SPDX-License-Identifier: Apache-2.0
#include "ForwardingStorage.h"
#include "ServerTestSupport.h"

#include <QRegularExpression>
#include <QStringList>

#include <atomic>
#include <condition_variable>
#include <mutex>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

using ApiProtocol = ApiTest;

TEST_F(ApiProtocol, UnknownRoutesAndMethodsGetJsonErrors) {
    const struct {
        const char* method;
        const char* path;
        int status;
        const char* allow;
    } cases[] = {
        {"GET", "/v2/reply", 404, ""},
        {"GET", "/", 404, ""},
        {"GET", "/v1/account/extra", 404, ""},
        {"GET", "/v1/apps/mac.json", 404, ""},
        {"GET", "/v1/reply", 405, "POST"},
        {"PATCH", "/v1/state", 405, "GET, PUT"},
        {"POST", "/v1/account", 405, "GET, DELETE"},
        {"DELETE", "/healthz", 405, "GET"},
    };
    for (const auto& c : cases) {
        const Answer answer = send(c.method, c.path, "{}");
        EXPECT_EQ(answer.status, c.status) << c.method << ' ' << c.path;
        EXPECT_EQ(answer.allow, c.allow) << c.method << ' ' << c.path;
        EXPECT_EQ(answer.contentType, "application/json");
        EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty()) << c.path;
    }
}

TEST_F(ApiProtocol, BodiesOverTheLimitGet413AndTheServerCarriesOn) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const QByteArray large = "{\"state\":{\"speechLanguage\":\"" +
                             QByteArray(int(config.maxBodyBytes), 'x') + "\"},\"baseUpdatedAt\":0}";
    const Answer refused = send("PUT", "/v1/state", large, token);
    EXPECT_EQ(refused.status, 413);
    EXPECT_EQ(refused.json.value(u"error").toString(), u"body too large");
    EXPECT_EQ(send("PUT", "/v1/state", "{\"state\":{},\"baseUpdatedAt\":0}", token).status, 200);
}

TEST_F(ApiProtocol, HostileBodiesGet400s) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const QByteArray deep = QByteArray(20000, '[') + QByteArray(20000, ']');
    const QList<QByteArray> bodies = {
        deep,
        "{\"state\":" + deep + ",\"messages\":" + deep + '}',
        QByteArray("{\"reviewCode\":\"\xff\xfe\"}"),
        QByteArray("{\"a\":\"\0\"}", 9),
        "null",
        "{\"maxTokens\":1e999999}",
        "\"\\ud800\"",
    };
    for (const char* path : {"/v1/session", "/v1/reply"}) {
        for (const QByteArray& body : bodies) {
            const Answer answer = send("POST", path, body, token);
            // Sign-in takes 16 KiB at most: the deepest bodies are refused for their size.
            const bool large = std::string_view(path) == "/v1/session" && body.size() > 16 * 1024;
            EXPECT_EQ(answer.status, large ? 413 : 400)
                << path << ' ' << body.left(40).toStdString();
            EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty());
        }
    }
    for (const QByteArray& body : bodies)
        EXPECT_EQ(send("PUT", "/v1/state", body, token).status, 400) << body.left(40).toStdString();
    EXPECT_EQ(get("/healthz").status, 200);
}

TEST_F(ApiProtocol, HealthReadinessAndRelease) {
    EXPECT_EQ(get("/healthz").json,
              QJsonObject({{QStringLiteral("status"), QStringLiteral("ok")}}));
    const Answer ready = get("/readyz");
    EXPECT_EQ(ready.status, 200);
    EXPECT_EQ(ready.json.value(u"status").toString(), u"ready");
    EXPECT_EQ(model.modelsRequests(), 2); // at start-up, and again for the readiness

    const Answer none = get("/v1/apps/mac");
    EXPECT_EQ(none.status, 404);
    EXPECT_FALSE(none.json.value(u"error").toString().isEmpty());
    config.releaseVersion = QStringLiteral("1.4.2");
    config.releaseUrl = QStringLiteral("/downloads/quillo-1.4.2.tar.gz");
    restart();
    EXPECT_EQ(
        get("/v1/apps/mac").json,
        QJsonObject({{QStringLiteral("version"), QStringLiteral("1.4.2")},
                     {QStringLiteral("url"), QStringLiteral("/downloads/quillo-1.4.2.tar.gz")}}));
}

// Collects the request log while it lives. A line is written just after its answer, so a test
// waits for the lines it expects rather than for time to pass.
class LogCapture {
public:
    LogCapture() {
        std::lock_guard lock(state().mutex);
        state().lines.clear();
        m_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture() { qInstallMessageHandler(m_previous); }

    static QStringList waitForLines(int count) {
        std::unique_lock lock(state().mutex);
        state().added.wait_for(lock, std::chrono::seconds(10),
                               [&] { return state().lines.size() >= count; });
        return state().lines;
    }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable added;
        QStringList lines;
    };
    static State& state() {
        static State captured;
        return captured;
    }
    static void handle(QtMsgType, const QMessageLogContext& context, const QString& message) {
        if (QByteArrayView(context.category) != "quillo.http")
            return;
        std::lock_guard lock(state().mutex);
        state().lines.append(message);
        state().added.notify_all();
    }
    QtMessageHandler m_previous;
};

TEST_F(ApiProtocol, LogsOneLinePerRequestWithoutSecretsOrText) {
    LogCapture capture;
    const QString token = signIn(QStringLiteral("ana@example.com"));
    model.script({ModelFixture::reply(QStringLiteral("respuesta secreta"))});
    ASSERT_EQ(post("/v1/reply", replyRequest(QStringLiteral("mensaje secreto")), token).status,
              200);
    get("/v1/state?since=12345", token);
    get("/nowhere");

    const QStringList lines = LogCapture::waitForLines(4);
    const QString all = lines.join(u'\n');
    ASSERT_EQ(lines.size(), 4) << all.toStdString();
    const QRegularExpression shapes[] = {
        QRegularExpression(QStringLiteral("^POST /v1/session 200 \\d+ms account=1$")),
        QRegularExpression(QStringLiteral("^POST /v1/reply 200 \\d+ms account=1$")),
        QRegularExpression(QStringLiteral("^GET /v1/state 200 \\d+ms account=1$")),
        QRegularExpression(QStringLiteral("^GET /nowhere 404 \\d+ms$")),
    };
    for (const QRegularExpression& shape : shapes)
        EXPECT_EQ(lines.filter(shape).size(), 1) << shape.pattern().toStdString();
    for (const QString& secret : {token, QStringLiteral("secret"), QStringLiteral("12345")})
        EXPECT_FALSE(all.contains(secret)) << secret.toStdString();
}

// The real storage, until a test pulls the plug.
class SwitchableStorage final : public ForwardingStorage {
public:
    using ForwardingStorage::ForwardingStorage;
    std::atomic<bool> down = false;

private:
    Storage& inner() override {
        if (down)
            throw StorageError("database is locked");
        return ForwardingStorage::inner();
    }
};

class ApiStorageOutage : public ApiTest {
protected:
    std::unique_ptr<SwitchableStorage> switchable;
    Storage& servedStorage() override {
        if (!switchable)
            switchable = std::make_unique<SwitchableStorage>(*storage);
        return *switchable;
    }
};

TEST_F(ApiStorageOutage, AnswersUnavailableUntilTheDatabaseIsBack) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    switchable->down = true;
    for (const Answer& answer :
         {get("/v1/account", token), get("/v1/state?since=0", token),
          post("/v1/reply", replyRequest(), token),
          post("/v1/session", {{QStringLiteral("reviewCode"), QStringLiteral("AAAA")}})}) {
        EXPECT_EQ(answer.status, 503) << answer.body.toStdString();
        EXPECT_EQ(answer.json.value(u"error").toString(), u"storage unavailable");
    }
    EXPECT_EQ(get("/readyz").json.value(u"error").toString(), u"storage unavailable");
    EXPECT_EQ(get("/healthz").status, 200);
    switchable->down = false;
    EXPECT_EQ(get("/v1/account", token).status, 200);
}

} // namespace
