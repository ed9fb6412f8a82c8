// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

#include <QJsonDocument>
#include <QQmlProperty>
#include <QTest>

using namespace quillo;
using namespace quillo::screentest;
using ModelFixture = quillo::server::ModelFixture;

namespace {

// Feedback on what the user writes, on screen: a checked message with its correction marked,
// the reasons on demand, an explanation of a contact's words, and the sentence for what the
// user means put into the composer. The model answers through the real service.
class FeedbackScreenTest : public ScreensTest {
protected:
    static inline const QString written = QStringLiteral("Estoy hambre y quiero comer.");

    void SetUp() override {
        ScreensTest::SetUp();
        StoredState state = seededDocument();
        state.messages.append({QStringLiteral("es-user-1"),
                               spanishId,
                               MessageRole::User,
                               written,
                               {},
                               1'700'000'000'000 - 6'500'000,
                               MessageSource::User,
                               {}});
        seed(state);
    }

    void openSpanish() {
        ASSERT_NO_FATAL_FAILURE(launch());
        controller->navigation().select(spanishId);
        ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("composerInput")) != nullptr; }));
    }

    // The message view of the message with that text.
    QQuickItem* messageWith(const QString& text) const {
        for (QQuickItem* bubble : items(QStringLiteral("bubble"))) {
            QQuickItem* message = bubble;
            while (message && !message->property("messageId").isValid())
                message = message->parentItem();
            if (message && message->property("text").toString() == text)
                return message;
        }
        return nullptr;
    }

    QStringList textsOf(const QString& objectName) const {
        QStringList texts;
        for (QQuickItem* found : items(objectName)) {
            if (found->isVisible())
                texts.append(textOf(found));
        }
        return texts;
    }
};

