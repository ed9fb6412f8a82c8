// SPDX-License-Identifier: Apache-2.0
#include "StoredState.h"

#include "Languages.h"
#include "MergeParts.h"

#include <QSet>

// How a downloaded document is merged into this device's one. The service's copy is the
// account's truth, but nothing the user wrote on this device may vanish, and this device's own
// preferences stay its own. Field by field:
//
// - bots: a contact on both sides takes the downloaded version (so an edit made on another
//   device arrives here); the downloaded order comes first, then the contacts only this device
//   has, in local order. A merge never deletes a contact: without tombstones it cannot tell a
//   contact removed elsewhere from one that has not been uploaded yet, and losing a chat is
//   worse than seeing it again. (A download only brings a document when another device has
//   uploaded since the last exchange, so a removal comes back only in that race.)
// - messages: united by id. A message on both sides takes the downloaded version with this
//   device's glosses (uploads carry none), as long as the text is the same one they gloss, and
//   the later of the two corrections of it.
//   Downloaded order first, then local-only messages in local order, then a stable sort by
//   createdAt: two devices that merge each other's copies settle on one order. When the result
//   is the local list, the local chunks are kept so the document stays cheap to compare.
// - profile: the downloaded one, unless it was never set up while the local one was (a fresh
//   copy on the service must not send the user back to onboarding). Practised languages that
//   only the other side knows lend their settings, then the list is rebuilt from the merged
//   contacts, as after every change of contacts.
// - wordTranslations, speechLanguage: downloaded; they travel with the account.
// - lastReadAt: the later mark of the two, a missing one counting as 0, so a chat read on any
//   device is read everywhere.
// - nextNudgeAt, botsCanStartConversations, notificationsEnabled, keepRunningWhenClosed,
//   theme, textSettings, translationCache, explanations: local; the upload carries none of them.
// - reading marks and schedule entries are kept only for contacts the merged document has.

namespace quillo {

namespace {

QList<BotProfile> mergedBots(const QList<BotProfile>& local, const QList<BotProfile>& downloaded) {
    QSet<QString> downloadedIds;
    downloadedIds.reserve(downloaded.size());
    for (const BotProfile& contact : downloaded)
        downloadedIds.insert(contact.id);
    QList<BotProfile> bots = downloaded;
    for (const BotProfile& contact : local) {
        if (!downloadedIds.contains(contact.id))
            bots.append(contact);
    }
    return bots;
}

UserProfile mergedProfile(const UserProfile& local, const UserProfile& downloaded) {
    const bool keepLocal = local.setupCompleted && !downloaded.setupCompleted;
    UserProfile profile = keepLocal ? local : downloaded;
    const UserProfile& other = keepLocal ? downloaded : local;
    QSet<QString> known;
    for (const LanguageSettings& entry : profile.languages)
        known.insert(languageKey(entry.language));
    for (const LanguageSettings& entry : other.languages) {
        if (!known.contains(languageKey(entry.language))) {
            known.insert(languageKey(entry.language));
            profile.languages.append(entry);
        }
    }
    return profile;
}

} // namespace

StoredState StoredState::adopting(const StoredState& downloaded) const {
    StoredState merged = *this;
    merged.profile = mergedProfile(profile, downloaded.profile);
    merged.bots = mergedBots(bots, downloaded.bots);
    merged.messages = merge::unitedMessages(messages, downloaded.messages);
    merged.wordTranslations = downloaded.wordTranslations;
    merged.speechLanguage = downloaded.speechLanguage;

    const QSet<QString> contactIds = merge::contactIds(merged.bots);
    merged.lastReadAt = merge::laterMarks(contactIds, lastReadAt, downloaded.lastReadAt);
    merged.nextNudgeAt = merge::onlyFor(contactIds, nextNudgeAt);
    return merged.withSyncedLanguages();
}

} // namespace quillo
