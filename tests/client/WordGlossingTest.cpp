// SPDX-License-Identifier: Apache-2.0
#include "DeviceFixture.h"
#include "TranslateFixture.h"

using namespace quillo;
using namespace quillo::devicetest;
using namespace quillo::translatetest;

namespace {

const QString lucia = QStringLiteral("lucia");

// Glosses and meanings through the repository, with the translate endpoints played on loopback
// and replies from the real service.
class WordGlossingTest : public DevicesTest {
protected:
    TranslateFixture endpoints;
    std::unique_ptr<Device> phone;
    QByteArray savedTranslateUrl = qgetenv("QUILLO_TRANSLATE_URL");

    void SetUp() override {
        DevicesTest::SetUp();
        // The repository's translator reads its origin when it is built.
        qputenv("QUILLO_TRANSLATE_URL", endpoints.url().toUtf8());
    }
    void TearDown() override {
        phone.reset();
        qputenv("QUILLO_TRANSLATE_URL", savedTranslateUrl);
        DevicesTest::TearDown();
    }

    void open(StoredState seed) {
        seed.profile.setupCompleted = true;
        seed.profile.nativeLanguage = QStringLiteral(" English ");
        seed.bots = {contact(lucia)};
        phone = device(seed.withSyncedLanguages());
        Account account;
        account.email = QStringLiteral("ana@example.com");
        phone->session->signedIn({ApiTest::signIn(account.email), account});
    }

    ChatRepository& repository() { return *phone->repository; }

    const ChatMessage& last() { return phone->state().messages.last(); }

    void settleGlosses(const QString& messageId) {
        spinUntil([&] { return !repository().glossing().isGlossing(messageId); });
    }

    static ChatMessage fromLucia(const QString& id, const QString& text) {
        return {id, lucia, MessageRole::Assistant, text, {}, 1, MessageSource::Provider, {}};
    }
};

TEST_F(WordGlossingTest, AReplysWordsAreGlossedInOneBatch) {
    open({});
    endpoints.setBatchResponder([](const TranslateFixture::Request& request) {
        const QMap<QString, QString> dictionary = {
            {QStringLiteral("El"), QStringLiteral("The")},
            {QStringLiteral("el"), QStringLiteral("the")},
            {QStringLiteral("perro"), QStringLiteral("dog")},
            {QStringLiteral("y"), QStringLiteral(" ")},
            {QStringLiteral("gato"), QStringLiteral("Gato")}};
        QStringList answers;
        for (const QString& word : request.batchTexts())
            answers.append(dictionary.value(word));
        return TranslateFixture::batch(answers);
    });
    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"message":"El perro y el gato, ¡y el perro!"})")));
    repository().conversation().addUserMessage(lucia, QStringLiteral("¿Qué ves?"));
    run(repository().conversation().answerLatest(lucia), true);
    const QString id = last().id;
    settleGlosses(id);

    // Each word once, in text order; a blank translation or the word itself gives no gloss.
    ASSERT_EQ(endpoints.requests().size(), 1);
    const TranslateFixture::Request batch = endpoints.requests()[0];
    EXPECT_EQ(batch.batchTexts(),
              (QStringList{QStringLiteral("El"), QStringLiteral("perro"), QStringLiteral("y"),
                           QStringLiteral("el"), QStringLiteral("gato")}));
    EXPECT_EQ(batch.queryValue(QStringLiteral("sl")), u"es");
    EXPECT_EQ(batch.queryValue(QStringLiteral("tl")), u"en");
    EXPECT_EQ(last().words, (QList<WordGloss>{{QStringLiteral("El"), QStringLiteral("The")},
                                              {QStringLiteral("perro"), QStringLiteral("dog")},
                                              {QStringLiteral("el"), QStringLiteral("the")}}));

    // Glossed messages, the user's own and every message while the switch is off are left be.
    repository().glossing().prefetchWords(id);
    repository().glossing().prefetchWords(phone->state().messages.first().id);
    EXPECT_FALSE(repository().glossing().isGlossing(id));
    repository().editing().setWordTranslations(false);
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"Adiós"})")));
    repository().conversation().addUserMessage(lucia, QStringLiteral("chao"));
    run(repository().conversation().answerLatest(lucia), true);
    EXPECT_FALSE(repository().glossing().isGlossing(last().id));
    EXPECT_EQ(endpoints.requests().size(), 1);
}