TEST_F(FeedbackScreenTest, ACheckedMessageShowsItsCorrectionAndWhyOnDemand) {
    model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"corrected": "Tengo hambre y quiero comer.", "edits": [{"original": "Estoy hambre",
            "corrected": "Tengo hambre", "explanation": "Hunger is had in Spanish: tener hambre."}]})")));
    ASSERT_NO_FATAL_FAILURE(openSpanish());
    QQuickItem* mine = messageWith(written);
    ASSERT_NE(mine, nullptr);

    // Enter on the user's own focused message checks it.
    mine->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(window(), Qt::Key_Return);
    ASSERT_TRUE(spinUntil([this] { return !textsOf(QStringLiteral("mark-added")).isEmpty(); }))
        << textsOf(QStringLiteral("checkState")).join(u'|').toStdString();
    EXPECT_EQ(textsOf(QStringLiteral("mark-removed")), QStringList{QStringLiteral("Estoy")});
    EXPECT_EQ(textsOf(QStringLiteral("mark-added")), QStringList{QStringLiteral("Tengo")});
    EXPECT_TRUE(textsOf(QStringLiteral("correctionReason")).isEmpty()) << "reasons wait for Why?";
    // The request went as feedback, the user's own text in it.
    const QJsonObject asked = model.requests().last();
    EXPECT_TRUE(QJsonDocument(asked).toJson().contains(written.toUtf8()));
    grab(QStringLiteral("feedback-corrected"));

    QMetaObject::invokeMethod(item(QStringLiteral("whyButton")), "toggle");
    ASSERT_TRUE(
        spinUntil([this] { return !textsOf(QStringLiteral("correctionReason")).isEmpty(); }));
    EXPECT_EQ(
        textsOf(QStringLiteral("correctionReason")).first(),
        QStringLiteral("Estoy hambre → Tengo hambre: Hunger is had in Spanish: tener hambre."));
    grab(QStringLiteral("feedback-why"));

    // Kept with the message in the document.
    ASSERT_TRUE(controller->repository().state().messagesFor(spanishId).last().correction);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(FeedbackScreenTest, AFineMessageGetsOnlyASmallMarkAndAnUnusableAnswerOneLine) {
    model.setDefault(ModelFixture::reply(QStringLiteral("Looks great to me, well done!")));
    ASSERT_NO_FATAL_FAILURE(openSpanish());
    context->feedback()->check(QStringLiteral("es-user-1"));
    ASSERT_TRUE(spinUntil([this] { return context->feedback()->checking().isEmpty(); }));
    // Prose instead of the object: nothing made up, one line.
    EXPECT_FALSE(controller->repository().state().messagesFor(spanishId).last().correction);
    EXPECT_FALSE(context->feedback()->problemLine().isEmpty());
    EXPECT_TRUE(textsOf(QStringLiteral("mark-added")).isEmpty());

    model.setDefault(ModelFixture::reply(
        QStringLiteral(R"({"corrected": "Estoy hambre y quiero comer.", "edits": []})")));
    context->feedback()->check(QStringLiteral("es-user-1"));
    ASSERT_TRUE(spinUntil([this] {
        return textsOf(QStringLiteral("checkState")) ==
               QStringList{QStringLiteral("✓ Checked, no mistakes")};
    })) << textsOf(QStringLiteral("checkState")).join(u'|').toStdString();
    EXPECT_TRUE(textsOf(QStringLiteral("mark-removed")).isEmpty());
    EXPECT_TRUE(context->feedback()->problemLine().isEmpty()) << "the new check replaced the line";
    grab(QStringLiteral("feedback-fine"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(FeedbackScreenTest, ASelectedPassageIsExplainedBesideItAndTheComposerHelpsSayIt) {
    model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"meaning": "you listen", "dictionaryForm": "escuchar", "partOfSpeech": "verb",
            "grammarNote": "Present tense, tú form: -ar verbs end in -as."})")));
    ASSERT_NO_FATAL_FAILURE(openSpanish());
    QQuickItem* theirs = messageWith(QStringLiteral("¡Hola Ana! ¿Qué música escuchas estos días?"));
    ASSERT_NE(theirs, nullptr);
    // "escuchas" selected, as a drag over it selects it, then Ctrl+E on the focused message.
    const int at = int(theirs->property("text").toString().indexOf(u"escuchas"));
    QQmlProperty::write(theirs, QStringLiteral("selectionStart"), at);
    QQmlProperty::write(theirs, QStringLiteral("selectionEnd"), at + 8);
    QMetaObject::invokeMethod(theirs, "selectionMade", Q_ARG(QQuickItem*, theirs));
    theirs->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(window(), Qt::Key_E, Qt::ControlModifier);
    ASSERT_TRUE(spinUntil(
        [this] { return textOf(item(QStringLiteral("explanationMeaning"))) == u"you listen"; }));
    EXPECT_EQ(textOf(item(QStringLiteral("explanationForm"))), QStringLiteral("escuchar · verb"));
    QQuickItem* panel = item(QStringLiteral("explanationPanel"));
    QQuickItem* word = wordItem(QStringLiteral("escuchas"));
    ASSERT_NE(word, nullptr);
    EXPECT_FALSE(panel->mapRectToScene(QRectF(0, 0, panel->width(), panel->height()))
                     .intersects(word->mapRectToScene(QRectF(0, 0, word->width(), word->height()))))
        << "the panel stands beside the passage";
    grab(QStringLiteral("feedback-explanation"));
    QTest::keyClick(window(), Qt::Key_Escape);
    EXPECT_TRUE(
        spinUntil([this] { return !item(QStringLiteral("explanationPanel"))->isVisible(); }));

    // Help me say it: the sentence replaces the draft, and is not sent.
    model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"sentence": "Tengo mucha hambre.", "note": "\"Tener hambre\": to be hungry."})")));
    const qsizetype before = controller->repository().state().messagesFor(spanishId).size();
    QQuickItem* input = item(QStringLiteral("composerInput"));
    input->forceActiveFocus();
    typeInto(window(), QStringLiteral("I am very hungry"));
    QTest::keyClick(window(), Qt::Key_H, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(spinUntil([&] { return textOf(input) == u"Tengo mucha hambre."; }));
    EXPECT_EQ(textOf(item(QStringLiteral("dictationProblem"))),
              QStringLiteral("\"Tener hambre\": to be hungry."));
    EXPECT_EQ(controller->repository().state().messagesFor(spanishId).size(), before);
    grab(QStringLiteral("feedback-say-it"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(FeedbackScreenTest, HowMuchIsCorrectedIsChosenPerLanguage) {
    ASSERT_NO_FATAL_FAILURE(launch());
    context->openSettings();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("correctionsPicker")) != nullptr; }));
    QQuickItem* picker = item(QStringLiteral("correctionsPicker"));
    EXPECT_EQ(picker->property("displayText").toString(), u"When I ask");
    QMetaObject::invokeMethod(picker, "activated", Q_ARG(int, 3));
    const LanguageSettings first = controller->repository().state().profile.languages.first();
    EXPECT_EQ(first.corrections, CorrectionLevel::Every);
    // The settings are drawn again from the document, which now says so.
    EXPECT_TRUE(spinUntil([this] {
        return item(QStringLiteral("correctionsPicker"))->property("displayText").toString() ==
               u"Every mistake";
    }));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace
