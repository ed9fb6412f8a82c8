// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "account/AccountFlows.h"
#include "account/StateSync.h"
#include "chat/ChatClient.h"
#include "chat/ConversationFlow.h"
#include "chat/Feedback.h"
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

// The one owner of the live document. Screens read it here and change it only through its
// parts (editing, conversation, glossing, feedback, nudges, synchronisation, accounts); each change
// is compared with the current document and, when it differs, published and saved.
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

    // The parts, each with its own narrow set of operations. A new feature is a new part here.
    ProfileEditing& editing() { return m_editing; }
    ConversationFlow& conversation() { return m_conversation; }
    const ConversationFlow& conversation() const { return m_conversation; }
    WordGlossing& glossing() { return m_glossing; }
    const WordGlossing& glossing() const { return m_glossing; }
    ScheduledNudges& nudges() { return m_nudges; }
    Feedback& feedback() { return m_feedback; }
    StateSync& synchronisation() { return m_sync; }
    AccountFlows& accounts() { return m_accounts; }
    const AccountFlows& accounts() const { return m_accounts; }

    // Whether an account or sync operation is running now.
    bool isSynchronising() const { return m_accountQueue.busy(); }

    // Who is signed in, if anyone.
    const std::optional<Account>& account() const;

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
    Feedback m_feedback;
    ConversationFlow m_conversation;
    AccountFlows m_accounts;
    ScheduledNudges m_nudges;
};

} // namespace quillo

Q_DECLARE_METATYPE(quillo::StoredState)