TEST_F(WordGlossingTest, OneFetchAtATimeAndLateGlossesForADeletedMessageAreDropped) {
    StoredState seed;
    seed.messages.append(fromLucia(QStringLiteral("m1"), QStringLiteral("hola amigo")));
    seed.messages.append(fromLucia(QStringLiteral("m2"), QStringLiteral("¿qué tal?")));
    open(seed);
    endpoints.setBatchAnswer(TranslateFixture::status(429));
    repository().glossing().prefetchWords(QStringLiteral("m1"));
    repository().glossing().prefetchWords(QStringLiteral("m1"));
    EXPECT_TRUE(repository().glossing().isGlossing(QStringLiteral("m1")));
    settleGlosses(QStringLiteral("m1"));
    EXPECT_EQ(endpoints.requests().size(), 1);
    EXPECT_TRUE(phone->state().messages.at(0).words.isEmpty());

    // A later call tries again; this time the contact is removed while the answer travels.
    endpoints.setBatchAnswer(
        TranslateFixture::batch({QStringLiteral("what"), QStringLiteral("so")}));
    repository().glossing().prefetchWords(QStringLiteral("m2"));
    repository().editing().removeBots({lucia});
    const StoredState removed = phone->state();
    settleGlosses(QStringLiteral("m2"));
    EXPECT_EQ(endpoints.requests().size(), 2);
    EXPECT_EQ(phone->state(), removed);
}

TEST_F(WordGlossingTest, SelectionsShareOneCacheEntryWhateverTheirCaseAndBlanks) {
    open({});
    endpoints.setLookupAnswer(
        TranslateFixture::lookup(QStringLiteral("cat"), {QStringLiteral("tomcat")}));
    const auto first = run(
        repository().glossing().translate(QStringLiteral("Spanish"), QStringLiteral("  Gato ")));
    const auto second =
        run(repository().glossing().translate(QStringLiteral("spanish"), QStringLiteral("gato")));
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_EQ(first.value(), (Meaning{QStringLiteral("cat"), {QStringLiteral("tomcat")}}));
    EXPECT_EQ(second.value(), first.value());
    ASSERT_EQ(endpoints.requests().size(), 1);
    EXPECT_EQ(endpoints.requests()[0].queryValue(QStringLiteral("q")), u"Gato");
    EXPECT_EQ(phone->state().translationCache.keys(),
              QStringList{QStringLiteral("spanish|english|gato")});

    // A failed lookup is passed on and caches nothing.
    endpoints.setLookupAnswer(TranslateFixture::status(429));
    const auto failed =
        run(repository().glossing().translate(QStringLiteral("Spanish"), QStringLiteral("perro")));
    ASSERT_FALSE(failed.ok());
    EXPECT_EQ(failed.error().error, FreeTranslatorError::Unavailable);
    EXPECT_EQ(phone->state().translationCache.size(), 1);
}

TEST_F(WordGlossingTest, TheCacheKeepsFiveHundredEntries) {
    StoredState seed;
    for (int i = 0; i < WordGlossing::cacheLimit; ++i)
        seed.translationCache.insert(QStringLiteral("spanish|english|word%1").arg(i),
                                     Meaning{QStringLiteral("w"), {}});
    open(seed);
    const auto meaning =
        run(repository().glossing().translate(QStringLiteral("Spanish"), QStringLiteral("casa")));
    ASSERT_TRUE(meaning.ok());
    EXPECT_EQ(phone->state().translationCache.size(), WordGlossing::cacheLimit);
}

} // namespace
