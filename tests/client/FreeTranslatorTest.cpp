// SPDX-License-Identifier: Apache-2.0
#include "TranslateFixture.h"
#include "server/ServerTestSupport.h"

#include "common/WaitForResult.h"

#include <QCoroTask>
#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace quillo;
using namespace quillo::translatetest;

namespace {

using Items = QList<std::pair<QString, QString>>;

std::pair<QString, QString> item(const char* name, const QString& value) {
    return {QString::fromLatin1(name), value};
}

class FreeTranslatorTest : public ::testing::Test {
protected:
    TranslateFixture endpoints;
    FreeTranslator translator{endpoints.origins()};
};

} // namespace

TEST_F(FreeTranslatorTest, LookupAsksForTheTextAndReadsItsMeaning) {
    endpoints.setLookupAnswer(TranslateFixture::lookup(
        QStringLiteral("the cat"), {QStringLiteral("The Cat"), QStringLiteral("tomcat")}));
    // Characters a URL or a form would read as syntax arrive as typed.
    const QString text = QStringLiteral("el gato 1+1=2 & 100%41 #?");
    const auto meaning = waitForResult(
        translator.lookup(text, QStringLiteral("Spanish"), QStringLiteral("English")));
    ASSERT_TRUE(meaning.ok()) << meaning.error().description().toStdString();
    EXPECT_EQ(*meaning, (Meaning{QStringLiteral("the cat"), {QStringLiteral("tomcat")}}));

    const auto unknown =
        waitForResult(translator.lookup(QStringLiteral("x"), QStringLiteral("Klingon"), QString()));
    EXPECT_TRUE(unknown.ok());

    const QList<TranslateFixture::Request> requests = endpoints.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[0].path, u"/translate_a/single");
    EXPECT_EQ(requests[0].query,
              (Items{item("client", QStringLiteral("gtx")), item("sl", QStringLiteral("es")),
                     item("tl", QStringLiteral("en")), item("hl", QStringLiteral("en")),
                     item("dt", QStringLiteral("t")), item("dt", QStringLiteral("bd")),
                     item("dj", QStringLiteral("1")), item("q", text)}));
    EXPECT_EQ(requests[0].header("User-Agent"), "Mozilla/5.0");
    // Without codes the endpoint detects the source and answers in English.
    EXPECT_EQ(requests[1].queryValue(QStringLiteral("sl")), u"auto");
    EXPECT_EQ(requests[1].queryValue(QStringLiteral("tl")), u"en");
    EXPECT_EQ(requests[1].queryValue(QStringLiteral("hl")), u"en");
}

TEST_F(FreeTranslatorTest, BatchPostsTheTextsAsAFormAndKeepsTheirOrder) {
    const QStringList texts{QStringLiteral("a b"), QStringLiteral("c&d"), QStringLiteral("猫")};
    const auto translations = waitForResult(
        translator.translateMany(texts, QStringLiteral("Japanese"), QStringLiteral("de")));
    ASSERT_TRUE(translations.ok()) << translations.error().description().toStdString();
    EXPECT_EQ(*translations, (QStringList{QStringLiteral("tr(a b)"), QStringLiteral("tr(c&d)"),
                                          QStringLiteral("tr(猫)")}));

    const QList<TranslateFixture::Request> requests = endpoints.requests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].path, u"/translate_a/t");
    EXPECT_EQ(requests[0].query,
              (Items{item("client", QStringLiteral("dict-chrome-ex")),
                     item("sl", QStringLiteral("ja")), item("tl", QStringLiteral("de"))}));
    EXPECT_EQ(requests[0].header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(requests[0].header("User-Agent"), "Mozilla/5.0");
    EXPECT_EQ(requests[0].body, "q=a%20b&q=c%26d&q=%E7%8C%AB");

    // Nothing to translate asks nothing.
    const auto none = waitForResult(translator.translateMany({}, QString(), QString()));
    ASSERT_TRUE(none.ok());
    EXPECT_TRUE(none->isEmpty());
    EXPECT_EQ(endpoints.requests().size(), 1);
}

