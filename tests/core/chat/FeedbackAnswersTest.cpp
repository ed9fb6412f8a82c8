// SPDX-License-Identifier: Apache-2.0
#include "chat/FeedbackAnswers.h"
#include "chat/FeedbackPrompts.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

const QString text = QStringLiteral("Yo soy cansado");

} // namespace

// What small local models write around the object is read like a reply: fences, reasoning,
// the JSON5 forms, talk before and after.
TEST(FeedbackAnswers, ACorrectionIsReadForgivingly) {
    const auto found = FeedbackAnswers::correction(
        QStringLiteral("<think>estar</think>Here you go:\n```json\n{corrected: 'Estoy cansado', "
                       "language: 'Spanish', edits: [{original: 'Yo soy', corrected: 'Estoy', "
                       "explanation: 'estar for how you feel',},{original: '', corrected: 'x'},"
                       "{original: 'cansado', corrected: 'cansado'}],}\n```\nHope it helps!"),
        text);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->corrected, u"Estoy cansado");
    EXPECT_EQ(found->language, u"Spanish");
    // Edits without both their words, or that change nothing, are left out.
    ASSERT_EQ(found->edits.size(), 1);
    EXPECT_EQ(found->edits[0], (CorrectionEdit{QStringLiteral("Yo soy"), QStringLiteral("Estoy"),
                                               QStringLiteral("estar for how you feel")}));
    EXPECT_FALSE(found->isFine(text));
}

TEST(FeedbackAnswers, AFineMessageHasNoEdits) {
    for (const char* raw : {R"({"corrected":"Yo soy cansado","edits":[]})",
                            R"({"corrected":"","edits":[]})", R"({"corrected":"Yo soy cansado"})",
                            R"({"corrected":" Yo soy cansado ","edits":[{"original":"Yo",)"
                            R"("corrected":"Tú","explanation":"?"}]})"}) {
        const auto found = FeedbackAnswers::correction(QString::fromUtf8(raw), text);
        ASSERT_TRUE(found) << raw;
        EXPECT_EQ(found->corrected, text) << raw;
        EXPECT_TRUE(found->edits.isEmpty()) << raw;
        EXPECT_TRUE(found->isFine(text)) << raw;
    }
}

// Prose, another shape or the wrong kinds give nothing: no correction is made up.
TEST(FeedbackAnswers, AnythingButTheObjectGivesNothing) {
    for (const char* raw :
         {"Your message is almost right, but use estar.", "", R"({"message":"Estoy cansado"})",
          R"({"corrected":5,"edits":[]})", R"({"corrected":"Estoy","edits":"soy -> estoy"})",
          R"({"corrected":"","edits":[{"original":"soy","corrected":"estoy"}]})", "[1,2]"}) {
        EXPECT_FALSE(FeedbackAnswers::correction(QString::fromUtf8(raw), text)) << raw;
    }
    EXPECT_FALSE(FeedbackAnswers::explanation(QStringLiteral("It means why.")));
    EXPECT_FALSE(FeedbackAnswers::explanation(QStringLiteral(R"({"meaning":" "})")));
    EXPECT_FALSE(FeedbackAnswers::sayIt(QStringLiteral("Say: estoy cansado")));
    EXPECT_FALSE(FeedbackAnswers::sayIt(QStringLiteral(R"({"note":"estar"})")));
}

TEST(FeedbackAnswers, ExplanationsAndSentences) {
    const auto explained = FeedbackAnswers::explanation(QStringLiteral(
        "```\n{meaning: 'tired', dictionaryForm: 'cansar', partOfSpeech: 'participle',}\n```"));
    ASSERT_TRUE(explained);
    EXPECT_EQ(*explained, (Explanation{QStringLiteral("tired"), QStringLiteral("cansar"),
                                       QStringLiteral("participle"), QString()}));
    const auto said = FeedbackAnswers::sayIt(QStringLiteral(R"({"sentence":"Estoy cansado."})"));
    ASSERT_TRUE(said);
    EXPECT_EQ(*said, (SayItAnswer{QStringLiteral("Estoy cansado."), QString()}));
}

// The answer contract the readers expect is the one each prompt names, with the material.
TEST(FeedbackAnswers, PromptsNameTheirKeysAndScope) {
    FeedbackPrompts::CorrectionRequest request{
        QStringLiteral("Yo soy cansado"), QStringLiteral("Spanish"),   CefrLevel::A2,
        QStringLiteral("German"),         QStringLiteral("¿Qué tal?"), CorrectionLevel::Hindering};
    const QList<PromptMessage> hindering = FeedbackPrompts::correction(request);
    ASSERT_EQ(hindering.size(), 2);
    const QString system = hindering[0].content;
    for (const char* key : {"\"corrected\"", "\"edits\"", "\"original\"", "\"explanation\"",
                            "\"language\"", "Spanish", "CEFR A2", "German", "misunderstand"})
        EXPECT_TRUE(system.contains(QString::fromUtf8(key))) << key;
    EXPECT_TRUE(hindering[1].content.contains(u"¿Qué tal?"));
    EXPECT_TRUE(hindering[1].content.contains(u"Yo soy cansado"));
    request.scope = CorrectionLevel::Every;
    EXPECT_FALSE(FeedbackPrompts::correction(request)[0].content.contains(u"misunderstand"));

    const QString explain = FeedbackPrompts::explanation({QStringLiteral("m"), QStringLiteral("s"),
                                                          QStringLiteral("Spanish"), CefrLevel::B1,
                                                          QStringLiteral("German")})[0]
                                .content;
    for (const char* key : {"\"meaning\"", "\"dictionaryForm\"", "\"partOfSpeech\"",
                            "\"grammarNote\"", "German", "CEFR B1"})
        EXPECT_TRUE(explain.contains(QString::fromUtf8(key))) << key;
    const QString say =
        FeedbackPrompts::sayIt({QStringLiteral("I'm tired"), QStringLiteral("Spanish"),
                                CefrLevel::A1, QStringLiteral("German"), QString()})[0]
            .content;
    for (const char* key : {"\"sentence\"", "\"note\"", "German", "CEFR A1", "Spanish"})
        EXPECT_TRUE(say.contains(QString::fromUtf8(key))) << key;
}
