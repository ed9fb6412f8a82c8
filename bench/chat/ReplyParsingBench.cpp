// SPDX-License-Identifier: Apache-2.0
// What the forgiving reply path costs over a plain strict parse of the same completion.
#include "../BenchRatios.h"

#include "chat/ChatClient.h"
#include "chat/LenientJson.h"
#include "chat/ReplyParser.h"

#include <benchmark/benchmark.h>

#include <QJsonDocument>

using namespace quillo;

namespace {

QString typicalCompletion() {
    return QStringLiteral(
        "{\"message\":\"¡Qué bien! Yo también cocino mucho los domingos.\\n¿Qué vas a preparar "
        "hoy para tu familia?\",\"language\":\"Spanish\",\"level\":\"B1\",\"remember\":\"Cooks "
        "for the family on Sundays\"}");
}

QString messyCompletion() {
    return QStringLiteral(
               "<think>They asked about food, keep it short.</think>\nSure!\n```json\n") +
           typicalCompletion() + QStringLiteral("\n```\nHope that helps.");
}

void BM_StrictJsonParse(benchmark::State& state) {
    const QByteArray bytes = typicalCompletion().toUtf8();
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(bytes));
}
BENCHMARK(BM_StrictJsonParse);

void BM_LenientJsonParse(benchmark::State& state) {
    const QByteArray bytes = typicalCompletion().toUtf8();
    for (auto _ : state)
        benchmark::DoNotOptimize(LenientJson::parse(bytes));
}
BENCHMARK(BM_LenientJsonParse);

void packReplies(benchmark::State& state, const QString& raw) {
    BotProfile bot;
    bot.targetLanguage = QStringLiteral("Any language");
    for (auto _ : state)
        benchmark::DoNotOptimize(ChatClient::botReply(raw, bot, 5));
}

void BM_BotReplyClean(benchmark::State& state) {
    packReplies(state, typicalCompletion());
}
BENCHMARK(BM_BotReplyClean);

void BM_BotReplyMessy(benchmark::State& state) {
    packReplies(state, messyCompletion());
}
BENCHMARK(BM_BotReplyMessy);

void BM_PromptAssembly(benchmark::State& state) {
    BotProfile bot;
    bot.displayName = QStringLiteral("Lucía");
    bot.targetLanguage = QStringLiteral("Spanish");
    bot.memories = QStringList(30, QStringLiteral("Likes cooking with friends on Sundays"));
    UserProfile user;
    QList<ChatMessage> history;
    for (int i = 0; i < 200; ++i) {
        ChatMessage message;
        message.role = i % 2 ? MessageRole::Assistant : MessageRole::User;
        message.text = QStringLiteral("A message of ordinary length, number %1.").arg(i);
        history.append(message);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(ChatClient::prompt(bot, user, history, QStringLiteral("hola")));
}
BENCHMARK(BM_PromptAssembly);

const bench::RegisterRatio lenientRatio("lenient JSON reader / QJsonDocument, same object",
                                        "BM_LenientJsonParse", "BM_StrictJsonParse");
const bench::RegisterRatio cleanRatio("botReply on a clean object / QJsonDocument",
                                      "BM_BotReplyClean", "BM_StrictJsonParse");
const bench::RegisterRatio messyRatio("botReply on a wrapped object / on a clean one",
                                      "BM_BotReplyMessy", "BM_BotReplyClean");

} // namespace
