// SPDX-License-Identifier: Apache-2.0
#include "ScheduledNudges.h"

#include "chat/ConversationFlow.h"
#include "common/LogCategories.h"
#include "parts/AccountCheck.h"
#include "parts/DocumentAccess.h"
#include "store/SessionStore.h"

#include <QLoggingCategory>

#include <algorithm>

namespace quillo {

ScheduledNudges::ScheduledNudges(DocumentAccess& document, SessionStore& session,
                                 AccountCheck& account, ConversationFlow& conversation)
    : m_document(document)
    , m_session(session)
    , m_account(account)
    , m_conversation(conversation)
    , m_draw(NudgePolicy::secureDraw()) {}

ScheduledNudges::~ScheduledNudges() {
    close();
}

void ScheduledNudges::close() {
    m_lifetime.end();
}

QCoro::Task<> ScheduledNudges::run(qint64 now) {
    const StoredState& state = m_document.document();
    if (!state.botsCanStartConversations || !state.profile.setupCompleted)
        co_return;

    // Decided on the document as it stands, then written in one edit: observers and the disk see
    // the whole new schedule at once.
    QMap<QString, qint64> schedule = state.nextNudgeAt;
    QStringList candidates;
    int due = 0;
    for (const BotProfile& bot : state.bots) {
        const auto entry = schedule.constFind(bot.id);
        if (entry == schedule.cend()) {
            schedule.insert(bot.id, now + NudgePolicy::firstDelay(m_draw));
            continue;
        }
        if (*entry > now)
            continue;
        ++due;
        // A contact turned down moves on too, so the checks stay rare.
        schedule.insert(bot.id, now + NudgePolicy::nextDelay(m_draw));
        if (NudgePolicy::shouldNudge(state, bot.id, now))
            candidates.append(bot.id);
    }
    m_document.apply([&schedule](StoredState& next) { next.nextNudgeAt = schedule; },
                     DocumentAccess::Languages::Keep);

    const Lifetime::Watch alive = m_lifetime.watch();
    co_await m_account.refreshAccount();
    if (alive.ended())
        co_return;
    const int budget = NudgePolicy::budget(m_session.account());
    const qsizetype chosen = std::min<qsizetype>(budget, candidates.size());
    qCInfo(lcNudges) << "due:" << due << "chosen:" << chosen << "of" << candidates.size()
                     << "budget:" << budget;

    // One after the other: only one contact is ever written for at a time.
    for (qsizetype i = 0; i < chosen; ++i) {
        // Switched off while an earlier contact was writing: the rest stay quiet.
        if (!m_document.document().botsCanStartConversations)
            co_return;
        co_await m_conversation.respond(candidates[i], std::nullopt);
        if (alive.ended())
            co_return;
    }
}

} // namespace quillo
