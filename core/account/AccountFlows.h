// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "account/StateSync.h"
#include "common/Lifetime.h"
#include "service/QuilloSession.h"

#include <QCoroTask>

#include <memory>
#include <optional>

namespace quillo {

class DocumentAccess;
class SerialQueue;
class SessionStore;

// Who is signed in: signing in with a Google ID token or an access code, signing out, forgetting
// the account on this device and deleting it on the service. These run through the same queue as
// synchronisation, so the owner check, the reset, the first download and the recording of a new
// session never interleave with an upload of the old one.
class AccountFlows {
public:
    using Outcome = StateSync::Outcome;

    // Everything given must outlive this object.
    AccountFlows(DocumentAccess& document, SessionStore& session, const QuilloAPI& api,
                 SerialQueue& queue, StateSync& sync);
    ~AccountFlows();
    AccountFlows(const AccountFlows&) = delete;
    AccountFlows& operator=(const AccountFlows&) = delete;

    // A failed sign-in leaves everything as it was: nobody is signed in.
    QCoro::Task<Outcome> signIn(QString googleIdToken);
    QCoro::Task<Outcome> signInWithCode(QString accessCode);

    // Uploads the last changes, then forgets the account on this device.
    QCoro::Task<> signOut();

    // Forgets the session and leaves only this device's preferences in the document.
    void forgetAccount();

    // Deletes the account on the service and then forgets it here; on failure nothing changes.
    QCoro::Task<Outcome> deleteAccount();

    // The e-mail of the person whose data is still here after their session ended; absent while
    // someone is signed in and after signing out.
    std::optional<QString> returningEmail() const;

    // The sign-in screen's line for a failed sign-in.
    static QString failureLine(const ApiError& error);

    // Work in flight finishes without touching anything.
    void close();

private:
    QCoro::Task<Outcome> signInWith(QCoro::Task<ApiResult<QuilloSession>> request);
    QCoro::Task<Outcome> adoptSession(QuilloSession session);
    QCoro::Task<Outcome> adoptUnderQueue(QuilloSession session);
    QCoro::Task<Outcome> deleteWith(QString token);
    QCoro::Task<> forgetting();
    QCoro::Task<> endSession();

    DocumentAccess& m_document;
    SessionStore& m_session;
    const QuilloAPI& m_api;
    SerialQueue& m_queue;
    StateSync& m_sync;
    Lifetime m_lifetime;
};

} // namespace quillo
