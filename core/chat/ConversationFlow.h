// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Cancellation.h"
#include "common/Lifetime.h"
#include "parts/DocumentAccess.h"

#include <QCoroTask>

#include <functional>
#include <memory>
#include <optional>

namespace quillo {

class AccountCheck;
struct BotReply;
class ChatClient;
class SessionStore;
class WordGlossing;

// The conversation itself: the user's messages and the contacts' answers to them. A reply turn
// runs on the main thread and suspends while the chat client waits; the typing set keeps one
// contact from answering twice at once.
class ConversationFlow {
public:
    // Called with the contact and its unread messages when one arrives off screen.
    using Incoming = std::function<void(const BotProfile&, const QList<ChatMessage>&)>;
    // Called with the contact's id and the id of its message once one is in the chat.
    using Replied = std::function<void(const QString& botId, const QString& messageId)>;

    // Everything given must outlive the flow.
    ConversationFlow(DocumentAccess& document, SessionStore& session, AccountCheck& account,
                     ChatClient& client, WordGlossing& glossing);
    ~ConversationFlow();
    ConversationFlow(const ConversationFlow&) = delete;
    ConversationFlow& operator=(const ConversationFlow&) = delete;

    // Appends what the user wrote to a contact's chat and marks the chat read, so that the
    // user's own message never counts as unread. Blank text or an unknown contact does nothing;
    // gives whether a message was added.
    bool addUserMessage(const QString& botId, const QString& text);

    // Adds the user's message and answers it; the turn runs on by itself.
    void send(const QString& botId, const QString& text);

    // The same, as a turn that runs on by itself: the user asks again for an answer that did
    // not come.
    void answer(const QString& botId);

    // Answers the contact's newest message when it is the user's.
    QCoro::Task<> answerLatest(QString botId);

    // One reply turn; no `userText` asks for a message the contact starts on its own.
    QCoro::Task<> respond(QString botId, std::optional<QString> userText);

    void setVisibleBotId(std::optional<QString> botId) { m_visibleBotId = std::move(botId); }
    void setOnIncoming(Incoming onIncoming) { m_onIncoming = std::move(onIncoming); }
    void setOnReplied(Replied onReplied) { m_onReplied = std::move(onReplied); }

    // Ends every wait of the turns in flight; they then finish without touching anything.
    void close();

    // The waits before the second, third and fourth try of a turn the service found busy.
    static constexpr qint64 retryWaitsMillis[] = {8'000, 20'000, 45'000};

private:
    QCoro::Task<> sendTurn(QString botId, QString text);
    QCoro::Task<> produceReply(QString botId, std::optional<QString> userText);
    void applyReply(const BotProfile& bot, const BotReply& reply);
    void appendFromBot(const BotProfile& bot, const ChatMessage& message);

    DocumentAccess& m_document;
    SessionStore& m_session;
    AccountCheck& m_account;
    ChatClient& m_client;
    WordGlossing& m_glossing;
    std::optional<QString> m_visibleBotId;
    Incoming m_onIncoming;
    Replied m_onReplied;
    // Watched by every turn: a turn that resumes after the flow closed stops, and its waits end
    // at once.
    Lifetime m_lifetime;
};

} // namespace quillo
