// SPDX-License-Identifier: Apache-2.0
#include "Feedback.h"

#include "chat/FeedbackPrompts.h"
#include "common/LogCategories.h"
#include "model/Languages.h"
#include "model/TextHelpers.h"
#include "service/QuilloAPI.h"
#include "service/ServiceStatus.h"
#include "store/SessionStore.h"

#include <QLoggingCategory>

namespace quillo {

namespace {

const QString purpose = QStringLiteral("feedback");

qsizetype indexOfMessage(const MessageList& messages, const QString& id) {
    for (qsizetype i = 0; i < messages.size(); ++i) {
        if (messages.at(i).id == id)
            return i;
    }
    return -1;
}

std::optional<ChatMessage> messageWithId(const StoredState& state, const QString& id) {
    const qsizetype index = indexOfMessage(state.messages, id);
    if (index < 0)
        return std::nullopt;
    return state.messages.at(index);
}

// The contact's newest message before `messageId` in its chat (all of them without an id).
QString contactsMessageBefore(const StoredState& state, const QString& botId,
                              const QString& messageId = {}) {
    const QList<ChatMessage> chat = state.messagesFor(botId);
    qsizetype end = chat.size();
    for (qsizetype i = 0; i < chat.size(); ++i) {
        if (chat[i].id == messageId)
            end = i;
    }
    for (qsizetype i = end - 1; i >= 0; --i) {
        if (chat[i].role == MessageRole::Assistant)
            return chat[i].text;
    }
    return {};
}

bool sameLanguage(const QString& a, const QString& b) {
    return !isBlank(a) && !isBlank(b) && languageKey(a) == languageKey(b);
}

} // namespace

Feedback::Feedback(DocumentAccess& document, SessionStore& session, const QuilloAPI& api)
    : m_document(document)
    , m_session(session)
    , m_api(api) {}

Feedback::~Feedback() {
    close();
}

void Feedback::close() {
    m_lifetime.end();
}

QString Feedback::allowanceUsedLine() {
    return QStringLiteral("You've used today's feedback. More arrives tomorrow.");
}

QString Feedback::checkFailedLine() {
    return QStringLiteral("Quillo couldn't check this message this time.");
}

QString Feedback::explainFailedLine() {
    return QStringLiteral("Quillo couldn't explain this this time.");
}

QString Feedback::sayItFailedLine() {
    return QStringLiteral("Quillo couldn't find the words this time.");
}

void Feedback::fail(const QString& subjectId, const QString& line) const {
    if (m_onFailure)
        m_onFailure(subjectId, line);
}

QCoro::Task<std::optional<QString>> Feedback::ask(QList<PromptMessage> messages, QString subjectId,
                                                  QString line) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const std::optional<QString> token = m_session.token();
    if (!token) {
        fail(subjectId, line);
        co_return std::nullopt;
    }
    auto answer = co_await m_api.reply(*token, std::move(messages), FeedbackPrompts::maxTokens,
                                       FeedbackPrompts::temperature, purpose);
    if (alive.ended())
        co_return std::nullopt;
    if (!answer.ok()) {
        qCWarning(lcChat).noquote() << "feedback request failed:" << answer.error().description();
        const ServiceStatus status = statusOf(answer.error());
        if (status == ServiceStatus::SessionEnded)
            m_session.expire();
        else if (status == ServiceStatus::AllowanceUsed)
            fail(subjectId, allowanceUsedLine());
        else
            fail(subjectId, line);
        co_return std::nullopt;
    }
    if (answer->account)
        m_session.update(*answer->account);
    co_return answer->content;
}

QCoro::Task<std::optional<Correction>> Feedback::check(QString messageId) {
    return runCheck(std::move(messageId), false);
}

