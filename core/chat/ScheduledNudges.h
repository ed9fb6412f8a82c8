// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chat/NudgePolicy.h"
#include "common/Lifetime.h"

#include <QCoroTask>

#include <memory>

namespace quillo {

class AccountCheck;
class ConversationFlow;
class DocumentAccess;
class SessionStore;

// The pass that lets quiet contacts write first. It moves each due contact's schedule on, saves,
// learns the day's usage from the service and then has the chosen contacts write, one after the
// other, through the same turn as a reply.
class ScheduledNudges {
public:
    // Everything given must outlive this object.
    ScheduledNudges(DocumentAccess& document, SessionStore& session, AccountCheck& account,
                    ConversationFlow& conversation);
    ~ScheduledNudges();
    ScheduledNudges(const ScheduledNudges&) = delete;
    ScheduledNudges& operator=(const ScheduledNudges&) = delete;

    // One pass at `now` (milliseconds since the epoch).
    QCoro::Task<> run(qint64 now);

    // Replaces the secure generator, for tests.
    void setDraw(UniformDraw draw) { m_draw = std::move(draw); }

    // A pass still running stops at its next step without touching anything.
    void close();

private:
    DocumentAccess& m_document;
    SessionStore& m_session;
    AccountCheck& m_account;
    ConversationFlow& m_conversation;
    UniformDraw m_draw;
    Lifetime m_lifetime;
};

} // namespace quillo
