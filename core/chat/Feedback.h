// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chat/FeedbackAnswers.h"
#include "common/Lifetime.h"
#include "parts/DocumentAccess.h"
#include "service/PromptMessage.h"

#include <QCoroTask>
#include <QSet>

#include <functional>
#include <optional>

namespace quillo {

class QuilloAPI;
class SessionStore;

// Feedback on what the user writes, asked of the model apart from the contacts' replies (the
// service counts it as "feedback"): corrections of the user's messages, kept with them and
// synchronised like them; explanations of passages of a contact's message, kept on this device
// so each is asked once; and the sentence for what the user means, which is only shown, never
// sent. Every task gives nothing on failure and says why once on the failure channel.
class Feedback {
public:
    // A failure of a check, explanation or sentence: the message or contact it was about, and one
    // line for the user.
    using Failure = std::function<void(const QString& subjectId, const QString& line)>;

    // Entries the explanation cache keeps at most.
    static constexpr qsizetype explanationLimit = 500;

    // Everything given must outlive this object.
    Feedback(DocumentAccess& document, SessionStore& session, const QuilloAPI& api);
    ~Feedback();
    Feedback(const Feedback&) = delete;
    Feedback& operator=(const Feedback&) = delete;

    // Checks one of the user's messages and keeps the correction with it (a later check replaces
    // an earlier one). Nothing is kept when the message or its contact went meanwhile.
    QCoro::Task<std::optional<Correction>> check(QString messageId);

    // What `selection` in a contact's message means there; asked once, then read from the cache.
    QCoro::Task<std::optional<Explanation>> explain(QString messageId, QString selection);

    // The sentence, in the contact's language, for what the user means in `text`.
    QCoro::Task<std::optional<SayItAnswer>> sayIt(QString botId, QString text);

    // Whether a check of this message is running.
    bool isChecking(const QString& messageId) const { return m_checking.contains(messageId); }

    // A contact's message `replyId` arrived: when the user's message just before it has no
    // correction and the language's setting corrects without being asked, it is checked now. A
    // message the check finds written in the user's own language is left without a correction.
    void replied(const QString& botId, const QString& replyId);

    void setOnFailure(Failure onFailure) { m_onFailure = std::move(onFailure); }

    // Requests in flight finish without touching anything.
    void close();

    // The service's feedback allowance for today is spent (replies have their own).
    static QString allowanceUsedLine();
    static QString checkFailedLine();
    static QString explainFailedLine();
    static QString sayItFailedLine();

private:
    QCoro::Task<std::optional<Correction>> runCheck(QString messageId, bool automatic);
    // The model's answer to `messages`, or nothing (after saying `line` about `subjectId`).
    QCoro::Task<std::optional<QString>> ask(QList<PromptMessage> messages, QString subjectId,
                                            QString line);
    void fail(const QString& subjectId, const QString& line) const;

    DocumentAccess& m_document;
    SessionStore& m_session;
    const QuilloAPI& m_api;
    QSet<QString> m_checking;
    Failure m_onFailure;
    Lifetime m_lifetime;
};

} // namespace quillo
