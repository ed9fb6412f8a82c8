// SPDX-License-Identifier: Apache-2.0
#include "StoredState.h"

#include "Languages.h"
#include "TextHelpers.h"

#include <QSet>

#include <limits>

namespace quillo {

namespace {

// A JSON object of records keyed by text. One entry that does not decode makes the whole map
// unusable: half a reading-mark table would mark the wrong chats unread, so the caller falls
// back to an empty one.
template <typename T>
std::optional<QMap<QString, T>> decodeMap(const QJsonValue& value) {
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    QMap<QString, T> map;
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        auto entry = JsonCodec<T>::decode(it.value());
        if (!entry)
            return std::nullopt;
        map.insert(it.key(), std::move(entry).value());
    }
    return map;
}

template <typename T>
QJsonObject encodeMap(const QMap<QString, T>& map) {
    QJsonObject object;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it)
        object.insert(it.key(), toJsonValue(it.value()));
    return object;
}

} // namespace

std::optional<BotProfile> StoredState::bot(const QString& id) const {
    for (const BotProfile& candidate : bots) {
        if (candidate.id == id)
            return candidate;
    }
    return std::nullopt;
}

QString StoredState::explanationKey(const QString& messageId, const QString& selection) {
    return messageId + u'|' + trimmedText(selection).toLower();
}

QList<ChatMessage> StoredState::messagesFor(const QString& botId) const {
    QList<ChatMessage> chat;
    for (const ChatMessage& message : messages) {
        if (message.botId == botId)
            chat.append(message);
    }
    return chat;
}

int StoredState::unreadCount(const QString& botId) const {
    const auto mark = lastReadAt.constFind(botId);
    const qint64 readUntil =
        mark == lastReadAt.constEnd() ? std::numeric_limits<qint64>::min() : *mark;
    int unread = 0;
    for (const ChatMessage& message : messages) {
        if (message.botId == botId && message.role == MessageRole::Assistant &&
            message.createdAt > readUntil)
            ++unread;
    }
    return unread;
}

StoredState StoredState::withSyncedLanguages() const {
    QList<LanguageSettings> languages;
    QSet<QString> seen;
    for (const BotProfile& contact : bots) {
        const QString name = trimmedText(contact.targetLanguage);
        if (name.isEmpty() || isAnyLanguageName(name))
            continue;
        const QString key = languageKey(name);
        if (seen.contains(key))
            continue;
        seen.insert(key);
        // The user's level and choices outlive a respelling of the language by a contact.
        LanguageSettings entry = profile.settings(name);
        entry.language = name;
        languages.append(entry);
    }
    StoredState synced = *this;
    synced.profile.languages = languages;
    return synced;
}

StoredState StoredState::forAccount() const {
    const StoredState fresh;
    StoredState account = *this;
    // Only chunks that hold a glossed message are copied; the rest stay shared.
    for (qsizetype i = 0; i < messages.size(); ++i) {
        if (messages.at(i).words.isEmpty())
            continue;
        ChatMessage bare = messages.at(i);
        bare.words.clear();
        account.messages.replace(i, std::move(bare));
    }
    account.nextNudgeAt = fresh.nextNudgeAt;
    account.botsCanStartConversations = fresh.botsCanStartConversations;
    account.notificationsEnabled = fresh.notificationsEnabled;
    account.keepRunningWhenClosed = fresh.keepRunningWhenClosed;
    account.theme = fresh.theme;
    account.translationCache = fresh.translationCache;
    account.explanations = fresh.explanations;
    account.textSettings = fresh.textSettings;
    account.syncMark = fresh.syncMark;
    return account;
}

StoredState StoredState::signedOut() const {
    StoredState device;
    device.botsCanStartConversations = botsCanStartConversations;
    device.notificationsEnabled = notificationsEnabled;
    device.keepRunningWhenClosed = keepRunningWhenClosed;
    device.theme = theme;
    device.textSettings = textSettings;
    return device;
}

Decoded<StoredState> StoredState::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    StoredState state;
    state.profile =
        r.strictOptional<UserProfile>(QStringLiteral("profile")).value_or(UserProfile());
    state.bots =
        r.strictOptional<QList<BotProfile>>(QStringLiteral("bots")).value_or(QList<BotProfile>());
    state.messages =
        r.strictOptional<MessageList>(QStringLiteral("messages")).value_or(MessageList());
    if (r.failed())
        return r.error();

    const QJsonObject object = value.toObject();
    const StoredState fresh;
    state.lastReadAt =
        decodeMap<qint64>(object.value(QStringLiteral("lastReadAt"))).value_or(fresh.lastReadAt);
    state.nextNudgeAt =
        decodeMap<qint64>(object.value(QStringLiteral("nextNudgeAt"))).value_or(fresh.nextNudgeAt);
    state.botsCanStartConversations = r.lenient<bool>(QStringLiteral("botsCanStartConversations"))
                                          .value_or(fresh.botsCanStartConversations);
    state.notificationsEnabled = r.lenient<bool>(QStringLiteral("notificationsEnabled"))
                                     .value_or(fresh.notificationsEnabled);
    state.keepRunningWhenClosed = r.lenient<bool>(QStringLiteral("keepRunningWhenClosed"))
                                      .value_or(fresh.keepRunningWhenClosed);
    state.wordTranslations =
        r.lenient<bool>(QStringLiteral("wordTranslations")).value_or(fresh.wordTranslations);
    state.theme = r.lenient<ThemeChoice>(QStringLiteral("theme")).value_or(fresh.theme);
    state.translationCache = decodeMap<Meaning>(object.value(QStringLiteral("translationCache")))
                                 .value_or(fresh.translationCache);
    state.explanations = decodeMap<Explanation>(object.value(QStringLiteral("explanations")))
                             .value_or(fresh.explanations);
    state.textSettings =
        r.lenient<TextSettings>(QStringLiteral("textSettings")).value_or(fresh.textSettings);
    state.speechLanguage =
        r.lenient<QString>(QStringLiteral("speechLanguage")).value_or(fresh.speechLanguage);
    state.syncMark = r.lenient<SyncMark>(QStringLiteral("syncMark"));
    return state;
}

QJsonObject StoredState::toJson() const {
    QJsonObject object{
        {QStringLiteral("profile"), profile.toJson()},
        {QStringLiteral("bots"), toJsonValue(bots)},
        {QStringLiteral("messages"), messages.toJson()},
        {QStringLiteral("lastReadAt"), encodeMap(lastReadAt)},
        {QStringLiteral("nextNudgeAt"), encodeMap(nextNudgeAt)},
        {QStringLiteral("botsCanStartConversations"), botsCanStartConversations},
        {QStringLiteral("notificationsEnabled"), notificationsEnabled},
        {QStringLiteral("keepRunningWhenClosed"), keepRunningWhenClosed},
        {QStringLiteral("wordTranslations"), wordTranslations},
        {QStringLiteral("theme"), toJsonValue(theme)},
        {QStringLiteral("translationCache"), encodeMap(translationCache)},
        {QStringLiteral("textSettings"), textSettings.toJson()},
        {QStringLiteral("speechLanguage"), speechLanguage},
    };
    if (syncMark)
        object.insert(QStringLiteral("syncMark"), syncMark->toJson());
    if (!explanations.isEmpty())
        object.insert(QStringLiteral("explanations"), encodeMap(explanations));
    return object;
}

} // namespace quillo
