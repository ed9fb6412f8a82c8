// SPDX-License-Identifier: Apache-2.0
// Any bytes as a state document: decoding never crashes, whatever decodes survives the trip
// through its own encoding unchanged, and the document operations hold their promises on it:
// no two-way merge loses a message id of either side, and the three-way merge settles.
#include "model/DocumentWriter.h"
#include "model/StoredState.h"

#include <QJsonDocument>
#include <QSet>

#include <cstdint>
#include <cstdlib>

using namespace quillo;

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

QSet<QString> messageIds(const StoredState& state) {
    QSet<QString> ids;
    for (const ChatMessage& message : state.messages)
        ids.insert(message.id);
    return ids;
}

void mergeKeepsEveryMessage(const StoredState& local, const StoredState& downloaded) {
    const StoredState merged = local.adopting(downloaded);
    const QSet<QString> kept = messageIds(merged);
    require(kept.contains(messageIds(local)));
    require(kept.contains(messageIds(downloaded)));
    for (qsizetype i = 1; i < merged.messages.size(); ++i)
        require(merged.messages.at(i - 1).createdAt <= merged.messages.at(i).createdAt);
    for (const QString& id : merged.lastReadAt.keys())
        require(merged.bot(id).has_value());
    for (const QString& id : merged.nextNudgeAt.keys())
        require(merged.bot(id).has_value());
}

// The three-way merge: nothing stays for contacts that are gone; merging the result again with
// nothing new changes nothing; and a device that changed nothing since the base ends with the
// downloaded contacts and profile. (Not the whole downloaded document: these inputs may hold
// marks and messages of contacts they lack, which a merge leaves out.)
void threeWayKeepsItsPromises(const StoredState& local, const StoredState& base,
                              const StoredState& downloaded) {
    const StoredState merged = local.merging(base, downloaded);
    for (const QString& id : merged.lastReadAt.keys())
        require(merged.bot(id).has_value());
    for (const QString& id : merged.nextNudgeAt.keys())
        require(merged.bot(id).has_value());
    const StoredState agreed = downloaded.forAccount();
    require(merged.merging(agreed, agreed) == merged);
    if (local.forAccount() == base)
        require(merged.bots == downloaded.bots && merged.profile == downloaded.profile);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size)));
    const QJsonValue value =
        document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    const auto decoded = StoredState::fromJson(value);
    if (!decoded.ok())
        return 0;
    const StoredState& state = decoded.value();

    const auto again = StoredState::fromJson(state.toJson());
    require(again.ok() && again.value() == state);
    // What the state store writes reads back as the same document.
    const auto written =
        StoredState::fromJson(QJsonDocument::fromJson(compactDocumentJson(state)).object());
    require(written.ok() && written.value() == state);

    for (const BotProfile& bot : state.bots)
        (void)state.unreadCount(bot.id);
    const StoredState synced = state.withSyncedLanguages();
    require(synced.withSyncedLanguages() == synced);
    const StoredState account = state.forAccount();
    require(account.messages.size() == state.messages.size());
    for (const ChatMessage& message : account.messages)
        require(message.words.isEmpty());
    require(state.signedOut().messages.isEmpty());

    require(state.adopting(state).messages.size() == state.messages.size());
    mergeKeepsEveryMessage(state, state);
    mergeKeepsEveryMessage(state, account);
    mergeKeepsEveryMessage(state.signedOut(), state);
    mergeKeepsEveryMessage(synced, state);

    // Two devices that each hold part of the chat.
    StoredState half = state;
    qsizetype index = 0;
    half.messages.removeIf([&index](const ChatMessage&) { return index++ % 2 == 1; });
    half.bots = half.bots.mid(0, half.bots.size() / 2);
    mergeKeepsEveryMessage(half, account);
    mergeKeepsEveryMessage(account, half);

    const StoredState halfSynced = half.withSyncedLanguages();
    threeWayKeepsItsPromises(synced, synced.forAccount(), halfSynced.forAccount());
    threeWayKeepsItsPromises(halfSynced, synced.forAccount(), synced.forAccount());
    threeWayKeepsItsPromises(state, halfSynced.forAccount(), account);
    return 0;
}
