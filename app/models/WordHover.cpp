// SPDX-License-Identifier: Apache-2.0
#include "WordHover.h"

#include "language/Romanizer.h"

namespace quillo {

namespace {

const QString noTranslationLine = QStringLiteral("No translation right now.");

} // namespace

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
    m_busy = bool(m_lookup);
    m_gloss = m_busy ? knownGloss : QString();
    m_failureLine = m_busy ? QString() : noTranslationLine;
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
    // The lookup has the last word: a failure says so, even over the message's own gloss.
    if (meaning.ok() && !meaning->text.trimmed().isEmpty()) {
        m_gloss = meaning->text;
    } else {
        m_gloss.clear();
        m_failureLine = noTranslationLine;
    }
    Q_EMIT changed();
}

} // namespace quillo
