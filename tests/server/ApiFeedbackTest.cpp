// SPDX-License-Identifier: Apache-2.0
#include "ServerTestSupport.h"
#include "StorageTestSupport.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;
using quillo::server::testing::Engine;
using quillo::server::testing::TestDatabases;

namespace {

// Feedback on the user's writing goes through /v1/reply with "purpose":"feedback" and draws on
// an allowance of its own. Run on each engine, since the counting lives in the database.
class ApiFeedback : public ApiTest, public ::testing::WithParamInterface<Engine> {
protected:
    TestDatabases databases{GetParam()};
    QString token;

    void SetUp() override {
        const QString reason = databases.unavailableReason();
        if (!reason.isEmpty())
            GTEST_SKIP() << reason.toStdString();
        config.dailyFeedbackLimit = 2;
        ApiTest::SetUp();
        token = signIn(QStringLiteral("ana@example.com"));
    }

    void TearDown() override {
        ApiTest::TearDown();
        storage.reset(); // before its PostgreSQL schema is dropped
    }

    QString databaseUrl() override { return databases.freshUrl(); }

    static QJsonObject withPurpose(const QJsonValue& purpose) {
        QJsonObject body = replyRequest();
        body.insert(QStringLiteral("purpose"), purpose);
        return body;
    }
    Answer reply() { return post("/v1/reply", replyRequest(), token); }
    Answer feedback() { return post("/v1/reply", withPurpose(QStringLiteral("feedback")), token); }

    // Replies and feedback used today, as the account record shows them.
    std::pair<int, int> used(const QJsonObject& account) {
        return {account.value(u"repliesToday").toInt(-1),
                account.value(u"feedbackToday").toInt(-1)};
    }
    std::pair<int, int> used() {
        return used(get("/v1/account", token).json.value(u"account").toObject());
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, ApiFeedback, ::testing::Values(Engine::Sqlite, Engine::Postgres),
                         [](const auto& instance) {
                             return quillo::server::testing::engineName(instance.param);
                         });

TEST_P(ApiFeedback, IsCountedApartFromRepliesAndShownWithItsLimit) {
    const QJsonObject fresh = get("/v1/account", token).json.value(u"account").toObject();
    EXPECT_EQ(used(fresh), std::pair(0, 0));
    EXPECT_EQ(fresh.value(u"feedbackDailyLimit").toInt(), 2);
    EXPECT_EQ(fresh.value(u"dailyLimit").toInt(), 3);

    model.script({ModelFixture::reply(QStringLiteral("{\"corrected\":\"Tengo hambre\"}"))});
    const Answer checked = feedback();
    ASSERT_EQ(checked.status, 200) << checked.body.toStdString();
    EXPECT_EQ(checked.json.value(u"content").toString(), u"{\"corrected\":\"Tengo hambre\"}");
    EXPECT_EQ(used(checked.json.value(u"account").toObject()), std::pair(0, 1));
    // The model is asked exactly as for a reply; the purpose stays with the service.
    EXPECT_EQ(model.requests().first().value(u"messages"), replyRequest().value(u"messages"));
    EXPECT_FALSE(model.requests().first().contains(u"purpose"));

    const Answer answered = post("/v1/reply", withPurpose(QStringLiteral("reply")), token);
    ASSERT_EQ(answered.status, 200);
    EXPECT_EQ(used(answered.json.value(u"account").toObject()), std::pair(1, 1));

    // Feedback the model failed to give is given back, and touches no reply.
    model.script({ModelFixture::status(500)});
    EXPECT_EQ(feedback().status, 502);
    EXPECT_EQ(used(), std::pair(1, 1));

    // Another account counts its own.
    const QString bea = signIn(QStringLiteral("bea@example.com"));
    EXPECT_EQ(post("/v1/reply", withPurpose(QStringLiteral("feedback")), bea).status, 200);
    EXPECT_EQ(used(), std::pair(1, 1));
}

TEST_P(ApiFeedback, SpentFeedbackIsRefusedWhileRepliesGoOn) {
    ASSERT_EQ(feedback().status, 200);
    ASSERT_EQ(feedback().status, 200);
    const Answer refused = feedback();
    EXPECT_EQ(refused.status, 402);
    EXPECT_EQ(refused.json, QJsonObject({{QStringLiteral("error"),
                                          QStringLiteral("daily feedback limit reached")}}));
    EXPECT_EQ(model.requests().size(), 2); // the model is not asked for refused feedback

    for (int i = 1; i <= 3; ++i) {
        const Answer answer = reply();
        ASSERT_EQ(answer.status, 200) << i;
        EXPECT_EQ(used(answer.json.value(u"account").toObject()), std::pair(i, 2));
    }

    advanceToNextDay();
    EXPECT_EQ(used(), std::pair(0, 0));
    EXPECT_EQ(feedback().status, 200);
}

TEST_P(ApiFeedback, SpentRepliesDoNotStopFeedback) {
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(reply().status, 200);
    const Answer refused = post("/v1/reply", withPurpose(QStringLiteral("reply")), token);
    EXPECT_EQ(refused.status, 402);
    EXPECT_EQ(refused.json.value(u"error").toString(), u"daily limit reached");

    const Answer checked = feedback();
    ASSERT_EQ(checked.status, 200);
    EXPECT_EQ(used(checked.json.value(u"account").toObject()), std::pair(3, 1));

    // A service that gives no feedback at all still gives replies, and the other way round.
    config.dailyFeedbackLimit = 0;
    config.dailyLimit = 5;
    restart();
    EXPECT_EQ(feedback().status, 402);
    EXPECT_EQ(reply().status, 200);
}

TEST_P(ApiFeedback, AnUnknownPurposeIsRefusedBeforeAnythingIsCounted) {
    for (const QJsonValue& purpose :
         {QJsonValue(QStringLiteral("Feedback")), QJsonValue(QStringLiteral("")),
          QJsonValue(QStringLiteral("hint")), QJsonValue(7), QJsonValue(QJsonValue::Null),
          QJsonValue(QJsonArray{QStringLiteral("feedback")})}) {
        const Answer answer = post("/v1/reply", withPurpose(purpose), token);
        EXPECT_EQ(answer.status, 400) << compact(withPurpose(purpose)).toStdString();
        EXPECT_EQ(answer.json.value(u"error").toString(), u"purpose: expected reply or feedback");
    }
    EXPECT_TRUE(model.requests().isEmpty());
    EXPECT_EQ(used(), std::pair(0, 0));
}

} // namespace
