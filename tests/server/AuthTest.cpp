// SPDX-License-Identifier: Apache-2.0
#include "JwksFixture.h"
#include "support/ManualClock.h"

#include "auth/GoogleIdTokenVerifier.h"
#include "auth/Jwks.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace quillo;
using namespace quillo::server;

namespace {

const QString otherClientId = QStringLiteral("555-desktop.apps.example.test");

class GoogleIdToken : public ::testing::Test {
protected:
    JwksFixture google;
    ManualClock clock;
    GoogleIdTokenVerifier verifier{google.url(), {otherClientId, JwksFixture::clientId()}, clock};
    QJsonObject claims =
        JwksFixture::claims(QStringLiteral("Ana.Lima@Example.COM"), clock.nowMillis());

    // The refusal's text, or "accepted".
    QString outcome(const QString& token) {
        auto result = verifier.verify(token);
        return result ? QStringLiteral("accepted") : result.error();
    }
    QString outcomeWith(const QString& claim, const QJsonValue& value) {
        QJsonObject changed = claims;
        if (value.isUndefined())
            changed.remove(claim);
        else
            changed.insert(claim, value);
        return outcome(google.sign(changed));
    }
};

TEST_F(GoogleIdToken, AcceptsAGoodTokenAndFetchesTheKeysOnce) {
    auto identity = verifier.verify(google.sign(claims));
    ASSERT_TRUE(identity) << identity.error().toStdString();
    EXPECT_EQ(identity->email, u"ana.lima@example.com");
    EXPECT_EQ(identity->name, u"Ana Lima");
    EXPECT_TRUE(verifier.verify(google.sign(claims)));
    EXPECT_EQ(google.fetchCount(), 1);
}

TEST_F(GoogleIdToken, AcceptsEveryShapeGoogleUses) {
    EXPECT_EQ(outcomeWith(QStringLiteral("iss"), QStringLiteral("accounts.google.com")),
              u"accepted");
    EXPECT_EQ(outcomeWith(QStringLiteral("aud"),
                          QJsonArray{QStringLiteral("someone-else"), JwksFixture::clientId()}),
              u"accepted");
    EXPECT_EQ(outcomeWith(QStringLiteral("email_verified"), QStringLiteral("true")), u"accepted");
    claims.remove(QStringLiteral("name"));
    auto identity = verifier.verify(google.sign(claims));
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->name, u"");
}

