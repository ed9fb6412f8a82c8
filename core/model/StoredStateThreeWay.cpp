// SPDX-License-Identifier: Apache-2.0
#include "StoredState.h"

#include "Languages.h"
#include "MergeParts.h"

#include <QHash>
#include <QSet>

#include <functional>
#include <optional>

// How a downloaded document is merged into this device's one when we also know the base: the
// account's document as this device and the service last agreed on it. With the base a merge
// can tell a removal from an addition and an edit from an untouched copy, so what only one side
// changed since then takes that side's version, and a removal on either side sticks. Field by
// field:
//
// - bots, by id: a contact on both sides takes the side that changed it, the downloaded one
//   when both did. A contact only one side has stays when the base lacks it (it was added
//   there); goes when the base has it unchanged (the other side removed it); stays when it
//   changed since the base (an edit beats a removal the editor had not yet seen), and new
//   messages with it count as such an edit: a chat that went on elsewhere comes back whole.
//   Downloaded order first, then the local contacts that stay, in local order. When this device
//   changed no contact the result is the downloaded list as it is, and when the service changed
//   none it is the local list: that is what makes two devices settle on one list.
// - messages: when one side changed neither its contacts nor its messages, the other side's list
//   as it is (the downloaded one carrying this device's glosses where the text is the same);
//   else united by id as `adopting` does, so nothing written on either side is lost. Either way
//   the messages of every contact the merge removed go with it; messages of a contact no side
//   has ever had stay, since nothing says they were removed.
// - profile: the practised languages entry by entry, keyed by languageKey, with the rules for
//   contacts; the rest as a whole, from the side that changed it, the downloaded one when both
//   did. A language the merge dropped that a merged contact still practises keeps the base's
//   settings instead of starting again at A1. The list is then rebuilt from the merged
//   contacts, as after every change of contacts.
// - wordTranslations, speechLanguage: the side that changed it, the downloaded one when both
//   did.
// - lastReadAt: likewise the other side's marks when one side changed neither its contacts nor
//   its marks, else the later mark of the two, a missing one counting as 0, so a chat read on
//   any device is read everywhere.
// - nextNudgeAt, botsCanStartConversations, notificationsEnabled, keepRunningWhenClosed,
//   theme, textSettings, translationCache, explanations: local; they never leave this device.
// - reading marks and schedule entries are kept only for contacts the merged document has.

namespace quillo {

namespace {

// One value merged three ways: the downloaded one when it changed since the base, else the local
// one (which is the base itself when neither changed).
template <typename T>
T threeWay(const T& local, const T& base, const T& downloaded) {
    return downloaded == base ? local : downloaded;
}

// The first entry of each key: a later duplicate is ignored, as every lookup by id ignores it.
template <typename T, typename KeyOf>
QHash<QString, T> firstByKey(const QList<T>& entries, KeyOf keyOf) {
    QHash<QString, T> byKey;
    byKey.reserve(entries.size());
    for (const T& entry : entries) {
        const QString key = keyOf(entry);
        if (!byKey.contains(key))
            byKey.insert(key, entry);
    }
    return byKey;
}

// Whether a side did more with an entry than its own value shows (wrote to a contact).
using Touched = std::function<bool(const QString& key)>;

bool untouched(const QString&) {
    return false;
}

// A keyed list merged entry by entry; the top of the file has the rules. An entry that only one
// side has and that side touched counts as changed there.
template <typename T, typename KeyOf>
QList<T> mergedEntries(const QList<T>& local, const QList<T>& base, const QList<T>& downloaded,
                       KeyOf keyOf, const Touched& touchedLocally = untouched,
                       const Touched& touchedElsewhere = untouched) {
    if (local == base)
        return downloaded;
    if (downloaded == base)
        return local;

    const QHash<QString, T> mine = firstByKey(local, keyOf);
    const QHash<QString, T> agreed = firstByKey(base, keyOf);
    const auto changed = [&agreed](const QString& key, const T& entry) {
        const auto before = agreed.constFind(key);
        return before == agreed.constEnd() || !(*before == entry);
    };

    QList<T> merged;
    QSet<QString> placed;
    for (const T& entry : downloaded) {
        const QString key = keyOf(entry);
        if (placed.contains(key))
            continue;
        placed.insert(key);
        const auto kept = mine.constFind(key);
        if (kept != mine.constEnd())
            merged.append(changed(key, entry) ? entry : *kept);
        else if (changed(key, entry) || touchedElsewhere(key))
            merged.append(entry);
    }
    for (const T& entry : local) {
        const QString key = keyOf(entry);
        if (placed.contains(key))
            continue;
        placed.insert(key);
        if (changed(key, entry) || touchedLocally(key))
            merged.append(entry);
    }
    return merged;
}

// The contacts that `side` wrote new messages with since the base, worked out on first use: most
// merges never ask.
class NewMessages {
public:
    NewMessages(const MessageList& base, const MessageList& side)
        : m_base(base)
        , m_side(side) {}

