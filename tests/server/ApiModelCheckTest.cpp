// SPDX-License-Identifier: Apache-2.0
#include "ServerTestSupport.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

class ApiModelCheck : public ApiTest {
protected:
    QString token;

    void SetUp() override {
        ApiTest::SetUp();
        token = signIn(QStringLiteral("ana@example.com"));
    }

    Answer check() { return send("POST", "/v1/model/check", {}, token); }
    int repliesToday() {
        return get("/v1/account", token).json.value(u"account")[u"repliesToday"].toInt(-1);
    }
};

TEST_F(ApiModelCheck, AsksForOneTokenAndCountsItAsAReply) {
    config.modelName.clear();
    model.setModels({QStringLiteral("qwen2.5:0.5b")});
    model.script({ModelFixture::reply(QStringLiteral("OK"))});
    restart();

    const Answer answer = check();
    ASSERT_EQ(answer.status, 200) << answer.body.toStdString();
    EXPECT_EQ(answer.json, QJsonObject({{QStringLiteral("url"), model.url()},
                                        {QStringLiteral("name"), QStringLiteral("qwen2.5:0.5b")},
                                        {QStringLiteral("ok"), true}}));
    ASSERT_EQ(model.requests().size(), 1);
    const QJsonObject sent = model.requests().first();
    EXPECT_EQ(sent.value(u"model").toString(), u"qwen2.5:0.5b");
    EXPECT_EQ(sent.value(u"max_tokens").toInt(), 1);
    EXPECT_FALSE(sent.contains(u"response_format")); // one token cannot be a JSON object
    EXPECT_EQ(repliesToday(), 1);

    // One token may be nothing to read; the model answered all the same.
    model.script({ModelFixture::reply(QString())});
    EXPECT_EQ(check().status, 200);
    EXPECT_EQ(repliesToday(), 2);
}

TEST_F(ApiModelCheck, AFailingModelIs503WithTheReasonAndIsNotCounted) {
    model.script({ModelFixture::status(500), ModelFixture::garbage()});
    for (const char* reason : {"model answered 500", "model answer is not a completion"}) {
        const Answer answer = check();
        EXPECT_EQ(answer.status, 503);
        EXPECT_EQ(answer.json, QJsonObject({{QStringLiteral("url"), model.url()},
                                            {QStringLiteral("name"), QStringLiteral("test-model")},
                                            {QStringLiteral("ok"), false},
                                            {QStringLiteral("error"), QString::fromUtf8(reason)}}));
    }
    // A name the model server does not have: it answers 404.
    config.modelName = QStringLiteral("llama3:70b");
    restart();
    EXPECT_EQ(check().json.value(u"error").toString(), u"model answered 404");

    config.modelUrl = QStringLiteral("http://127.0.0.1:%1/v1").arg(freeLoopbackPort());
    config.modelName.clear();
    restart();
    const Answer none = check();
    EXPECT_EQ(none.status, 503);
    EXPECT_EQ(none.json, QJsonObject({{QStringLiteral("ok"), false},
                                      {QStringLiteral("error"),
                                       config.modelUrl + QStringLiteral(" does not answer")}}));
    EXPECT_EQ(repliesToday(), 0);
}

TEST_F(ApiModelCheck, NeedsASessionAndTheDaysAllowance) {
    EXPECT_EQ(send("POST", "/v1/model/check").status, 401);
    EXPECT_EQ(send("POST", "/v1/model/check", "{}", QStringLiteral("nobody")).status, 401);
    for (int i = 0; i < config.dailyLimit; ++i)
        ASSERT_EQ(post("/v1/reply", replyRequest(), token).status, 200);

    const Answer refused = check();
    EXPECT_EQ(refused.status, 402);
    EXPECT_EQ(refused.json.value(u"error").toString(), u"daily limit reached");
    EXPECT_EQ(model.requests().size(), config.dailyLimit); // the model was not asked

    advanceToNextDay();
    EXPECT_EQ(send("POST", "/v1/model/check", "{}", token).status, 200);
}

} // namespace
