// SPDX-License-Identifier: Apache-2.0
#include "JwksFixture.h"
#include "ServerTestSupport.h"
#include "http/SignInThrottle.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

// Who may sign in, how often one may fail, and for how long a code works.
class ApiSignInGuard : public ApiTest {
protected:
    // A sign-in with `code`, as sent through a proxy that names `forwardedFor` (if any).
    Answer signInWith(const QString& code, const std::string& forwardedFor = {}) const {
        httplib::Client client("127.0.0.1", port());
        httplib::Headers headers;
        if (!forwardedFor.empty())
            headers.emplace("X-Forwarded-For", forwardedFor);
        const QJsonObject body{{QStringLiteral("reviewCode"), code}};
        return answerOf(
            client.Post("/v1/session", headers, compact(body).toStdString(), "application/json"));
    }

    // Fails `count` sign-ins, each answered 401.
    void fail(int count, const std::string& forwardedFor = {}) {
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(signInWith(QStringLiteral("WRONG-CODE"), forwardedFor).status, 401);
    }
};

TEST_F(ApiSignInGuard, AnAccessCodeWorksForItsDaysOnly) {
    config.codeDays = 2;
    restart();
    const QString code = invite(QStringLiteral("ana@example.com"));
    clock.advance(2 * millisPerDay);
    EXPECT_EQ(signInWith(code).status, 200); // the last millisecond of its second day
    clock.advance(1);
    const Answer expired = signInWith(code);
    EXPECT_EQ(expired.status, 401);
    // An expired code reads like an unknown one: nothing tells a guesser it ever existed.
    EXPECT_EQ(expired.json.value(u"error").toString(), u"unknown access code");
}

TEST_F(ApiSignInGuard, FailedSignInsFromOneAddressWaitLongerAndLonger) {
    const QString code = invite(QStringLiteral("ana@example.com"));
    fail(SignInThrottle::freeFailures);
    EXPECT_EQ(signInWith(code).status, 200) << "mistyping a few times costs nothing";
    fail(SignInThrottle::freeFailures + 1);

    // Blocked for a second: even the right code waits, and the answer says how long.
    const Answer blocked = signInWith(code);
    EXPECT_EQ(blocked.status, 429);
    EXPECT_EQ(blocked.json.value(u"error").toString(),
              u"too many failed sign-ins; try again later");
    httplib::Client client("127.0.0.1", port());
    const auto raw = client.Post("/v1/session", "{\"reviewCode\":\"X\"}", "application/json");
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->get_header_value("Retry-After"), "1");

    // Each further failure doubles the wait.
    clock.advance(1000);
    fail(1);
    EXPECT_EQ(signInWith(code).status, 429);
    clock.advance(1999);
    EXPECT_EQ(signInWith(code).status, 429);
    clock.advance(1);
    fail(1);
    clock.advance(3999);
    EXPECT_EQ(signInWith(code).status, 429);
    clock.advance(1);

    // Malformed requests guess nothing and count for nothing; a success forgives the address.
    EXPECT_EQ(send("POST", "/v1/session", "{\"reviewCode\":42}").status, 400);
    EXPECT_EQ(signInWith(code).status, 200);
    fail(SignInThrottle::freeFailures);
    EXPECT_EQ(signInWith(code).status, 200);
}

TEST_F(ApiSignInGuard, BehindATrustedProxyEachClientCountsAlone) {
    const QString code = invite(QStringLiteral("ana@example.com"));
    // Not trusted: a forged header changes nothing, the peer's own address is counted.
    fail(SignInThrottle::freeFailures + 1, "203.0.113.7");
    EXPECT_EQ(signInWith(code, "203.0.113.8").status, 429);

    config.trustedProxies = {QStringLiteral("127.0.0.1")};
    restart();
    fail(SignInThrottle::freeFailures + 1, "198.51.100.1, 203.0.113.7");
    EXPECT_EQ(signInWith(code, "203.0.113.7").status, 429);
    // Another client behind the proxy, and one who put a forged address first.
    EXPECT_EQ(signInWith(code, "203.0.113.8").status, 200);
    EXPECT_EQ(signInWith(code, "203.0.113.7, 203.0.113.9").status, 200);
    // Trusted hops at the end are skipped; only trusted hops leave the first one named.
    EXPECT_EQ(signInWith(code, "203.0.113.7, 127.0.0.1").status, 429);
    EXPECT_EQ(signInWith(code, "127.0.0.1").status, 200);
}