    bool with(const QString& botId) {
        if (!m_contacts) {
            m_contacts.emplace();
            if (m_side != m_base) {
                QSet<QString> known;
                known.reserve(m_base.size());
                for (const ChatMessage& message : m_base)
                    known.insert(message.id);
                for (const ChatMessage& message : m_side) {
                    if (!known.contains(message.id))
                        m_contacts->insert(message.botId);
                }
            }
        }
        return m_contacts->contains(botId);
    }

private:
    const MessageList& m_base;
    const MessageList& m_side;
    std::optional<QSet<QString>> m_contacts;
};

UserProfile withoutLanguages(UserProfile profile) {
    profile.languages.clear();
    return profile;
}

UserProfile mergedProfile(const UserProfile& local, const UserProfile& base,
                          const UserProfile& downloaded) {
    UserProfile profile =
        threeWay(withoutLanguages(local), withoutLanguages(base), withoutLanguages(downloaded));
    const auto keyOf = [](const LanguageSettings& entry) { return languageKey(entry.language); };
    profile.languages = mergedEntries(local.languages, base.languages, downloaded.languages, keyOf);

    // One side may add a contact of a language while the other removes its last one. The base's
    // settings go last, so they only count for a language no merged entry has, and the rebuild
    // drops those no contact practises.
    QSet<QString> known;
    for (const LanguageSettings& entry : profile.languages)
        known.insert(keyOf(entry));
    for (const LanguageSettings& entry : base.languages) {
        if (!known.contains(keyOf(entry))) {
            known.insert(keyOf(entry));
            profile.languages.append(entry);
        }
    }
    return profile;
}

// Whether this device's messages are still the base's: the same, glosses apart.
bool unchangedSince(const MessageList& base, const MessageList& local) {
    if (local == base)
        return true;
    if (local.size() != base.size())
        return false;
    for (qsizetype i = 0; i < local.size(); ++i) {
        const ChatMessage& mine = local.at(i);
        if (mine.words.isEmpty()) {
            if (!(mine == base.at(i)))
                return false;
            continue;
        }
        ChatMessage bare = mine;
        bare.words.clear();
        if (!(bare == base.at(i)))
            return false;
    }
    return true;
}

// Messages only come and go with their contacts, so a side that changed neither since the base
// has nothing to add, and the other side's list is taken as it is, order included. Otherwise both
// lists are united, which also brings back the chat of a contact kept against a removal.
MessageList mergedMessages(const StoredState& local, const StoredState& base,
                           const StoredState& downloaded) {
    if (downloaded.bots == base.bots && downloaded.messages == base.messages)
        return local.messages;
    if (local.bots == base.bots && unchangedSince(base.messages, local.messages))
        return merge::glossedDownload(local.messages, downloaded.messages);
    return merge::unitedMessages(local.messages, downloaded.messages);
}

// Like messages: a contact kept against a removal keeps its mark.
QMap<QString, qint64> mergedMarks(const QSet<QString>& contactIds, const StoredState& local,
                                  const StoredState& base, const StoredState& downloaded) {
    if (downloaded.bots == base.bots && downloaded.lastReadAt == base.lastReadAt)
        return merge::onlyFor(contactIds, local.lastReadAt);
    if (local.bots == base.bots && local.lastReadAt == base.lastReadAt)
        return merge::onlyFor(contactIds, downloaded.lastReadAt);
    return merge::laterMarks(contactIds, local.lastReadAt, downloaded.lastReadAt);
}

} // namespace

StoredState StoredState::merging(const StoredState& base, const StoredState& downloaded) const {
    StoredState merged = *this;
    NewMessages writtenHere(base.messages, messages);
    NewMessages writtenElsewhere(base.messages, downloaded.messages);
    merged.bots = mergedEntries(
        bots, base.bots, downloaded.bots, [](const BotProfile& contact) { return contact.id; },
        [&writtenHere](const QString& id) { return writtenHere.with(id); },
        [&writtenElsewhere](const QString& id) { return writtenElsewhere.with(id); });
    merged.profile = mergedProfile(profile, base.profile, downloaded.profile);
    merged.wordTranslations =
        threeWay(wordTranslations, base.wordTranslations, downloaded.wordTranslations);
    merged.speechLanguage =
        threeWay(speechLanguage, base.speechLanguage, downloaded.speechLanguage);

    const QSet<QString> contactIds = merge::contactIds(merged.bots);
    QSet<QString> removed = merge::contactIds(bots);
    removed.unite(merge::contactIds(base.bots)).unite(merge::contactIds(downloaded.bots));
    removed.subtract(contactIds);

    merged.messages = mergedMessages(*this, base, downloaded);
    if (!removed.isEmpty()) {
        merged.messages.removeIf(
            [&removed](const ChatMessage& message) { return removed.contains(message.botId); });
    }
    merged.lastReadAt = mergedMarks(contactIds, *this, base, downloaded);
    merged.nextNudgeAt = merge::onlyFor(contactIds, nextNudgeAt);
    return merged.withSyncedLanguages();
}

} // namespace quillo
