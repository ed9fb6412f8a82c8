// SPDX-License-Identifier: Apache-2.0
#include "MergeParts.h"

#include <QHash>
#include <QJsonDocument>

#include <algorithm>
#include <vector>

namespace quillo::merge {

namespace {

// Whether `a` is the later check; two of the same moment are ordered by their content, so that
// both devices of a merge pick the same one.
bool isLater(const Correction& a, const Correction& b) {
    if (a.checkedAt != b.checkedAt)
        return a.checkedAt > b.checkedAt;
    return QJsonDocument(a.toJson()).toJson(QJsonDocument::Compact) >
           QJsonDocument(b.toJson()).toJson(QJsonDocument::Compact);
}

// The downloaded messages with the glosses of the first local message of the same id and text
// (uploads carry none); glosses of another text would gloss the wrong words.
std::vector<ChatMessage> withLocalGlosses(const MessageList& local, const MessageList& downloaded) {
    QHash<QString, qsizetype> localById;
    localById.reserve(local.size());
    for (qsizetype i = local.size() - 1; i >= 0; --i)
        localById.insert(local.at(i).id, i);

    std::vector<ChatMessage> merged;
    merged.reserve(size_t(local.size() + downloaded.size()));
    for (const ChatMessage& message : downloaded) {
        merged.push_back(message);
        const auto mine = localById.constFind(message.id);
        if (mine == localById.constEnd())
            continue;
        const ChatMessage& kept = local.at(*mine);
        if (!kept.words.isEmpty() && kept.text == message.text)
            merged.back().words = kept.words;
        // Of two checks of the same text the later one stands, on whichever side it was made.
        if (kept.correction && kept.text == message.text &&
            (!message.correction || isLater(*kept.correction, *message.correction)))
            merged.back().correction = kept.correction;
    }
    return merged;
}

// `local` itself when the merged messages are the same, so the document keeps sharing its
// chunks and stays cheap to compare.
MessageList asMessageList(std::vector<ChatMessage>& merged, const MessageList& local) {
    if (qsizetype(merged.size()) == local.size() &&
        std::equal(merged.begin(), merged.end(), local.begin()))
        return local;
    MessageList messages;
    for (ChatMessage& message : merged)
        messages.append(std::move(message));
    return messages;
}

} // namespace

QSet<QString> contactIds(const QList<BotProfile>& bots) {
    QSet<QString> ids;
    ids.reserve(bots.size());
    for (const BotProfile& contact : bots)
        ids.insert(contact.id);
    return ids;
}

MessageList unitedMessages(const MessageList& local, const MessageList& downloaded) {
    std::vector<ChatMessage> merged = withLocalGlosses(local, downloaded);
    QSet<QString> downloadedIds;
    downloadedIds.reserve(downloaded.size());
    for (const ChatMessage& message : downloaded)
        downloadedIds.insert(message.id);
    for (const ChatMessage& message : local) {
        if (!downloadedIds.contains(message.id))
            merged.push_back(message);
    }

    const auto byTime = [](const ChatMessage& a, const ChatMessage& b) {
        return a.createdAt < b.createdAt;
    };
    if (!std::is_sorted(merged.begin(), merged.end(), byTime))
        std::stable_sort(merged.begin(), merged.end(), byTime);
    return asMessageList(merged, local);
}

MessageList glossedDownload(const MessageList& local, const MessageList& downloaded) {
    std::vector<ChatMessage> merged = withLocalGlosses(local, downloaded);
    return asMessageList(merged, local);
}

QMap<QString, qint64> laterMarks(const QSet<QString>& contactIds,
                                 const QMap<QString, qint64>& local,
                                 const QMap<QString, qint64>& downloaded) {
    QMap<QString, qint64> marks;
    for (const QMap<QString, qint64>* side : {&local, &downloaded}) {
        for (auto it = side->constBegin(); it != side->constEnd(); ++it) {
            if (contactIds.contains(it.key()))
                marks.insert(it.key(),
                             std::max(local.value(it.key(), 0), downloaded.value(it.key(), 0)));
        }
    }
    return marks;
}

QMap<QString, qint64> onlyFor(const QSet<QString>& contactIds, const QMap<QString, qint64>& map) {
    QMap<QString, qint64> kept;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (contactIds.contains(it.key()))
            kept.insert(it.key(), it.value());
    }
    return kept;
}

} // namespace quillo::merge