QCoro::Task<std::optional<Correction>> Feedback::runCheck(QString messageId, bool automatic) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const StoredState& state = m_document.document();
    const std::optional<ChatMessage> message = messageWithId(state, messageId);
    const std::optional<BotProfile> bot =
        message ? state.bot(message->botId) : std::optional<BotProfile>();
    if (!message || !bot || message->role != MessageRole::User || m_checking.contains(messageId))
        co_return std::nullopt;

    FeedbackPrompts::CorrectionRequest request;
    request.text = message->text;
    request.language = bot->currentLanguage();
    request.level = state.profile.level(*bot);
    request.ownLanguage = state.profile.glossLanguage();
    request.context = contactsMessageBefore(state, bot->id, messageId);
    if (state.profile.settings(request.language).corrections == CorrectionLevel::Hindering)
        request.scope = CorrectionLevel::Hindering;

    m_checking.insert(messageId);
    const QString line = checkFailedLine();
    const std::optional<QString> raw =
        co_await ask(FeedbackPrompts::correction(request), messageId, line);
    if (alive.ended())
        co_return std::nullopt;
    m_checking.remove(messageId);
    if (!raw)
        co_return std::nullopt;
    std::optional<Correction> found = FeedbackAnswers::correction(*raw, request.text);
    if (!found) {
        fail(messageId, line);
        co_return std::nullopt;
    }
    // Written in the user's own language: nothing to correct, and nothing asked for.
    if (automatic && sameLanguage(found->language, request.ownLanguage) &&
        !sameLanguage(found->language, request.language))
        co_return std::nullopt;
    found->checkedAt = m_document.clock().nowMillis();

    bool kept = false;
    m_document.apply(
        [&](StoredState& next) {
            // The message, or its contact, may have gone while the check was on its way.
            const qsizetype index = indexOfMessage(next.messages, messageId);
            if (index < 0 || !next.bot(next.messages.at(index).botId))
                return;
            ChatMessage checked = next.messages.at(index);
            if (checked.text != request.text)
                return;
            checked.correction = found;
            next.messages.replace(index, std::move(checked));
            kept = true;
        },
        DocumentAccess::Languages::Keep);
    if (!kept)
        co_return std::nullopt;
    co_return found;
}

void Feedback::replied(const QString& botId, const QString& replyId) {
    const StoredState& state = m_document.document();
    const std::optional<BotProfile> bot = state.bot(botId);
    if (!bot)
        return;
    const CorrectionLevel level = state.profile.settings(bot->currentLanguage()).corrections;
    if (level != CorrectionLevel::Hindering && level != CorrectionLevel::Every)
        return;
    const QList<ChatMessage> chat = state.messagesFor(botId);
    for (qsizetype i = 1; i < chat.size(); ++i) {
        if (chat[i].id != replyId)
            continue;
        const ChatMessage& answered = chat[i - 1];
        if (answered.role == MessageRole::User && !answered.correction &&
            !m_checking.contains(answered.id))
            runCheck(answered.id, true); // runs on by itself
        return;
    }
}

QCoro::Task<std::optional<Explanation>> Feedback::explain(QString messageId, QString selection) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const StoredState& state = m_document.document();
    const QString key = StoredState::explanationKey(messageId, selection);
    const auto cached = state.explanations.constFind(key);
    if (cached != state.explanations.cend())
        co_return *cached;
    const std::optional<ChatMessage> message = messageWithId(state, messageId);
    const std::optional<BotProfile> bot =
        message ? state.bot(message->botId) : std::optional<BotProfile>();
    const QString passage = trimmedText(selection);
    if (!message || !bot || message->role != MessageRole::Assistant || passage.isEmpty())
        co_return std::nullopt;

    FeedbackPrompts::ExplanationRequest request;
    request.message = message->text;
    request.selection = passage;
    request.language = bot->language(*message);
    request.level = state.profile.level(*bot);
    request.ownLanguage = state.profile.glossLanguage();
    const QString line = explainFailedLine();
    const std::optional<QString> raw =
        co_await ask(FeedbackPrompts::explanation(request), messageId, line);
    if (alive.ended() || !raw)
        co_return std::nullopt;
    const std::optional<Explanation> found = FeedbackAnswers::explanation(*raw);
    if (!found) {
        fail(messageId, line);
        co_return std::nullopt;
    }
    m_document.apply(
        [&](StoredState& next) {
            if (indexOfMessage(next.messages, messageId) < 0)
                return;
            next.explanations.insert(key, *found);
            // No recency is kept, as in the translation cache: the first keys in order go.
            while (next.explanations.size() > explanationLimit)
                next.explanations.erase(next.explanations.begin());
        },
        DocumentAccess::Languages::Keep);
    co_return found;
}

QCoro::Task<std::optional<SayItAnswer>> Feedback::sayIt(QString botId, QString text) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const StoredState& state = m_document.document();
    const std::optional<BotProfile> bot = state.bot(botId);
    if (!bot || isBlank(text))
        co_return std::nullopt;
    FeedbackPrompts::SayItRequest request;
    request.text = trimmedText(text);
    request.language = bot->currentLanguage();
    request.level = state.profile.level(*bot);
    request.ownLanguage = state.profile.glossLanguage();
    request.context = contactsMessageBefore(state, botId);
    const QString line = sayItFailedLine();
    const std::optional<QString> raw = co_await ask(FeedbackPrompts::sayIt(request), botId, line);
    if (alive.ended() || !raw)
        co_return std::nullopt;
    std::optional<SayItAnswer> found = FeedbackAnswers::sayIt(*raw);
    if (!found)
        fail(botId, line);
    co_return found;
}

} // namespace quillo
