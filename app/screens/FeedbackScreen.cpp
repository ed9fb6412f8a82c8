// SPDX-License-Identifier: Apache-2.0
#include "FeedbackScreen.h"

#include "repository/ChatRepository.h"

namespace quillo {

FeedbackScreen::FeedbackScreen(ChatRepository& repository, QObject* parent)
    : QObject(parent)
    , m_repository(repository) {
    m_repository.feedback().setOnFailure(
        [this](const QString&, const QString& line) { setProblem(line); });
}

FeedbackScreen::~FeedbackScreen() {
    m_lifetime.end();
    m_repository.feedback().setOnFailure({});
}

void FeedbackScreen::check(const QString& messageId) {
    if (messageId.isEmpty() || m_checking.contains(messageId))
        return;
    setProblem({}); // a new request: the last one's failure is no longer news
    m_checking.append(messageId);
    Q_EMIT checkingChanged();
    runCheck(messageId);
}

QCoro::Task<> FeedbackScreen::runCheck(QString messageId) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto checked = m_repository.feedback().check(messageId);
    co_await checked;
    if (alive.ended())
        co_return;
    m_checking.removeAll(messageId);
    Q_EMIT checkingChanged();
}

void FeedbackScreen::explain(const QString& messageId, const QString& selection) {
    const QString passage = selection.trimmed();
    if (messageId.isEmpty() || passage.isEmpty())
        return;
    setProblem({});
    m_explanation = {{QStringLiteral("selection"), passage}};
    m_explaining = true;
    m_explanationShown = true;
    Q_EMIT explanationChanged();
    runExplain(++m_explainRequest, messageId, passage);
}

QCoro::Task<> FeedbackScreen::runExplain(quint64 request, QString messageId, QString selection) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto explained = m_repository.feedback().explain(messageId, selection);
    const std::optional<Explanation> explanation = co_await explained;
    if (alive.ended() || request != m_explainRequest)
        co_return;
    m_explaining = false;
    if (explanation)
        m_explanation = {{QStringLiteral("selection"), selection},
                         {QStringLiteral("meaning"), explanation->meaning},
                         {QStringLiteral("dictionaryForm"), explanation->dictionaryForm},
                         {QStringLiteral("partOfSpeech"), explanation->partOfSpeech},
                         {QStringLiteral("grammarNote"), explanation->grammarNote}};
    else
        m_explanationShown = false; // the failure line says why
    Q_EMIT explanationChanged();
}

void FeedbackScreen::closeExplanation() {
    ++m_explainRequest;
    if (!m_explanationShown && !m_explaining)
        return;
    m_explanationShown = false;
    m_explaining = false;
    m_explanation.clear();
    Q_EMIT explanationChanged();
}

void FeedbackScreen::sayIt(const QString& botId, const QString& text) {
    if (m_helping || botId.isEmpty() || text.trimmed().isEmpty())
        return;
    setProblem({});
    m_helping = true;
    Q_EMIT helpingChanged();
    runSayIt(botId, text.trimmed());
}

QCoro::Task<> FeedbackScreen::runSayIt(QString botId, QString text) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto written = m_repository.feedback().sayIt(botId, text);
    const std::optional<SayItAnswer> answer = co_await written;
    if (alive.ended())
        co_return;
    m_helping = false;
    Q_EMIT helpingChanged();
    if (answer)
        Q_EMIT sentenceReady(answer->sentence, answer->note);
}

void FeedbackScreen::setProblem(const QString& line) {
    if (m_problemLine == line)
        return;
    m_problemLine = line;
    Q_EMIT problemLineChanged();
}

void FeedbackScreen::dismissProblem() {
    setProblem({});
}

} // namespace quillo