TEST_F(FreeTranslatorTest, AnswersWithoutATranslationAreTypedFailures) {
    const auto lookup = [this](const char16_t* text) {
        return waitForResult(translator.lookup(QString::fromUtf16(text), QStringLiteral("Spanish"),
                                               QStringLiteral("English")));
    };
    endpoints.setLookupAnswer(TranslateFixture::lookup(QStringLiteral("Hola")));
    EXPECT_EQ(lookup(u"hola").error().error, FreeTranslatorError::NoTranslation);

    endpoints.setLookupAnswer(TranslateFixture::status(429));
    const TranslationFailure busy = lookup(u"gato").error();
    EXPECT_EQ(busy, (TranslationFailure{FreeTranslatorError::Unavailable, {}}));
    EXPECT_EQ(busy.description(), u"translation unavailable");

    endpoints.setBatchAnswer(
        TranslateFixture::batch({QStringLiteral("one"), QStringLiteral("two")}));
    const auto miscounted = waitForResult(translator.translateMany(
        {QStringLiteral("uno"), QStringLiteral("dos"), QStringLiteral("tres")},
        QStringLiteral("Spanish"), QStringLiteral("English")));
    ASSERT_FALSE(miscounted.ok());
    EXPECT_EQ(miscounted.error().error, FreeTranslatorError::Unreadable);
}

TEST_F(FreeTranslatorTest, NetworkFailuresCarryTheNetworksOwnWords) {
    const QUrl nobody(
        QStringLiteral("http://127.0.0.1:%1").arg(server::apitest::freeLoopbackPort()));
    const FreeTranslator unreachable({nobody, nobody});
    const auto refused = waitForResult(unreachable.lookup(QStringLiteral("gato"), {}, {}));
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().error, std::nullopt);
    EXPECT_FALSE(refused.error().network.isEmpty());
    EXPECT_TRUE(refused.error().description().startsWith(u"network: "));

    // An endpoint that goes quiet is given up on after the silence limit, not after its answer.
    TranslateFixture::Answer late = TranslateFixture::batch({QStringLiteral("late")});
    late.delay = std::chrono::seconds(20);
    endpoints.setBatchAnswer(late);
    const FreeTranslator impatient(endpoints.origins(), std::chrono::milliseconds(100));
    QElapsedTimer elapsed;
    elapsed.start();
    const auto silent = waitForResult(impatient.translateMany({QStringLiteral("uno")}, {}, {}));
    EXPECT_LT(elapsed.elapsed(), 10'000);
    ASSERT_FALSE(silent.ok());
    EXPECT_EQ(silent.error().error, std::nullopt);
    EXPECT_EQ(silent.error().network, u"no answer came in time");
}

TEST_F(FreeTranslatorTest, ARequestInFlightOutlivesItsTranslator) {
    auto owned = std::make_unique<FreeTranslator>(endpoints.origins());
    QCoro::Task<TranslationResult<Meaning>> lookup =
        owned->lookup(QStringLiteral("perro"), QStringLiteral("Spanish"), QString());
    owned.reset();
    const auto meaning = waitForResult(std::move(lookup));
    ASSERT_TRUE(meaning.ok()) << meaning.error().description().toStdString();
    EXPECT_EQ(meaning->text, u"tr(perro)");
}

TEST_F(FreeTranslatorTest, TheEnvironmentMovesBothEndpointsToOneOrigin) {
    qputenv("QUILLO_TRANSLATE_URL", (endpoints.url() + QStringLiteral("/ignored?x=1")).toUtf8());
    const FreeTranslator::Origins moved = FreeTranslator::Origins::fromEnvironment();
    EXPECT_EQ(moved.lookup, QUrl(endpoints.url()));
    EXPECT_EQ(moved.batch, QUrl(endpoints.url()));
    const FreeTranslator local;
    EXPECT_TRUE(waitForResult(local.lookup(QStringLiteral("perro"), {}, {})).ok());
    EXPECT_TRUE(waitForResult(local.translateMany({QStringLiteral("perro")}, {}, {})).ok());
    EXPECT_EQ(endpoints.requests().size(), 2);

    // Anything but an http(s) origin leaves the public endpoints in place.
    const QUrl publicLookup(QStringLiteral("https://translate.googleapis.com"));
    qputenv("QUILLO_TRANSLATE_URL", "ftp://127.0.0.1:1");
    EXPECT_EQ(FreeTranslator::Origins::fromEnvironment().lookup, publicLookup);
    qunsetenv("QUILLO_TRANSLATE_URL");
    EXPECT_EQ(FreeTranslator::Origins::fromEnvironment().lookup, publicLookup);
}