TEST_F(ApiSignInGuard, GoogleSignInTakesOnlyTheListedDomainsAndAddresses) {
    JwksFixture google;
    config.googleJwksUrl = google.url();
    config.googleClientIds = {JwksFixture::clientId()};
    config.googleAllowed = {QStringLiteral("school.example"), QStringLiteral("ana@example.com")};
    restart();
    const auto signIn = [&](const char* email) {
        return post(
            "/v1/session",
            {{QStringLiteral("idToken"),
              google.sign(JwksFixture::claims(QString::fromLatin1(email), clock.nowMillis()))}});
    };
    EXPECT_EQ(signIn("Pupil@School.example").status, 200);
    EXPECT_EQ(signIn("ana@example.com").status, 200);
    const Answer stranger = signIn("ben@example.com");
    EXPECT_EQ(stranger.status, 403);
    EXPECT_EQ(stranger.json.value(u"error").toString(),
              u"this Google account may not sign in here");
    EXPECT_EQ(signIn("pupil@sub.school.example").status, 403);
    EXPECT_EQ(signIn("pupil@school.example.evil").status, 403);
    // Nobody refused got an account: one made now takes the name given now.
    EXPECT_EQ(
        storage->ensureAccount(QStringLiteral("ben@example.com"), QStringLiteral("Ben"), 1).name,
        u"Ben");
}

// The throttle's memory: what it counts together, and that it stays bounded.
TEST(SignInThrottle, CountsIpv6NetworksAndForgetsQuietAddresses) {
    SignInThrottle throttle;
    const qint64 t = 1'000'000;
    for (int i = 0; i <= SignInThrottle::freeFailures; ++i)
        throttle.failed("2001:db8:1:2::" + std::to_string(i + 1), t);
    EXPECT_TRUE(throttle.waitFor("2001:db8:1:2:ffff::1", t)) << "one /64 is one client";
    EXPECT_FALSE(throttle.waitFor("2001:db8:1:3::1", t));
    for (int i = 0; i <= SignInThrottle::freeFailures; ++i)
        throttle.failed("::ffff:192.0.2.1", t);
    EXPECT_TRUE(throttle.waitFor("192.0.2.1", t)) << "a mapped IPv4 address is that address";

    // The longest wait is a quarter of an hour, however many failures.
    for (int i = 0; i < 40; ++i)
        throttle.failed("192.0.2.2", t);
    EXPECT_EQ(throttle.waitFor("192.0.2.2", t), SignInThrottle::longestWaitMillis);
    // A day later the address starts afresh.
    const qint64 later = t + SignInThrottle::forgetAfterMillis + 1;
    throttle.failed("192.0.2.2", later);
    EXPECT_FALSE(throttle.waitFor("192.0.2.2", later));

    // Many addresses at once: memory stays bounded, and the blocked ones are kept.
    for (int i = 0; i <= SignInThrottle::freeFailures; ++i)
        throttle.failed("192.0.2.3", later);
    for (size_t i = 0; i < SignInThrottle::maxAddresses + 100; ++i)
        throttle.failed("10." + std::to_string(i >> 16 & 255) + "." + std::to_string(i >> 8 & 255) +
                            "." + std::to_string(i & 255),
                        later);
    EXPECT_LE(throttle.remembered(), SignInThrottle::maxAddresses);
    EXPECT_TRUE(throttle.waitFor("192.0.2.3", later)) << "blocked addresses are not evicted";
}

} // namespace
