// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "account/SyncBase.h"
#include "common/Cancellation.h"
#include "common/Lifetime.h"
#include "parts/AccountCheck.h"
#include "service/QuilloAPI.h"

#include <QCoroTask>

#include <memory>

namespace quillo {

class DocumentAccess;
class SerialQueue;
class SessionStore;

// Keeps the local document and the account's copy on the service in step. A few seconds after
// local changes settle the projection goes up; a refresh brings in what other devices changed;
// an upload that the service finds stale (409) is merged and sent once more. Failures are logged
// and never shown: the local document stays as it is and the next trigger tries again.
class StateSync : public AccountCheck {
public:
    // The ok value of a step that can fail.
    using Outcome = Result<std::monostate, ApiError>;
    // What a step that went through gives. Always co_return a whole Outcome: a bare
    // std::monostate would land in the task's own "no value yet" slot instead.
    static inline const Outcome succeeded{std::monostate()};

    // How long the document must be quiet before its changes go up.
    static constexpr qint64 quietMillis = 5'000;

    // Everything given must outlive this object.
    StateSync(DocumentAccess& document, SessionStore& session, const QuilloAPI& api,
              SerialQueue& queue);
    ~StateSync();
    StateSync(const StateSync&) = delete;
    StateSync& operator=(const StateSync&) = delete;

    // Called on every change of the published document: restarts the quiet period, at the end of
    // which one upload runs.
    void documentChanged();

    // The account first, then (unless the session ended) a download and an upload.
    QCoro::Task<> refresh();

    QCoro::Task<bool> refreshAccount() override;

    // One upload, preceded by a download when asked; failures are logged, never thrown.
    QCoro::Task<> sync(bool download);

    // Brings the account's copy in and merges it; gives the failure to the caller, who decides
    // how to treat it. Callers run it through the queue.
    QCoro::Task<Outcome> download(QString token);

    // The base file and its cached copy, for the account flows that forget or reset.
    SyncBase& base() { return m_base; }

    // Forgets how far the document was synchronised, and the base: the next download brings the
    // account's copy in whole and merges it without deleting anything. For a document that the
    // record does not describe (one that started afresh, or that the service refuses).
    void forgetBookkeeping();

    // At start: the record follows the mark the document carries, which was written with it;
    // without a mark, a document that `startedFresh` forgets the record.
    void followDocument(bool startedFresh);

    // Ends the quiet period without an upload; work in flight finishes without touching anything.
    void close();

private:
    // What a download brought.
    enum class Fetched { Unchanged, Taken };

    QCoro::Task<> saveChanges(bool download);
    // Gives the document `mark` and records it in the session once the document is on disk.
    QCoro::Task<Outcome> recordOnceSaved(SyncMark mark);
    QCoro::Task<Result<Fetched, ApiError>> fetch(QString token);
    // The download step; a failure is logged and gives nothing.
    QCoro::Task<std::optional<Fetched>> fetchOrLog(QString token);
    // One upload of the current document; the failure when it did not go through.
    QCoro::Task<Outcome> upload(QString token);
    QCoro::Task<> waitForQuiet(CancelToken quiet);
    void logFailure(const ApiError& error);

    DocumentAccess& m_document;
    SessionStore& m_session;
    const QuilloAPI& m_api;
    SerialQueue& m_queue;
    SyncBase m_base;
    CancelToken m_quiet;
    Lifetime m_lifetime;
};

} // namespace quillo
