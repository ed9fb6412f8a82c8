// SPDX-License-Identifier: Apache-2.0
#include "ServerTestSupport.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

class ApiReply : public ApiTest {
protected:
    QString token;

    void SetUp() override {
        ApiTest::SetUp();
        token = signIn(QStringLiteral("ana@example.com"));
    }

    Answer reply(const QJsonObject& body = replyRequest()) {
        return post("/v1/reply", body, token);
    }
    int repliesToday() {
        return get("/v1/account", token).json.value(u"account")[u"repliesToday"].toInt(-1);
    }
};

TEST_F(ApiReply, ForwardsThePromptAndAnswersWithTheModelsText) {
    config.modelKey = QStringLiteral("sk-test");
    restart();
    model.script({ModelFixture::reply(QStringLiteral("{\"message\":\"¡Muy bien!\"}"))});

    const Answer answer = reply();
    ASSERT_EQ(answer.status, 200) << answer.body.toStdString();
    EXPECT_EQ(answer.contentType, "application/json");
    EXPECT_EQ(answer.json.value(u"content").toString(), u"{\"message\":\"¡Muy bien!\"}");
    EXPECT_EQ(answer.json.value(u"account")[u"repliesToday"].toInt(), 1);
    EXPECT_EQ(answer.json.value(u"account")[u"email"].toString(), u"ana@example.com");

    ASSERT_EQ(model.requests().size(), 1);
    const QJsonObject sent = model.requests().first();
    EXPECT_EQ(sent.value(u"model").toString(), u"test-model");
    EXPECT_EQ(sent.value(u"messages"), replyRequest().value(u"messages"));
    EXPECT_EQ(sent.value(u"max_tokens").toInt(), 80);
    EXPECT_DOUBLE_EQ(sent.value(u"temperature").toDouble(), 0.6);
    EXPECT_EQ(sent.value(u"response_format")[u"type"].toString(), u"json_object");
    EXPECT_EQ(model.authorizations().first(), "Bearer sk-test");
}

TEST_F(ApiReply, PlainModeNoKeyAndATrailingSlashInTheUrl) {
    config.modelJsonMode = false;
    config.modelUrl = model.url() + u'/';
    restart();
    ASSERT_EQ(reply().status, 200);
    EXPECT_FALSE(model.requests().first().contains(u"response_format"));
    EXPECT_TRUE(model.authorizations().first().isEmpty());
}

TEST_F(ApiReply, DailyAllowanceRunsOutAndComesBackAtMidnightUtc) {
    for (int i = 1; i <= 3; ++i) {
        const Answer answer = reply();
        ASSERT_EQ(answer.status, 200);
        EXPECT_EQ(answer.json.value(u"account")[u"repliesToday"].toInt(), i);
    }
    const Answer refused = reply();
    EXPECT_EQ(refused.status, 402);
    EXPECT_EQ(refused.json.value(u"error").toString(), u"daily limit reached");
    EXPECT_EQ(model.requests().size(), 3); // the model is not asked for a refused reply

    // Another account has its own allowance.
    const QString other = signIn(QStringLiteral("bea@example.com"));
    EXPECT_EQ(post("/v1/reply", replyRequest(), other).status, 200);

    advanceToNextDay();
    EXPECT_EQ(repliesToday(), 0);
    const Answer fresh = reply();
    ASSERT_EQ(fresh.status, 200);
    EXPECT_EQ(fresh.json.value(u"account")[u"repliesToday"].toInt(), 1);
}

TEST_F(ApiReply, ModelFailuresAnswerRetryableStatusesAndDoNotCount) {
    model.script({ModelFixture::status(429), ModelFixture::status(500), ModelFixture::garbage(),
                  ModelFixture::status(404), ModelFixture::reply(QStringLiteral("   "))});
    const int expected[] = {429, 502, 502, 502, 502};
    for (const int status : expected) {
        const Answer answer = reply();
        EXPECT_EQ(answer.status, status) << answer.body.toStdString();
        EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty());
        EXPECT_FALSE(answer.json.contains(u"content")); // never a made-up reply
    }
    EXPECT_EQ(repliesToday(), 0);
    // With the allowance untouched, all three replies of the day are still there.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(reply().status, 200);
}

TEST_F(ApiReply, UnreachableModelIs503) {
    config.modelUrl = QStringLiteral("http://127.0.0.1:%1/v1").arg(freeLoopbackPort());
    restart();

    EXPECT_EQ(reply().status, 503);
    EXPECT_EQ(repliesToday(), 0);
    const Answer ready = get("/readyz");
    EXPECT_EQ(ready.status, 503);
    EXPECT_EQ(ready.json.value(u"error").toString(), u"model unreachable");
}

TEST_F(ApiReply, SlowModelIs504) {
    // The one real wait in this suite: the smallest timeout the configuration takes.
    config.modelTimeoutSeconds = 1;
    restart();
    model.hold();
    const Answer answer = reply();
    model.release();
    EXPECT_EQ(answer.status, 504);
    EXPECT_EQ(repliesToday(), 0);
}

TEST_F(ApiReply, RefusesMalformedRequestsBeforeAskingTheModel) {
    const auto with = [](const QString& key, const QJsonValue& value) {
        QJsonObject body = replyRequest();
        if (value.isUndefined())
            body.remove(key);
        else
            body.insert(key, value);
        return body;
    };
    const auto message = [](const QJsonValue& role, const QJsonValue& content) {
        return QJsonArray{
            QJsonObject{{QStringLiteral("role"), role}, {QStringLiteral("content"), content}}};
    };
    QJsonArray tooMany;
    for (int i = 0; i < 65; ++i)
        tooMany.append(message(QStringLiteral("user"), QStringLiteral("hi")).first());
    const QString messages = QStringLiteral("messages");
    const QString maxTokens = QStringLiteral("maxTokens");
    const QString temperature = QStringLiteral("temperature");
    const QList<QJsonObject> bodies = {
        with(messages, QJsonValue::Undefined),
        with(messages, QJsonArray{}),
        with(messages, tooMany),
        with(messages, QStringLiteral("hi")),
        with(messages, message(QStringLiteral("tool"), QStringLiteral("hi"))),
        with(messages, message(QStringLiteral("user"), 7)),
        with(messages, QJsonArray{QStringLiteral("hi")}),
        with(maxTokens, QJsonValue::Undefined),
        with(maxTokens, 0),
        with(maxTokens, 4097),
        with(maxTokens, 80.5),
        with(maxTokens, QStringLiteral("80")),
        with(temperature, -0.1),
        with(temperature, 2.5),
        with(temperature, QJsonValue::Null),
    };
    for (const QJsonObject& body : bodies) {
        const Answer answer = reply(body);
        EXPECT_EQ(answer.status, 400) << compact(body).toStdString();
        EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty());
    }
    EXPECT_EQ(send("POST", "/v1/reply", "{\"messages\":[", token).status, 400);
    EXPECT_EQ(post("/v1/reply", replyRequest()).status, 401);
    EXPECT_TRUE(model.requests().isEmpty());
    EXPECT_EQ(repliesToday(), 0);

    // The edges of each range are fine.
    EXPECT_EQ(reply(with(maxTokens, 4096)).status, 200);
    EXPECT_EQ(reply(with(temperature, 0)).status, 200);
    tooMany.removeFirst();
    EXPECT_EQ(reply(with(messages, tooMany)).status, 200);
}

} // namespace
