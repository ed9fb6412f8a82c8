// SPDX-License-Identifier: Apache-2.0
#include "ComposerDictation.h"

#include "repository/ChatRepository.h"
#include "store/SessionStore.h"

namespace quillo {

ComposerDictation::ComposerDictation(Services services, ChatRepository& repository, QObject* parent)
    : QObject(parent)
    , m_repository(repository)
    , m_recognizer(services.api, [&session = services.session] { return session.token(); })
    , m_dictation(services.microphone, m_recognizer, services.clock) {
    connect(&m_dictation, &Dictation::activeChanged, this, &ComposerDictation::activeChanged);
    connect(&m_dictation, &Dictation::textChanged, this, &ComposerDictation::textChanged);
    connect(&m_dictation, &Dictation::levelsChanged, this, &ComposerDictation::levelsChanged);
    connect(&m_dictation, &Dictation::problem, this, [this](const QString& line) {
        setProblemLine(line);
        // Listening broke off: what was already heard still goes to the composer.
        if (!m_dictation.active() && !m_dictation.text().trimmed().isEmpty())
            Q_EMIT transcribed(m_dictation.text().trimmed());
    });
    connect(&m_repository, &ChatRepository::stateChanged, this,
            &ComposerDictation::languageChanged);
}

QStringList ComposerDictation::languages() const {
    const StoredState& state = m_repository.state();
    QStringList offered;
    // The chosen one stays on offer even when no longer practised.
    const auto offer = [&offered](const QString& language) {
        if (!language.isEmpty() && !offered.contains(language))
            offered.append(language);
    };
    offer(state.speechLanguage);
    offer(contactLanguage());
    for (const LanguageSettings& practised : state.profile.languages)
        offer(practised.language);
    offer(state.profile.nativeLanguage);
    return offered;
}

QString ComposerDictation::contactLanguage() const {
    const auto bot = m_repository.state().bot(m_botId);
    return bot && !bot->isAnyLanguage() ? bot->currentLanguage() : QString();
}

QString ComposerDictation::language() const {
    const QString chosen = m_repository.state().speechLanguage;
    if (!chosen.isEmpty())
        return chosen;
    const QString followed = contactLanguage();
    if (!followed.isEmpty())
        return followed;
    const QStringList offered = languages();
    return offered.isEmpty() ? QString() : offered.first();
}

void ComposerDictation::setLanguage(const QString& language) {
    // Picking the conversation's own language goes back to following each conversation.
    m_repository.editing().setSpeechLanguage(language == contactLanguage() ? QString() : language);
}

void ComposerDictation::setBotId(const QString& botId) {
    if (botId == m_botId)
        return;
    cancel();
    m_botId = botId;
    setProblemLine({});
    Q_EMIT languageChanged();
}

void ComposerDictation::start() {
    if (m_dictation.active() || language().isEmpty())
        return;
    setProblemLine({});
    m_dictation.start(language());
}

void ComposerDictation::finish() {
    if (m_finishing)
        return;
    setFinishing(true);
    m_dictation.finish([this](const QString& text) {
        setFinishing(false);
        m_dictation.stop();
        if (!text.isEmpty())
            Q_EMIT transcribed(text);
    });
}

void ComposerDictation::cancel() {
    m_dictation.stop();
    setFinishing(false);
}

void ComposerDictation::dismissProblem() {
    setProblemLine({});
}

void ComposerDictation::setFinishing(bool finishing) {
    if (m_finishing == finishing)
        return;
    m_finishing = finishing;
    Q_EMIT finishingChanged();
}

void ComposerDictation::setProblemLine(const QString& line) {
    if (m_problemLine == line)
        return;
    m_problemLine = line;
    Q_EMIT problemLineChanged();
}

} // namespace quillo
