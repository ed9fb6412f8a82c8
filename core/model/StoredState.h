// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BotProfile.h"
#include "Explanation.h"
#include "JsonCodec.h"
#include "Meaning.h"
#include "MessageList.h"
#include "SyncMark.h"
#include "TextSettings.h"
#include "ThemeChoice.h"
#include "UserProfile.h"

#include <QMap>

#include <optional>

namespace quillo {

// The whole of the user's document: profile, contacts, messages, reading marks, the schedule of
// contacts that write first, this device's preferences and the translation cache. Every edit
// makes a changed copy; the containers are implicitly shared, so copies are cheap and comparing
// two copies of the same list is a pointer check.
struct StoredState {
    UserProfile profile;
    QList<BotProfile> bots;            // in creation order
    MessageList messages;              // every contact's messages, one list, oldest first
    QMap<QString, qint64> lastReadAt;  // contact id -> when the user last saw the chat
    QMap<QString, qint64> nextNudgeAt; // contact id -> when it may next write on its own
    bool botsCanStartConversations = false;
    bool notificationsEnabled = true;
    bool keepRunningWhenClosed = true; // closing the window leaves Quillo running unseen
    bool wordTranslations = true;
    ThemeChoice theme = ThemeChoice::System;
    QMap<QString, Meaning> translationCache;
    // Explanations of passages of contacts' messages, keyed by `explanationKey`; this device's.
    QMap<QString, Explanation> explanations;
    TextSettings textSettings;
    QString speechLanguage;           // empty: dictation follows the conversation's language
    std::optional<SyncMark> syncMark; // absent: never brought into step with the service

    // The contact with exactly this id.
    std::optional<BotProfile> bot(const QString& id) const;

    // The key of the explanation of `selection` in the message `messageId`.
    static QString explanationKey(const QString& messageId, const QString& selection);

    // That contact's messages, in document order.
    QList<ChatMessage> messagesFor(const QString& botId) const;

    // That contact's replies newer than its reading mark (all of them without a mark); a reply
    // stamped exactly at the mark is read, and the user's own messages never count.
    int unreadCount(const QString& botId) const;

    // A copy whose practised languages are rebuilt from the contacts, keeping the settings of
    // languages that are still in use. Every change of contacts or languages goes through it.
    StoredState withSyncedLanguages() const;

    // What belongs to the account and is uploaded: no glosses, no device preferences or caches.
    StoredState forAccount() const;

    // What stays on this device after the user forgets the account: its preferences only.
    StoredState signedOut() const;

    // This document with a downloaded one merged in: no message of either side is lost, local
    // glosses, contacts and device preferences stay. StoredStateMerge.cpp sets out which side
    // wins for each field.
    StoredState adopting(const StoredState& downloaded) const;

    // This document with a downloaded one merged in, knowing `base`, the account's document as
    // both sides last agreed on it: what only one side changed since then takes that side's
    // version, so a contact removed on either side stays removed. StoredStateThreeWay.cpp sets
    // out the rules. `base` and `downloaded` are account projections (`forAccount`).
    StoredState merging(const StoredState& base, const StoredState& downloaded) const;

    // A failure inside profile, bots or messages fails the document; every other field falls
    // back to its default on its own.
    static Decoded<StoredState> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const StoredState&, const StoredState&) = default;
};

} // namespace quillo
