// SPDX-License-Identifier: Apache-2.0
#include "WordHover.h"

#include "language/Romanizer.h"

namespace quillo {

WordHover::WordHover(QObject* parent)
    : QObject(parent) {}

WordHover::~WordHover() {
    m_lifetime.end();
}

void WordHover::show(const QString& messageId, const QString& word, const QString& language,
                     const QString& knownGloss) {
    if (m_shown && word == m_word && !m_busy && m_failureLine.isEmpty())
        return;
    const quint64 request = ++m_request;
    m_shown = true;
    m_word = word;
    m_reading = Romanizer::romanize(word, language).value_or(QString());
    m_gloss = knownGloss;
    m_failureLine.clear();
    m_busy = bool(m_lookup);
    if (!m_lookup)
        m_failureLine = QStringLiteral("No translation right now.");
    Q_EMIT changed();
    if (m_lookup)
        lookUp(request, messageId, word, language);
}

void WordHover::hide() {
    ++m_request;
    if (!m_shown)
        return;
    m_shown = false;
    m_busy = false;
    Q_EMIT changed();
}

QCoro::Task<> WordHover::lookUp(quint64 request, QString messageId, QString word,
                                QString language) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto lookup = m_lookup(messageId, word, language);
    const TranslationResult<Meaning> meaning = co_await lookup;
    if (alive.ended() || request != m_request)
        co_return;
    m_busy = false;
    if (meaning.ok() && !meaning->text.trimmed().isEmpty())
        m_gloss = meaning->text;
    else if (m_gloss.isEmpty())
        m_failureLine = QStringLiteral("No translation right now.");
    Q_EMIT changed();
}

} // namespace quillo
