// SPDX-License-Identifier: Apache-2.0
#include "ConversationFlow.h"

#include "chat/ChatClient.h"
#include "chat/WordGlossing.h"
#include "common/LogCategories.h"
#include "model/Identifiers.h"
#include "model/TextHelpers.h"
#include "parts/AccountCheck.h"
#include "service/ServiceStatus.h"
#include "store/SessionStore.h"

#include <QLoggingCategory>

namespace quillo {

namespace {

const QString usedUpLine = QStringLiteral("You've used today's replies. More arrive tomorrow.");
const QString busyLine = QStringLiteral("Quillo is busy right now. Try again in a moment.");
const QString noAnswerLine =
    QStringLiteral("Quillo didn't answer this time. No fake reply was added.");

std::optional<ChatMessage> newest(const StoredState& state, const QString& botId) {
    const QList<ChatMessage> messages = state.messagesFor(botId);
    if (messages.isEmpty())
        return std::nullopt;
    return messages.last();
}

// Where the user's newest message sits in `messages`, or -1 when the user never wrote.
qsizetype newestFromUser(const QList<ChatMessage>& messages) {
    for (qsizetype i = messages.size() - 1; i >= 0; --i) {
        if (messages[i].role == MessageRole::User)
            return i;
    }
    return -1;
}

} // namespace

ConversationFlow::ConversationFlow(DocumentAccess& document, SessionStore& session,
                                   AccountCheck& account, ChatClient& client,
                                   WordGlossing& glossing)
    : m_document(document)
    , m_session(session)
    , m_account(account)
    , m_client(client)
    , m_glossing(glossing) {}

ConversationFlow::~ConversationFlow() {
    close();
}

void ConversationFlow::close() {
    m_lifetime.end();
}

bool ConversationFlow::addUserMessage(const QString& botId, const QString& text) {
    const QString trimmed = trimmedText(text);
    if (trimmed.isEmpty() || !m_document.document().bot(botId))
        return false;
    const qint64 now = m_document.clock().nowMillis();
    ChatMessage message{newID(), botId, MessageRole::User,   trimmed,
                        {},      now,   MessageSource::User, {}};
    // One edit for the message and the reading mark: observers and the disk see both at once.
    m_document.apply(
        [&](StoredState& state) {
            state.messages.append(std::move(message));
            state.lastReadAt.insert(botId, now);
        },
        DocumentAccess::Languages::Keep);
    return true;
}

void ConversationFlow::send(const QString& botId, const QString& text) {
    // A task that nobody awaits runs to its end and frees itself.
    sendTurn(botId, text);
}

void ConversationFlow::answer(const QString& botId) {
    answerLatest(botId);
}

QCoro::Task<> ConversationFlow::sendTurn(QString botId, QString text) {
    if (addUserMessage(botId, text))
        co_await answerLatest(botId);
}

QCoro::Task<> ConversationFlow::answerLatest(QString botId) {
    const auto last = newest(m_document.document(), botId);
    if (!last || last->role != MessageRole::User)
        co_return;
    co_await respond(botId, last->text);
}

QCoro::Task<> ConversationFlow::respond(QString botId, std::optional<QString> userText) {
    if (m_document.isTyping(botId))
        co_return;
    const Lifetime::Watch alive = m_lifetime.watch();
    m_document.setTyping(botId, true);
    const qint64 startedAt = m_document.clock().nowMillis();
    // Times are whole milliseconds: the message being answered may carry the start time too.
    const QList<ChatMessage> before = m_document.document().messagesFor(botId);
    const qsizetype answeringAt = newestFromUser(before);
    const QString answering = answeringAt >= 0 ? before[answeringAt].id : QString();
    co_await produceReply(botId, userText);
    if (alive.ended())
        co_return;
    m_document.setTyping(botId, false);
    // What the user wrote while the contact was typing gets one answer, through the newest. The
    // reply of this turn may already stand after it.
    const QList<ChatMessage> messages = m_document.document().messagesFor(botId);
    const qsizetype last = newestFromUser(messages);
    if (last >= 0 && messages[last].createdAt >= startedAt && messages[last].id != answering)
        co_await respond(botId, messages[last].text);
}

QCoro::Task<> ConversationFlow::produceReply(QString botId, std::optional<QString> userText) {
    const Lifetime::Watch alive = m_lifetime.watch();
    for (std::size_t attempt = 0;; ++attempt) {
        const StoredState& state = m_document.document();
        const std::optional<BotProfile> bot = state.bot(botId);
        const std::optional<QString> token = m_session.token();
        if (!bot || !token)
            co_return;
        QList<ChatMessage> history = state.messagesFor(botId);
        // The user's text travels as the prompt's last message, not twice; when the contact
        // answered meanwhile, it is still the user's newest message that is meant.
        const qsizetype answered = newestFromUser(history);
        if (userText && answered >= 0 && history[answered].text == *userText)
            history.removeAt(answered);

        auto result = co_await m_client.reply(*token, *bot, state.profile, std::move(history),
                                              userText, alive.token());
        if (alive.ended())
            co_return;
        if (result.ok()) {
            const ChatClient::Turn& turn = result.value();
            if (turn.account)
                m_session.update(*turn.account);
            // A reply is proof enough that replies can be produced.
            m_session.setRepliesReady(true);
            applyReply(*bot, turn.reply);
            co_return;
        }

        const ProviderError* error = result.error().provider();
        if (!error) {
            qCWarning(lcConversation) << result.error().description();
            m_document.reportError(noAnswerLine);
            co_return;
        }
        if (alive.ended())
            co_return;
        const ServiceStatus status = statusOf(result.error());
        if (status == ServiceStatus::SessionEnded) {
            m_session.expire();
            co_return;
        }
        // A failure that never reached the service is not retried here: the client already
        // tried, and the user can send again. Only once every wait was spent on passing trouble
        // does the line blame the connection.
        if (status == ServiceStatus::Unreachable) {
            m_document.reportError(attempt == std::size(retryWaitsMillis) ? unreachableLine()
                                                                          : noAnswerLine);
            co_return;
        }
        if (error->isRetryable() && attempt < std::size(retryWaitsMillis)) {
            qCInfo(lcConversation) << "retrying a reply turn:" << error->description();
            const bool waited =
                co_await m_document.clock().sleep(retryWaitsMillis[attempt], alive.token());
            if (alive.ended() || !waited)
                co_return;
            continue;
        }
        qCWarning(lcConversation) << "reply turn failed:" << error->description();
        if (status == ServiceStatus::AllowanceUsed) {
            co_await m_account.refreshAccount();
            if (alive.ended())
                co_return;
            m_document.reportError(usedUpLine);
        } else if (status == ServiceStatus::Busy) {
            m_document.reportError(busyLine);
        } else {
            m_document.reportError(noAnswerLine);
            // Perhaps no model answers the service now: asking lets the conversation say so.
            co_await m_account.refreshAccount();
        }
        co_return;
    }
}

void ConversationFlow::applyReply(const BotProfile& bot, const BotReply& reply) {
    m_document.apply(
        [&](StoredState& state) {
            for (BotProfile& contact : state.bots) {
                if (contact.id != bot.id)
                    continue;
                if (reply.language)
                    contact.speaking = *reply.language;
                if (reply.level)
                    contact.speakingLevel = *reply.level;
                if (reply.remember)
                    contact = contact.remembering(*reply.remember);
            }
        },
        DocumentAccess::Languages::Keep);

    const BotProfile current = m_document.document().bot(bot.id).value_or(bot);
    QString language;
    if (current.isAnyLanguage())
        language = reply.language.value_or(current.speaking);
    const ChatMessage message{newID(),
                              bot.id,
                              MessageRole::Assistant,
                              reply.text,
                              {},
                              m_document.clock().nowMillis(),
                              MessageSource::Provider,
                              language};
    appendFromBot(current, message);
}

void ConversationFlow::appendFromBot(const BotProfile& bot, const ChatMessage& message) {
    // A contact removed while it was typing gets nothing.
    if (!m_document.document().bot(bot.id))
        return;
    const bool visible = m_visibleBotId == bot.id;
    m_document.apply(
        [&](StoredState& state) {
            state.messages.append(message);
            if (visible)
                state.lastReadAt.insert(bot.id, message.createdAt);
        },
        DocumentAccess::Languages::Keep);
    m_glossing.prefetchWords(message.id);
    if (m_onReplied)
        m_onReplied(bot.id, message.id);

    const StoredState& state = m_document.document();
    if (visible || !state.notificationsEnabled || !m_onIncoming)
        return;
    const auto mark = state.lastReadAt.constFind(bot.id);
    QList<ChatMessage> unread;
    for (const ChatMessage& each : state.messagesFor(bot.id)) {
        if (each.role == MessageRole::Assistant &&
            (mark == state.lastReadAt.cend() || each.createdAt > *mark))
            unread.append(each);
    }
    m_onIncoming(bot, unread);
}

} // namespace quillo
