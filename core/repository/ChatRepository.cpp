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
    , m_conversation(*this, session, m_sync, m_client, m_glossing)
    , m_accounts(*this, session, api, m_accountQueue, m_sync)
    , m_nudges(*this, session, m_sync, m_conversation) {
    qRegisterMetaType<quillo::StoredState>();
    connect(&session, &SessionStore::accountChanged, this, &ChatRepository::accountChanged);
    // The record of how far the document was synchronised is bound to the document: a record
    // about an earlier document would make the fresh one read as the user deleting everything.
    m_sync.followDocument(store.startedFresh());
}

ChatRepository::~ChatRepository() {
    // Work still waiting stops before anything it would touch is gone.
    m_nudges.close();
    m_accounts.close();
    m_conversation.close();
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

void ChatRepository::completeOnboarding(const QString& name, const QString& nativeLanguage,
                                        const QStringList& languages,
                                        const QStringList& interests) {
    m_editing.completeOnboarding(name, nativeLanguage, languages, interests);
}

void ChatRepository::saveProfile(const ProfileEditing::ProfileEdit& edit) {
    m_editing.saveProfile(edit);
}

void ChatRepository::saveLanguage(const LanguageSettings& settings) {
    m_editing.saveLanguage(settings);
}

void ChatRepository::saveBot(const BotProfile& bot) {
    m_editing.saveBot(bot);
}

void ChatRepository::forget(const QString& botId, const std::optional<QString>& memory) {
    m_editing.forget(botId, memory);
}

void ChatRepository::removeBots(const QStringList& ids) {
    m_editing.removeBots(ids);
}

void ChatRepository::addLanguage(const QString& name) {
    m_editing.addLanguage(name);
}

void ChatRepository::removeLanguage(const QString& name) {
    m_editing.removeLanguage(name);
}

void ChatRepository::setNotificationsEnabled(bool on) {
    m_editing.setNotificationsEnabled(on);
}

void ChatRepository::setTheme(ThemeChoice choice) {
    m_editing.setTheme(choice);
}

void ChatRepository::setTextSettings(const TextSettings& settings) {
    m_editing.setTextSettings(settings);
}

void ChatRepository::setSpeechLanguage(const QString& name) {
    m_editing.setSpeechLanguage(name);
}

void ChatRepository::setWordTranslations(bool on) {
    m_editing.setWordTranslations(on);
}

void ChatRepository::setBotsCanStartConversations(bool on) {
    m_editing.setBotsCanStartConversations(on);
}

void ChatRepository::markRead(const QString& botId) {
    m_editing.markRead(botId);
}

void ChatRepository::openConversation(const QString& botId) {
    m_editing.openConversation(botId);
}

void ChatRepository::addUserMessage(const QString& botId, const QString& text) {
    m_conversation.addUserMessage(botId, text);
}

void ChatRepository::send(const QString& botId, const QString& text) {
    m_conversation.send(botId, text);
}

QCoro::Task<> ChatRepository::answerLatest(const QString& botId) {
    return m_conversation.answerLatest(botId);
}

QCoro::Task<> ChatRepository::respond(const QString& botId,
                                      const std::optional<QString>& userText) {
    return m_conversation.respond(botId, userText);
}

void ChatRepository::setVisibleBotId(const std::optional<QString>& botId) {
    m_conversation.setVisibleBotId(botId);
}

void ChatRepository::setOnIncoming(ConversationFlow::Incoming onIncoming) {
    m_conversation.setOnIncoming(std::move(onIncoming));
}

void ChatRepository::prefetchWords(const QString& messageId) {
    m_glossing.prefetchWords(messageId);
}

bool ChatRepository::isGlossing(const QString& messageId) const {
    return m_glossing.isGlossing(messageId);
}

QCoro::Task<TranslationResult<Meaning>> ChatRepository::translate(const QString& language,
                                                                  const QString& selection) {
    return m_glossing.translate(language, selection);
}

QCoro::Task<> ChatRepository::runScheduledNudges(qint64 now) {
    return m_nudges.run(now);
}

void ChatRepository::setNudgeDraw(UniformDraw draw) {
    m_nudges.setDraw(std::move(draw));
}

QCoro::Task<> ChatRepository::refresh() {
    return m_sync.refresh();
}

QCoro::Task<bool> ChatRepository::refreshAccount() {
    return m_sync.refreshAccount();
}

QCoro::Task<> ChatRepository::sync(bool download) {
    return m_sync.sync(download);
}

const std::optional<Account>& ChatRepository::account() const {
    return m_session.account();
}

std::optional<QString> ChatRepository::returningEmail() const {
    return m_accounts.returningEmail();
}

QCoro::Task<AccountFlows::Outcome> ChatRepository::signIn(const QString& googleIdToken) {
    return m_accounts.signIn(googleIdToken);
}

QCoro::Task<AccountFlows::Outcome> ChatRepository::signInWithCode(const QString& accessCode) {
    return m_accounts.signInWithCode(accessCode);
}

QCoro::Task<> ChatRepository::signOut() {
    return m_accounts.signOut();
}

void ChatRepository::forgetAccount() {
    m_accounts.forgetAccount();
}

QCoro::Task<AccountFlows::Outcome> ChatRepository::deleteAccount() {
    return m_accounts.deleteAccount();
}

} // namespace quillo
