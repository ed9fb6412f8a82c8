// SPDX-License-Identifier: Apache-2.0
#include "JwksFixture.h"
#include "ServerTestSupport.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

using ApiSession = ApiTest;

TEST_F(ApiSession, AccessCodeSignsInWithTheAccountRecord) {
    const QString code = invite(QStringLiteral("ana@example.com"));
    // People type codes loosely: case, spaces and look-alike letters do not matter.
    QString typed = code.toLower().remove(u'-');
    typed.replace(u'0', u'o').replace(u'1', u'l');
    const Answer answer = post("/v1/session", {{QStringLiteral("reviewCode"), u' ' + typed}});

    ASSERT_EQ(answer.status, 200) << answer.body.toStdString();
    EXPECT_EQ(answer.contentType, "application/json");
    const QString token = answer.json.value(u"sessionToken").toString();
    EXPECT_GE(token.size(), 40);
    const QJsonObject expected{
        {QStringLiteral("email"), QStringLiteral("ana@example.com")},
        {QStringLiteral("name"), QStringLiteral("Test")},
        {QStringLiteral("plan"), QStringLiteral("free")},
        {QStringLiteral("repliesToday"), 0},
        {QStringLiteral("dailyLimit"), 3},
        {QStringLiteral("plusDailyLimit"), 3},
        {QStringLiteral("planSource"), QStringLiteral("self-hosted")},
        {QStringLiteral("feedbackToday"), 0},
        {QStringLiteral("feedbackDailyLimit"), 50},
    };
    EXPECT_EQ(answer.json.value(u"account").toObject(), expected);

    // The account answer hands back the token it was asked with.
    const Answer account = get("/v1/account", token);
    ASSERT_EQ(account.status, 200);
    EXPECT_EQ(account.json.value(u"sessionToken").toString(), token);
    EXPECT_EQ(account.json.value(u"account").toObject(), expected);

    // Every sign-in is a session of its own.
    const Answer again = post("/v1/session", {{QStringLiteral("reviewCode"), code}});
    ASSERT_EQ(again.status, 200);
    EXPECT_NE(again.json.value(u"sessionToken").toString(), token);
}

TEST_F(ApiSession, RefusesBadSignInBodies) {
    invite(QStringLiteral("ana@example.com"));
    const struct {
        QByteArray body;
        int status;
    } cases[] = {
        {"{\"reviewCode\":\"AAAA-BBBB-CCCC-DDDD\"}", 401},
        {"{\"reviewCode\":\"\"}", 401},
        {"{\"reviewCode\":42}", 400},
        {"{\"idToken\":[]}", 400},
        {"{}", 400},
        {"{\"reviewCode\":\"x\",\"idToken\":\"y\"}", 400},
        {"[\"reviewCode\"]", 400},
        {"{\"reviewCode\":", 400},
        {"", 400},
        // Google sign-in is off without client ids.
        {"{\"idToken\":\"eyJ.eyJ.sig\"}", 400},
    };
    for (const auto& c : cases) {
        const Answer answer = send("POST", "/v1/session", c.body);
        EXPECT_EQ(answer.status, c.status) << c.body.toStdString();
        EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty()) << c.body.toStdString();
        EXPECT_EQ(answer.contentType, "application/json");
    }
}

TEST_F(ApiSession, GoogleIdTokenSignsInAndCreatesTheAccountOnce) {
    JwksFixture google;
    config.googleJwksUrl = google.url();
    config.googleClientIds = {JwksFixture::clientId()};
    restart();

    const auto signIn = [&](const QJsonObject& claims) {
        return post("/v1/session", {{QStringLiteral("idToken"), google.sign(claims)}});
    };
    const QJsonObject claims =
        JwksFixture::claims(QStringLiteral("Ana.Lima@Example.com"), clock.nowMillis());
    const Answer first = signIn(claims);
    ASSERT_EQ(first.status, 200) << first.body.toStdString();
    const QJsonObject account = first.json.value(u"account").toObject();
    EXPECT_EQ(account.value(u"email").toString(), u"ana.lima@example.com");
    EXPECT_EQ(account.value(u"name").toString(), u"Ana Lima");

    // The same person again: the same account, so the same document.
    const QString firstToken = first.json.value(u"sessionToken").toString();
    ASSERT_EQ(send("PUT", "/v1/state", "{\"state\":{},\"baseUpdatedAt\":0}", firstToken).status,
              200);
    const Answer second = signIn(claims);
    ASSERT_EQ(second.status, 200);
    const Answer state = get("/v1/state?since=0", second.json.value(u"sessionToken").toString());
    EXPECT_TRUE(state.json.value(u"state").isObject());

    QJsonObject foreign = claims;
    foreign.insert(QStringLiteral("aud"), QStringLiteral("someone-else"));
    EXPECT_EQ(signIn(foreign).status, 401);
    EXPECT_EQ(
        post("/v1/session", {{QStringLiteral("idToken"), QStringLiteral("not.a.token")}}).status,
        401);
    // Google's tokens last an hour, by the service's clock.
    clock.advance(2 * 60 * 60 * 1000);
    EXPECT_EQ(signIn(claims).status, 401);
}

