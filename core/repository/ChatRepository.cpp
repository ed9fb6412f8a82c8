// SPDX-License-Identifier: Apache-2.0
#include "ChatRepository.h"

#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QCoroFuture>

namespace quillo {

ChatRepository::ChatRepository(StateStore& store, SessionStore& session, const QuilloAPI& api,
                               const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_session(session)
    , m_clock(clock)
    , m_state(store.load())
    , m_client(api, clock)
    , m_editing(*this)
    , m_sync(*this, session, api, m_accountQueue)
    , m_glossing(*this, m_translator)
    , m_feedback(*this, session, api)
    , m_conversation(*this, session, m_sync, m_client, m_glossing)
    , m_accounts(*this, session, api, m_accountQueue, m_sync)
    , m_nudges(*this, session, m_sync, m_conversation) {
    qRegisterMetaType<quillo::StoredState>();
    connect(&session, &SessionStore::accountChanged, this, &ChatRepository::accountChanged);
    // The record of how far the document was synchronised is bound to the document: a record
    // about an earlier document would make the fresh one read as the user deleting everything.
    m_sync.followDocument(store.startedFresh());
    m_conversation.setOnReplied([this](const QString& botId, const QString& messageId) {
        m_feedback.replied(botId, messageId);
    });
}

ChatRepository::~ChatRepository() {
    // Work still waiting stops before anything it would touch is gone.
    m_nudges.close();
    m_accounts.close();
    m_conversation.close();
    m_feedback.close();
    m_glossing.close();
    m_sync.close();
}

bool ChatRepository::flush() {
    return m_store.flush();
}

QCoro::Task<bool> ChatRepository::saved() {
    QFuture<bool> writing = m_store.written();
    co_return co_await writing;
}

bool ChatRepository::apply(const Edit& edit, Languages languages) {
    // Copying is cheap: the lists are shared until the edit touches them.
    StoredState next = m_state;
    edit(next);
    if (languages == Languages::Rebuild)
        next = next.withSyncedLanguages();
    if (next == m_state)
        return false;
    m_state = std::move(next);
    // Saved before observers hear of it, so that an observer's own edit is written after this.
    m_store.save(m_state);
    Q_EMIT stateChanged(m_state);
    m_sync.documentChanged();
    return true;
}

void ChatRepository::setTyping(const QString& botId, bool typing) {
    const bool changed = typing ? !m_typing.contains(botId) : m_typing.remove(botId);
    if (!changed)
        return;
    if (typing)
        m_typing.insert(botId);
    Q_EMIT typingChanged(m_typing);
}

void ChatRepository::reportError(const QString& line) {
    Q_EMIT errorOccurred(line);
}

const std::optional<Account>& ChatRepository::account() const {
    return m_session.account();
}

} // namespace quillo
