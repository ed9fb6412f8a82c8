// SPDX-License-Identifier: Apache-2.0
#include "AccountFlows.h"

#include "common/LogCategories.h"
#include "common/SerialQueue.h"
#include "parts/DocumentAccess.h"
#include "service/ServiceStatus.h"
#include "store/SessionStore.h"

#include <QLoggingCategory>

namespace quillo {

namespace {

const QString refusedLine = QStringLiteral("Quillo couldn't sign you in. Try again.");

} // namespace

AccountFlows::AccountFlows(DocumentAccess& document, SessionStore& session, const QuilloAPI& api,
                           SerialQueue& queue, StateSync& sync)
    : m_document(document)
    , m_session(session)
    , m_api(api)
    , m_queue(queue)
    , m_sync(sync) {}

AccountFlows::~AccountFlows() {
    close();
}

void AccountFlows::close() {
    m_lifetime.end();
}

QString AccountFlows::failureLine(const ApiError& error) {
    return statusOf(error) == ServiceStatus::Unreachable ? unreachableLine() : refusedLine;
}

std::optional<QString> AccountFlows::returningEmail() const {
    if (m_session.account())
        return std::nullopt;
    return m_session.owner();
}

// A task whose lambda captures more than `this` is made before it is awaited: GCC 12 may destroy
// such a temporary twice when it sits inside the co_await expression.

QCoro::Task<AccountFlows::Outcome> AccountFlows::signIn(QString googleIdToken) {
    auto signingIn =
        outlivingCaller([this, googleIdToken] { return signInWith(m_api.signIn(googleIdToken)); });
    co_return co_await signingIn;
}

QCoro::Task<AccountFlows::Outcome> AccountFlows::signInWithCode(QString accessCode) {
    // A code pasted from an e-mail often brings a line break along.
    auto signingIn = outlivingCaller(
        [this, code = accessCode.trimmed()] { return signInWith(m_api.signInWithCode(code)); });
    co_return co_await signingIn;
}

QCoro::Task<AccountFlows::Outcome>
AccountFlows::signInWith(QCoro::Task<ApiResult<QuilloSession>> request) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto session = co_await request;
    if (alive.ended())
        co_return StateSync::succeeded;
    if (!session.ok()) {
        qCWarning(lcAccount).noquote() << "signing in failed:" << session.error().description();
        co_return Outcome(session.error());
    }
    co_return co_await adoptSession(std::move(session).value());
}

QCoro::Task<AccountFlows::Outcome> AccountFlows::adoptSession(QuilloSession session) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto adopting = m_queue.run([this, session] { return adoptUnderQueue(session); });
    const Outcome adopted = co_await adopting;
    if (alive.ended() || !adopted.ok())
        co_return adopted;
    m_session.signedIn(session);
    // What a returning owner wrote while signed out goes up now.
    co_await m_queue.run([this] { return m_sync.sync(false); });
    co_return StateSync::succeeded;
}

QCoro::Task<AccountFlows::Outcome> AccountFlows::adoptUnderQueue(QuilloSession session) {
    const std::optional<QString> owner = m_session.owner();
    if (owner && *owner != session.account.email) {
        // Someone else's data must neither reach this account nor stay on this device.
        qCInfo(lcAccount) << "another person signs in; the local document is reset";
        m_document.apply([](StoredState& state) { state = state.signedOut(); },
                         DocumentAccess::Languages::Keep);
        m_sync.forgetBookkeeping();
    }
    const Outcome downloaded = co_await m_sync.download(session.token);
    if (!downloaded.ok())
        qCWarning(lcAccount).noquote()
            << "the account's document could not be fetched:" << downloaded.error().description();
    co_return downloaded;
}

QCoro::Task<> AccountFlows::signOut() {
    co_await outlivingCaller([this]() -> QCoro::Task<> {
        const Lifetime::Watch alive = m_lifetime.watch();
        // The last changes go up first, so that nothing is lost.
        co_await m_queue.run([this] { return m_sync.sync(false); });
        if (alive.ended())
            co_return;
        // Then the token ends on the service as well. Failing that is logged, never shown: on
        // this device the sign-out goes on regardless, and the session expires by itself.
        co_await m_queue.run([this] { return endSession(); });
        if (alive.ended())
            co_return;
        co_await m_queue.run([this] { return forgetting(); });
    });
}

QCoro::Task<> AccountFlows::endSession() {
    // Read now, in turn: the upload before may have found the session over already.
    const std::optional<QString> token = m_session.token();
    if (!token)
        co_return;
    auto request = m_api.endSession(*token);
    const auto ended = co_await request;
    if (!ended.ok()) {
        qCWarning(lcAccount).noquote()
            << "ending the session on the service failed:" << ended.error().description();
    }
}

QCoro::Task<> AccountFlows::forgetting() {
    forgetAccount();
    co_return;
}

void AccountFlows::forgetAccount() {
    // The emptied document reaches the disk before the owner goes: a crash in between must not
    // leave one person's chats on a device that no longer knows whose they are, where the next
    // person to sign in would take them up.
    m_document.apply([](StoredState& state) { state = state.signedOut(); },
                     DocumentAccess::Languages::Keep);
    const bool onDisk = m_document.flush();
    m_sync.base().clear();
    if (onDisk) {
        m_session.signOut();
        return;
    }
    // The chats may still be in the file: keep its owner, so that anyone else who signs in
    // here has them reset first.
    qCCritical(lcAccount) << "the emptied document could not be saved; the owner stays recorded";
    m_session.expire();
}

QCoro::Task<AccountFlows::Outcome> AccountFlows::deleteAccount() {
    const std::optional<QString> token = m_session.token();
    if (!token)
        co_return StateSync::succeeded;
    auto deleting = outlivingCaller([this, token = *token] { return deleteWith(token); });
    co_return co_await deleting;
}

QCoro::Task<AccountFlows::Outcome> AccountFlows::deleteWith(QString token) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto request = m_queue.run([this, token] { return m_api.deleteAccount(token); });
    const auto deleted = co_await request;
    if (alive.ended())
        co_return StateSync::succeeded;
    if (!deleted.ok()) {
        qCWarning(lcAccount).noquote()
            << "deleting the account failed:" << deleted.error().description();
        co_return Outcome(deleted.error());
    }
    co_await m_queue.run([this] { return forgetting(); });
    co_return StateSync::succeeded;
}

} // namespace quillo