// While Google's keys cannot be had, a good token is not refused: the service is unavailable,
// and the same token signs in once the keys are back.
TEST_F(ApiSession, AKeySetOutageIsUnavailableNotARefusal) {
    JwksFixture google;
    config.googleJwksUrl = google.url();
    config.googleClientIds = {JwksFixture::clientId()};
    restart();
    const QJsonObject body{
        {QStringLiteral("idToken"),
         google.sign(JwksFixture::claims(QStringLiteral("ana@example.com"), clock.nowMillis()))}};
    google.setFailing(true);
    const Answer down = post("/v1/session", body);
    EXPECT_EQ(down.status, 503);
    EXPECT_EQ(down.json.value(u"error").toString(), u"sign-in unavailable");
    EXPECT_EQ(post("/v1/session", body).status, 503); // within the minute between fetches
    google.setFailing(false);
    clock.advance(60'000);
    EXPECT_EQ(post("/v1/session", body).status, 200);
}

// Signing out ends the token on the service, not only on the device; sessions idle past their
// time are deleted, not merely refused.
TEST_F(ApiSession, SignOutEndsTheSessionAndIdleOnesArePurged) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    const QString other = signIn(QStringLiteral("ana@example.com"));
    const Answer ended = send("DELETE", "/v1/session", {}, token);
    EXPECT_EQ(ended.status, 204);
    EXPECT_TRUE(ended.body.isEmpty());
    EXPECT_EQ(get("/v1/account", token).status, 401);
    EXPECT_EQ(send("DELETE", "/v1/session", {}, token).status, 401);
    EXPECT_EQ(get("/v1/account", other).status, 200);

    clock.advance(qint64(config.sessionIdleDays) * millisPerDay + 1);
    signIn(QStringLiteral("bo@example.com"));
    clock.set(clock.nowMillis() - qint64(config.sessionIdleDays) * millisPerDay);
    // Back within what would have been its idle time, the purged session is still gone.
    EXPECT_EQ(get("/v1/account", other).status, 401);
}

TEST_F(ApiSession, TokensMustBeKnownAndRecentlyUsed) {
    const QString token = signIn(QStringLiteral("ana@example.com"));
    EXPECT_EQ(get("/v1/account").status, 401);
    EXPECT_EQ(get("/v1/account", QStringLiteral("made-up-token")).status, 401);
    const Answer wrongScheme = answerOf(
        httplib::Client("127.0.0.1", port()).Get("/v1/account", {{"Authorization", "Basic abc"}}));
    EXPECT_EQ(wrongScheme.status, 401);
    EXPECT_FALSE(wrongScheme.json.value(u"error").toString().isEmpty());

    // Each use keeps the session alive for another idle period...
    for (int i = 0; i < 3; ++i) {
        clock.advance(20 * millisPerDay);
        ASSERT_EQ(get("/v1/account", token).status, 200) << i;
    }
    // ...and a session left alone longer than that is over.
    clock.advance(31 * millisPerDay);
    EXPECT_EQ(get("/v1/account", token).status, 401);
    EXPECT_EQ(get("/v1/state?since=0", token).status, 401);
}

TEST_F(ApiSession, DeletingTheAccountRemovesItsSessionsCodesAndDocument) {
    const QString code = invite(QStringLiteral("ana@example.com"));
    const QString token = post("/v1/session", {{QStringLiteral("reviewCode"), code}})
                              .json.value(u"sessionToken")
                              .toString();
    ASSERT_EQ(send("PUT", "/v1/state", "{\"state\":{},\"baseUpdatedAt\":0}", token).status, 200);
    const QString other = signIn(QStringLiteral("bea@example.com"));

    const Answer deleted = send("DELETE", "/v1/account", {}, token);
    EXPECT_EQ(deleted.status, 200);
    EXPECT_EQ(deleted.body, "{}");
    EXPECT_EQ(get("/v1/account", token).status, 401);
    EXPECT_EQ(post("/v1/session", {{QStringLiteral("reviewCode"), code}}).status, 401);

    // A new account under the same address starts empty; the other account is untouched.
    const QString fresh = signIn(QStringLiteral("ana@example.com"));
    EXPECT_EQ(get("/v1/state?since=0", fresh).body, "{\"unchanged\":false,\"updatedAt\":0}");
    EXPECT_EQ(get("/v1/account", other).status, 200);
}

} // namespace