TEST_F(GoogleIdToken, RefusesSignaturesThatDoNotMatch) {
    const QString token = google.sign(claims);
    // Same signature over a payload naming someone else.
    QStringList parts = token.split(u'.');
    QJsonObject forged = claims;
    forged.insert(QStringLiteral("email"), QStringLiteral("mallory@example.com"));
    parts[1] = QString::fromLatin1(
        QJsonDocument(forged)
            .toJson(QJsonDocument::Compact)
            .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    EXPECT_EQ(outcome(parts.join(u'.')), u"token signature does not verify");

    // A newer key's signature under the older key's id.
    const QString firstKey = google.currentKeyId();
    google.rotateKey();
    EXPECT_EQ(outcome(google.sign(claims, firstKey)), u"token signature does not verify");
}

TEST_F(GoogleIdToken, PicksUpARotatedKeyOnFirstSight) {
    ASSERT_TRUE(verifier.verify(google.sign(claims)));
    clock.advance(3'600'000);
    claims = JwksFixture::claims(QStringLiteral("ana@example.com"), clock.nowMillis());
    google.rotateKey();
    EXPECT_EQ(outcome(google.sign(claims)), u"accepted");
    EXPECT_EQ(google.fetchCount(), 2);
}

TEST_F(GoogleIdToken, UnknownKeysRefetchAtMostOnceAMinute) {
    ASSERT_TRUE(verifier.verify(google.sign(claims)));
    google.rotateKey();
    const QString rotated = google.sign(claims);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(outcome(rotated), u"token signed by an unknown key");
        EXPECT_EQ(outcome(google.sign(claims, QStringLiteral("made-up-") + QString::number(i))),
                  u"token signed by an unknown key");
    }
    EXPECT_EQ(google.fetchCount(), 1);

    clock.advance(59'999);
    EXPECT_EQ(outcome(rotated), u"token signed by an unknown key");
    clock.advance(1);
    EXPECT_EQ(outcome(rotated), u"accepted");
    EXPECT_EQ(outcome(google.sign(claims, QStringLiteral("made-up"))),
              u"token signed by an unknown key");
    EXPECT_EQ(google.fetchCount(), 2);
}

TEST_F(GoogleIdToken, ConcurrentFirstRequestsShareOneFetch) {
    const QString token = google.sign(claims);
    std::vector<std::thread> threads;
    std::atomic<int> accepted = 0;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            if (verifier.verify(token))
                ++accepted;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(accepted, 8);
    EXPECT_EQ(google.fetchCount(), 1);
}

TEST_F(GoogleIdToken, ExpiryAllowsAMinuteOfClockSkew) {
    const qint64 now = clock.nowMillis() / 1000;
    EXPECT_EQ(outcomeWith(QStringLiteral("exp"), now - 60), u"accepted");
    EXPECT_EQ(outcomeWith(QStringLiteral("exp"), now - 61), u"token expired");
    EXPECT_EQ(outcomeWith(QStringLiteral("exp"), QJsonValue::Undefined), u"token has no expiry");
    EXPECT_EQ(outcomeWith(QStringLiteral("exp"), QStringLiteral("tomorrow")),
              u"token has no expiry");
    EXPECT_EQ(outcomeWith(QStringLiteral("iat"), now + 120), u"accepted");
    EXPECT_EQ(outcomeWith(QStringLiteral("iat"), now + 3600), u"token issued in the future");

    const QString token = google.sign(claims);
    clock.advance((3600 + 61) * 1000);
    EXPECT_EQ(outcome(token), u"token expired");
}

TEST_F(GoogleIdToken, RefusesOtherAudiencesAndIssuers) {
    const QString notOurs = QStringLiteral("token audience is not a configured client id");
    EXPECT_EQ(outcomeWith(QStringLiteral("aud"), QStringLiteral("someone-else")), notOurs);
    EXPECT_EQ(outcomeWith(QStringLiteral("aud"), QJsonArray{QStringLiteral("someone-else")}),
              notOurs);
    EXPECT_EQ(outcomeWith(QStringLiteral("aud"), QJsonValue::Undefined), notOurs);
    EXPECT_EQ(outcomeWith(QStringLiteral("iss"), QStringLiteral("https://accounts.example.com")),
              u"token issuer is not Google");
    EXPECT_EQ(outcomeWith(QStringLiteral("iss"), QJsonValue::Undefined),
              u"token issuer is not Google");
}

TEST_F(GoogleIdToken, RefusesAddressesGoogleHasNotVerified) {
    const QString unverified = QStringLiteral("token e-mail address is not verified");
    EXPECT_EQ(outcomeWith(QStringLiteral("email_verified"), false), unverified);
    EXPECT_EQ(outcomeWith(QStringLiteral("email_verified"), QStringLiteral("false")), unverified);
    EXPECT_EQ(outcomeWith(QStringLiteral("email_verified"), 1), unverified);
    EXPECT_EQ(outcomeWith(QStringLiteral("email_verified"), QJsonValue::Undefined), unverified);
    EXPECT_EQ(outcomeWith(QStringLiteral("email"), QStringLiteral(" ")),
              u"token carries no e-mail address");
}

TEST_F(GoogleIdToken, RefusesOtherAlgorithmsBeforeLookingForKeys) {
    const auto header = [](const char16_t* alg) {
        return QJsonObject{{QStringLiteral("alg"), QString::fromUtf16(alg)},
                           {QStringLiteral("kid"), QStringLiteral("test-key-1")}};
    };
    EXPECT_EQ(outcome(JwksFixture::compact(header(u"none"), claims, {})),
              u"token has no signature");
    EXPECT_EQ(outcome(JwksFixture::compact(header(u"none"), claims, "x")),
              u"token algorithm is not RS256");
    EXPECT_EQ(outcome(JwksFixture::compact(header(u"HS256"), claims, QByteArray(32, 'k'))),
              u"token algorithm is not RS256");
    EXPECT_EQ(
        outcome(JwksFixture::compact(QJsonObject{{QStringLiteral("alg"), QStringLiteral("RS256")}},
                                     claims, QByteArray(256, 's'))),
        u"token has no key id");
    EXPECT_EQ(google.fetchCount(), 0);
}

TEST_F(GoogleIdToken, RefusesGarbageWithoutCrashing) {
    const QString good = google.sign(claims);
    const QString garbage[] = {
        QString(),
        QStringLiteral("not a token"),
        QStringLiteral("a.b"),
        QStringLiteral("a.b.c.d"),
        QStringLiteral(".."),
        QStringLiteral("e30.e30.e30"),  // {}.{}.{}
        QStringLiteral("W10.W10.AAAA"), // [].[]
        good.left(good.size() - 10),
        good.left(good.indexOf(u'.') + 5),
        good + QStringLiteral("=="),
        good + u'\u00e9',
        QString(good).replace(0, 1, u'*'),
        good + QString(20'000, u'A'),
    };
    for (const QString& token : garbage)
        EXPECT_NE(outcome(token), u"accepted") << token.left(60).toStdString();
    EXPECT_EQ(outcome(good), u"accepted");
}

TEST_F(GoogleIdToken, AnUnreachableKeySetFailsUntilItRecovers) {
    google.setFailing(true);
    const QString token = google.sign(claims);
    EXPECT_EQ(outcome(token), u"could not get Google's keys: key set answered HTTP 503");
    google.setFailing(false);
    EXPECT_EQ(outcome(token), u"no Google keys yet: the last fetch failed under a minute ago");
    clock.advance(60'000);
    EXPECT_EQ(outcome(token), u"accepted");

    QString closedUrl;
    {
        JwksFixture gone;
        closedUrl = gone.url();
    }
    GoogleIdTokenVerifier nowhere(closedUrl, {JwksFixture::clientId()}, clock);
    auto refused = nowhere.verify(token);
    ASSERT_FALSE(refused);
    EXPECT_TRUE(refused.error().startsWith(u"could not get Google's keys: key set unreachable"))
        << refused.error().toStdString();
}

TEST_F(GoogleIdToken, WithoutClientIdsNothingIsAccepted) {
    GoogleIdTokenVerifier unconfigured(google.url(), {}, clock);
    EXPECT_FALSE(unconfigured.isConfigured());
    EXPECT_TRUE(verifier.isConfigured());
    EXPECT_FALSE(unconfigured.verify(google.sign(claims)));
    EXPECT_EQ(google.fetchCount(), 0);
}

TEST(Jwks, KeepsOnlyRsaSignatureKeys) {
    JwksFixture google;
    httplib::Client client(google.url().section(u'/', 0, 2).toStdString());
    const auto served = client.Get("/oauth2/v3/certs");
    ASSERT_TRUE(served);
    QJsonObject set = QJsonDocument::fromJson(QByteArray::fromStdString(served->body)).object();
    QJsonArray keys = set.value(u"keys").toArray();
    const QJsonObject rsa = keys.first().toObject();
    QJsonObject encryption = rsa;
    encryption.insert(QStringLiteral("kid"), QStringLiteral("enc"));
    encryption.insert(QStringLiteral("use"), QStringLiteral("enc"));
    QJsonObject shortModulus = rsa;
    shortModulus.insert(QStringLiteral("kid"), QStringLiteral("short"));
    shortModulus.insert(QStringLiteral("n"), rsa.value(u"n").toString().left(100));
    keys.append(encryption);
    keys.append(shortModulus);
    keys.append(QJsonObject{{QStringLiteral("kty"), QStringLiteral("EC")},
                            {QStringLiteral("kid"), QStringLiteral("ec")}});
    keys.append(QStringLiteral("not a key"));
    set.insert(QStringLiteral("keys"), keys);

    auto parsed = Jwks::parse(QJsonDocument(set).toJson());
    ASSERT_TRUE(parsed) << parsed.error().toStdString();
    EXPECT_EQ(parsed->keys.keys(), QStringList{google.currentKeyId()});
    EXPECT_FALSE(Jwks::parse("{\"keys\": []}"));
    EXPECT_FALSE(Jwks::parse("<html>"));
}

} // namespace
