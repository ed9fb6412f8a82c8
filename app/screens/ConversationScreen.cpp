// SPDX-License-Identifier: Apache-2.0
#include "ConversationScreen.h"

#include "model/TextHelpers.h"
#include "models/Navigation.h"
#include "models/NotificationPayload.h"
#include "repository/ChatRepository.h"
#include "store/SessionStore.h"

#include <QClipboard>
#include <QGuiApplication>

namespace quillo {

ConversationScreen::ConversationScreen(ChatRepository& repository, Navigation& selection,
                                       ComposerDictation::Services dictation, QObject* parent)
    : QObject(parent)
    , m_repository(repository)
    , m_session(dictation.session)
    , m_selection(selection)
    , m_messages(repository)
    , m_dictation(dictation, repository) {
    connect(&selection, &Navigation::selectionChanged, this, &ConversationScreen::follow);
    connect(&repository, &ChatRepository::stateChanged, this, &ConversationScreen::contactChanged);
    connect(&repository, &ChatRepository::typingChanged, this, &ConversationScreen::typingChanged);
    connect(&repository, &ChatRepository::errorOccurred, this, &ConversationScreen::setErrorLine);
    connect(&m_session, &SessionStore::repliesReadyChanged, this,
            &ConversationScreen::repliesNoticeChanged);
    follow();
}

QString ConversationScreen::repliesNotice() const {
    if (m_session.repliesReady() != false)
        return {};
    return QStringLiteral("No model is answering the service. Start Ollama or llama.cpp on this "
                          "computer, or set QUILLO_MODEL_URL.");
}

void ConversationScreen::follow() {
    if (m_selection.selectedBotId() == m_messages.botId())
        return;
    m_messages.setBotId(m_selection.selectedBotId());
    m_dictation.setBotId(m_selection.selectedBotId());
    setErrorLine({});
    Q_EMIT contactChanged();
    Q_EMIT typingChanged();
}

QString ConversationScreen::name() const {
    const auto bot = m_repository.state().bot(botId());
    return bot ? bot->displayName : QString();
}

QString ConversationScreen::initials() const {
    const auto bot = m_repository.state().bot(botId());
    return bot ? bot->initials() : QString();
}

QString ConversationScreen::accent() const {
    const auto bot = m_repository.state().bot(botId());
    return bot ? bot->accent : QString();
}

QString ConversationScreen::language() const {
    const auto bot = m_repository.state().bot(botId());
    return bot ? bot->currentLanguage() : QString();
}

QString ConversationScreen::languageLine() const {
    const auto bot = m_repository.state().bot(botId());
    return bot ? languageAndLevel(m_repository.state(), *bot) : QString();
}

bool ConversationScreen::active() const {
    const auto bot = m_repository.state().bot(botId());
    return bot && bot->isEnabled;
}

bool ConversationScreen::typing() const {
    return m_repository.typing().contains(botId());
}

bool ConversationScreen::send(const QString& text) {
    const QString trimmed = trimmedText(text);
    if (trimmed.isEmpty() || botId().isEmpty())
        return false;
    setErrorLine({});
    m_repository.conversation().send(botId(), trimmed);
    return true;
}

void ConversationScreen::dismissError() {
    setErrorLine({});
}

void ConversationScreen::answerAgain() {
    if (botId().isEmpty())
        return;
    setErrorLine({});
    m_repository.conversation().answer(botId());
}

void ConversationScreen::copyText(const QString& text) {
    if (!text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

void ConversationScreen::prefetch(const QString& messageId) {
    m_repository.glossing().prefetchWords(messageId);
}

void ConversationScreen::setErrorLine(const QString& line) {
    if (line == m_errorLine)
        return;
    m_errorLine = line;
    Q_EMIT errorLineChanged();
}

} // namespace quillo
