// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "account/AccountFlows.h"
#include "account/StateSync.h"
#include "chat/ChatClient.h"
#include "chat/ConversationFlow.h"
#include "chat/ProfileEditing.h"
#include "chat/ScheduledNudges.h"
#include "chat/WordGlossing.h"
#include "common/SerialQueue.h"
#include "model/StoredState.h"
#include "parts/DocumentAccess.h"

#include <QObject>
#include <QSet>

namespace quillo {

class QuilloAPI;
class SessionStore;
class StateStore;

// The one owner of the live document. Screens read it here and change it only through these
// operations; each change is compared with the current document and, when it differs,
// published and saved. The operations themselves live in focused parts beside this class.
class ChatRepository : public QObject, private DocumentAccess {
    Q_OBJECT

public:
    // Loads the document once; everything given must outlive the repository.
    ChatRepository(StateStore& store, SessionStore& session, const QuilloAPI& api,
                   const Clock& clock, QObject* parent = nullptr);
    ~ChatRepository() override;

    const StoredState& state() const { return m_state; }

    // Contacts for which a reply is being produced.
    const QSet<QString>& typing() const { return m_typing; }

    // Returns once every save so far is on disk; false when the last of them could not be written.
    bool flush() override;

    // Editing (see ProfileEditing).
    void completeOnboarding(const QString& name, const QString& nativeLanguage,
                            const QStringList& languages, const QStringList& interests);
    void saveProfile(const ProfileEditing::ProfileEdit& edit);
    void saveLanguage(const LanguageSettings& settings);
    void saveBot(const BotProfile& bot);
    void forget(const QString& botId, const std::optional<QString>& memory = std::nullopt);
    void removeBots(const QStringList& ids);
    void addLanguage(const QString& name);
    void removeLanguage(const QString& name);
    void setNotificationsEnabled(bool on);
    void setTheme(ThemeChoice choice);
    void setTextSettings(const TextSettings& settings);
    void setSpeechLanguage(const QString& name);
    void setWordTranslations(bool on);
    void setBotsCanStartConversations(bool on);
    void markRead(const QString& botId);
    void openConversation(const QString& botId);

    // Conversation (see ConversationFlow).
    void addUserMessage(const QString& botId, const QString& text);
    void send(const QString& botId, const QString& text);
    QCoro::Task<> answerLatest(const QString& botId);
    QCoro::Task<> respond(const QString& botId, const std::optional<QString>& userText);
    // The conversation on screen now, if any: its replies arrive read and without notification.
    void setVisibleBotId(const std::optional<QString>& botId);
    void setOnIncoming(ConversationFlow::Incoming onIncoming);

    // Meanings (see WordGlossing).
    void prefetchWords(const QString& messageId);
    bool isGlossing(const QString& messageId) const;
    QCoro::Task<TranslationResult<Meaning>> translate(const QString& language,
                                                      const QString& selection);

    // Contacts that write first (see ScheduledNudges): one pass at `now`.
    QCoro::Task<> runScheduledNudges(qint64 now);
    // Replaces the secure generator of the nudge delays, for tests.
    void setNudgeDraw(UniformDraw draw);

    // Synchronisation (see StateSync).
    QCoro::Task<> refresh();
    QCoro::Task<bool> refreshAccount();
    QCoro::Task<> sync(bool download);
    // Whether an account or sync operation is running now.
    bool isSynchronising() const { return m_accountQueue.busy(); }

    // Account (see AccountFlows).
    const std::optional<Account>& account() const;
    std::optional<QString> returningEmail() const;
    QCoro::Task<AccountFlows::Outcome> signIn(const QString& googleIdToken);
    QCoro::Task<AccountFlows::Outcome> signInWithCode(const QString& accessCode);
    QCoro::Task<> signOut();
    void forgetAccount();
    QCoro::Task<AccountFlows::Outcome> deleteAccount();

Q_SIGNALS:
    void stateChanged(const quillo::StoredState& state);
    void typingChanged(const QSet<QString>& typing);
    // Someone signed in, out, or the session ended.
    void accountChanged();
    // One user-facing line per failure; nothing is kept.
    void errorOccurred(const QString& message);

private:
    // DocumentAccess, for the parts.
    const StoredState& document() const override { return m_state; }
    bool apply(const Edit& edit, Languages languages) override;
    QCoro::Task<bool> saved() override;
    void reportError(const QString& line) override;
    const Clock& clock() const override { return m_clock; }
    bool isTyping(const QString& botId) const override { return m_typing.contains(botId); }
    void setTyping(const QString& botId, bool typing) override;

    StateStore& m_store;
    SessionStore& m_session;
    const Clock& m_clock;
    StoredState m_state;
    QSet<QString> m_typing;
    ChatClient m_client;
    FreeTranslator m_translator;
    // Account and sync operations, strictly one after another.
    SerialQueue m_accountQueue;
    ProfileEditing m_editing;
    StateSync m_sync;
    WordGlossing m_glossing;
    ConversationFlow m_conversation;
    AccountFlows m_accounts;
    ScheduledNudges m_nudges;
};

} // namespace quillo

Q_DECLARE_METATYPE(quillo::StoredState)
