// SPDX-License-Identifier: Apache-2.0
#include "model/DocumentWriter.h"
#include "model/StoredState.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

using namespace quillo;

namespace {

const QString lucia = QStringLiteral("l");

Correction checked(const QString& corrected, qint64 at) {
    return Correction{
        corrected,
        {{QStringLiteral("soy"), QStringLiteral("estoy"), QStringLiteral("\"a\" state")}},
        QStringLiteral("Spanish"),
        at};
}

StoredState chat() {
    StoredState state;
    BotProfile bot;
    bot.id = lucia;
    bot.targetLanguage = QStringLiteral("Spanish");
    state.bots = {bot};
    state.profile.languages = {LanguageSettings(QStringLiteral("Spanish"))};
    for (int i = 0; i < 2; ++i) {
        ChatMessage message;
        message.id = QStringLiteral("m%1").arg(i);
        message.botId = lucia;
        message.role = i ? MessageRole::Assistant : MessageRole::User;
        message.text = i ? QStringLiteral("¿Por qué?") : QStringLiteral("Yo soy cansado");
        message.createdAt = 10 + i;
        state.messages.append(message);
    }
    return state;
}

StoredState withCorrection(StoredState state, const Correction& correction) {
    ChatMessage message = state.messages.at(0);
    message.correction = correction;
    state.messages.replace(0, message);
    return state;
}

QByteArray qtCompact(const StoredState& state) {
    return QJsonDocument(state.toJson()).toJson(QJsonDocument::Compact);
}

} // namespace

// Corrections, the corrections setting and explanations read back as written, by both writers,
// and a document without them writes exactly the bytes it did before they existed.
TEST(CorrectionsDocument, RoundTripsAndLeavesOlderDocumentsAsTheyWere) {
    const StoredState plain = chat();
    const QByteArray plainBytes = compactDocumentJson(plain);
    EXPECT_FALSE(plainBytes.contains("correction"));
    EXPECT_FALSE(plainBytes.contains("explanations"));

    StoredState rich = withCorrection(plain, checked(QStringLiteral("Estoy cansado"), 99));
    rich.profile.languages[0].corrections = CorrectionLevel::Hindering;
    rich.explanations.insert(
        StoredState::explanationKey(QStringLiteral("m1"), QStringLiteral(" Por QUÉ ")),
        {QStringLiteral("why"), QStringLiteral("por qué"), QStringLiteral("adverb"), QString()});
    const QByteArray bytes = compactDocumentJson(rich);
    EXPECT_EQ(bytes, qtCompact(rich));
    const auto back = StoredState::fromJson(QJsonDocument::fromJson(bytes).object());
    ASSERT_TRUE(back.ok());
    EXPECT_EQ(*back, rich);
    EXPECT_TRUE(back->explanations.contains(QStringLiteral("m1|por qué")));

    // The setting left at its default is not written; an unknown one reads as the default.
    LanguageSettings settings(QStringLiteral("French"));
    EXPECT_FALSE(settings.toJson().contains(QStringLiteral("corrections")));
    QJsonObject odd = settings.toJson();
    odd.insert(QStringLiteral("corrections"), QStringLiteral("SOMETIMES"));
    EXPECT_EQ(LanguageSettings::fromJson(odd)->corrections, CorrectionLevel::WhenAsked);

    // A correction that does not decode leaves the message, without it.
    QJsonObject message = rich.messages.at(0).toJson();
    message.insert(QStringLiteral("correction"), QJsonObject{{QStringLiteral("edits"), 3}});
    const auto kept = ChatMessage::fromJson(message);
    ASSERT_TRUE(kept.ok());
    EXPECT_FALSE(kept->correction.has_value());
    EXPECT_EQ(kept->text, u"Yo soy cansado");

    // Explanations stay on this device.
    EXPECT_TRUE(rich.forAccount().explanations.isEmpty());
}

// A check travels with its message: the later one wins on both devices, whichever merge runs and
// whichever side made it, and two of the same moment settle on one.
TEST(CorrectionsDocument, TheLaterCheckWinsOnBothDevices) {
    const StoredState base = chat();
    const StoredState early = withCorrection(base, checked(QStringLiteral("Estoy cansado"), 100));
    const StoredState late =
        withCorrection(base, checked(QStringLiteral("Estoy muy cansado"), 200));
    const StoredState tie = withCorrection(base, checked(QStringLiteral("Ya estoy cansado"), 200));

    for (const StoredState* local : {&early, &late}) {
        for (const StoredState* downloaded : {&early, &late}) {
            const auto& later =
                (local == &late || downloaded == &late ? late : early).messages.at(0).correction;
            EXPECT_EQ(local->adopting(downloaded->forAccount()).messages.at(0).correction, later);
            EXPECT_EQ(local->merging(base.forAccount(), downloaded->forAccount())
                          .messages.at(0)
                          .correction,
                      later);
        }
    }
    // Only one side checked: the check arrives on the other, and stays on its own side.
    EXPECT_EQ(base.merging(base, late.forAccount()).messages.at(0).correction,
              late.messages.at(0).correction);
    EXPECT_EQ(late.merging(base, base.forAccount()).messages.at(0).correction,
              late.messages.at(0).correction);

    EXPECT_EQ(late.adopting(tie).messages.at(0).correction,
              tie.adopting(late).messages.at(0).correction);
    EXPECT_EQ(late.merging(base, tie).messages.at(0).correction,
              tie.merging(base, late).messages.at(0).correction);
}
