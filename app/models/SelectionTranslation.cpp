// SPDX-License-Identifier: Apache-2.0
#include "SelectionTranslation.h"

namespace quillo {

SelectionTranslation::SelectionTranslation(QObject* parent)
    : QObject(parent) {}

SelectionTranslation::~SelectionTranslation() {
    m_lifetime.end();
}

void SelectionTranslation::translate(const QString& language, const QString& text) {
    const quint64 request = ++m_request;
    m_shown = true;
    m_text = text.trimmed();
    m_meaning.clear();
    m_alternatives.clear();
    m_failureLine.clear();
    m_busy = bool(m_lookup);
    if (!m_lookup)
        m_failureLine = QStringLiteral("Meaning is not available right now.");
    Q_EMIT changed();
    if (m_lookup)
        lookUp(request, language, text);
}

void SelectionTranslation::clear() {
    ++m_request;
    if (!m_shown)
        return;
    m_shown = false;
    m_busy = false;
    m_text.clear();
    m_meaning.clear();
    m_alternatives.clear();
    m_failureLine.clear();
    Q_EMIT changed();
}

QCoro::Task<> SelectionTranslation::lookUp(quint64 request, QString language, QString text) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto lookup = m_lookup(language, text);
    const TranslationResult<Meaning> meaning = co_await lookup;
    if (alive.ended() || request != m_request)
        co_return;
    m_busy = false;
    if (meaning.ok()) {
        m_meaning = meaning->text;
        m_alternatives = meaning->alternatives;
    } else {
        m_failureLine = QStringLiteral("No translation right now. Try again in a moment.");
    }
    Q_EMIT changed();
}

} // namespace quillo
