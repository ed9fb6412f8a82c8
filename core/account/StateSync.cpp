// SPDX-License-Identifier: Apache-2.0
#include "StateSync.h"

#include "common/LogCategories.h"
#include "common/SerialQueue.h"
#include "parts/DocumentAccess.h"
#include "service/ServiceStatus.h"
#include "store/SessionStore.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

namespace quillo {

namespace {

QString basePathBeside(const QString& sessionPath) {
    return QFileInfo(sessionPath).dir().filePath(QStringLiteral("sync-base.json"));
}

} // namespace

StateSync::StateSync(DocumentAccess& document, SessionStore& session, const QuilloAPI& api,
                     SerialQueue& queue)
    : m_document(document)
    , m_session(session)
    , m_api(api)
    , m_queue(queue)
    , m_base(basePathBeside(session.path())) {}

StateSync::~StateSync() {
    close();
}

void StateSync::close() {
    m_lifetime.end();
    m_quiet.cancel();
}

void StateSync::documentChanged() {
    if (m_lifetime.ended())
        return;
    // Only the last change of a burst leads to an upload.
    m_quiet.cancel();
    m_quiet = CancelToken();
    waitForQuiet(m_quiet);
}

QCoro::Task<> StateSync::waitForQuiet(CancelToken quiet) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const bool settled = co_await m_document.clock().sleep(quietMillis, quiet);
    if (!settled || alive.ended())
        co_return;
    co_await m_queue.run([this] { return sync(false); });
}

QCoro::Task<> StateSync::refresh() {
    const Lifetime::Watch alive = m_lifetime.watch();
    const bool signedIn = co_await refreshAccount();
    if (!signedIn || alive.ended())
        co_return;
    co_await m_queue.run([this] { return sync(true); });
}

QCoro::Task<bool> StateSync::refreshAccount() {
    const std::optional<QString> token = m_session.token();
    if (!token)
        co_return false;
    const Lifetime::Watch alive = m_lifetime.watch();
    const auto result = co_await m_api.account(*token);
    if (alive.ended())
        co_return false;
    if (result.ok()) {
        m_session.update(result->account, result->token);
        // An older service says nothing, and nothing is assumed.
        if (result->repliesReady)
            m_session.setRepliesReady(result->repliesReady);
        co_return true;
    }
    qCCritical(lcSync).noquote() << "Checking the account failed:" << result.error().description();
    if (statusOf(result.error()) == ServiceStatus::SessionEnded) {
        m_session.expire();
        co_return false;
    }
    // A network or server fault must not hold back the sync that follows.
    co_return true;
}

QCoro::Task<> StateSync::sync(bool download) {
    co_await outlivingCaller([this, download] { return saveChanges(download); });
}

QCoro::Task<> StateSync::saveChanges(bool download) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const std::optional<QString> token = m_session.token();
    if (!token)
        co_return;
    // Results are awaited into names: GCC 12 mishandles a co_await inside a condition.
    if (download) {
        const std::optional<Fetched> fetched = co_await fetchOrLog(*token);
        if (!fetched || alive.ended())
            co_return;
    }
    Outcome uploaded = co_await upload(*token);
    if (alive.ended() || uploaded.ok())
        co_return;
    if (statusOf(uploaded.error()) == ServiceStatus::Stale) {
        // Another device uploaded since our last exchange: bring its copy in, then try once more.
        std::optional<Fetched> fetched = co_await fetchOrLog(*token);
        if (!fetched || alive.ended())
            co_return;
        if (*fetched == Fetched::Unchanged && !m_document.document().profile.setupCompleted) {
            // Refused although the service's copy is the one we last agreed on, and ours is not
            // set up: the service keeps a finished setup from being undone, so what we recorded
            // of the last exchange does not describe this document. Start again from the whole
            // copy, merged without deleting anything.
            qCWarning(lcSync) << "the service refused an upload from an up-to-date base; "
                                 "bringing the account's document in whole";
            forgetBookkeeping();
            fetched = co_await fetchOrLog(*token);
            if (!fetched || alive.ended())
                co_return;
        }
        uploaded = co_await upload(*token);
        if (alive.ended() || uploaded.ok())
            co_return;
    }
    logFailure(uploaded.error());
}

void StateSync::forgetBookkeeping() {
    // Nothing to forget on a first start: the session file is not written for it.
    if (m_session.syncedAt() != 0 || m_session.syncedFingerprint()) {
        qCInfo(lcSync) << "forgetting how far the document was synchronised";
        m_session.synced(0, std::nullopt);
    }
    m_base.clear();
    m_document.apply([](StoredState& state) { state.syncMark.reset(); },
                     DocumentAccess::Languages::Keep);
}

void StateSync::followDocument(bool startedFresh) {
    const std::optional<SyncMark>& mark = m_document.document().syncMark;
    if (!mark) {
        // A document that started afresh has no history with the service; one written before
        // documents carried their mark keeps the record it had.
        if (startedFresh)
            forgetBookkeeping();
        return;
    }
    // The process ended after the document reached the disk and before the record caught up.
    if (mark->syncedAt != m_session.syncedAt() ||
        mark->fingerprint != m_session.syncedFingerprint()) {
        qCInfo(lcSync) << "the sync record was behind the document; following the document";
        m_session.synced(mark->syncedAt, mark->fingerprint);
    }
}

QCoro::Task<StateSync::Outcome> StateSync::recordOnceSaved(SyncMark mark) {
    const Lifetime::Watch alive = m_lifetime.watch();
    m_document.apply([&mark](StoredState& state) { state.syncMark = mark; },
                     DocumentAccess::Languages::Keep);
    const bool onDisk = co_await m_document.saved();
    if (alive.ended())
        co_return succeeded;
    if (!onDisk)
        co_return Outcome(ApiError(LocalFailure{QStringLiteral("the document was not saved")}));
    m_session.synced(mark.syncedAt, mark.fingerprint);
    co_return succeeded;
}

QCoro::Task<std::optional<StateSync::Fetched>> StateSync::fetchOrLog(QString token) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const Result<Fetched, ApiError> fetched = co_await fetch(token);
    if (alive.ended())
        co_return std::nullopt;
    if (!fetched.ok()) {
        logFailure(fetched.error());
        co_return std::nullopt;
    }
    co_return fetched.value();
}

QCoro::Task<StateSync::Outcome> StateSync::upload(QString token) {
    const Lifetime::Watch alive = m_lifetime.watch();
    AccountProjection projection = co_await AccountProjection::inBackground(m_document.document());
    if (alive.ended())
        co_return succeeded;
    if (m_session.syncedFingerprint() == projection.fingerprint)
        co_return succeeded; // the service already holds exactly this
    const qint64 base = m_session.syncedAt();
    const auto saved = co_await m_api.saveState(token, projection.bytes, base);
    if (alive.ended())
        co_return succeeded;
    if (!saved.ok())
        co_return Outcome(saved.error());
    // The new base goes beside the recorded one first; then the document takes its mark, and
    // the record follows once that is on disk. Wherever the process dies, the document's mark
    // names a base that is there, and a record behind the mark is brought up to it at start.
    SyncMark mark{saved.value(), projection.fingerprint};
    // Tasks with arguments are named before they are awaited: GCC 12 may destroy a temporary
    // inside a co_await expression twice.
    auto storing = m_base.store(std::move(projection), m_session.syncedFingerprint());
    co_await storing;
    if (alive.ended())
        co_return succeeded;
    auto recording = recordOnceSaved(mark);
    co_return co_await recording;
}

QCoro::Task<StateSync::Outcome> StateSync::download(QString token) {
    auto fetching = fetch(std::move(token));
    const Result<Fetched, ApiError> fetched = co_await fetching;
    if (!fetched.ok())
        co_return Outcome(fetched.error());
    co_return succeeded;
}

QCoro::Task<Result<StateSync::Fetched, ApiError>> StateSync::fetch(QString token) {
    const Lifetime::Watch alive = m_lifetime.watch();
    const auto answer = co_await m_api.state(token, m_session.syncedAt());
    if (alive.ended())
        co_return Fetched::Unchanged;
    if (!answer.ok())
        co_return answer.error();
    const RemoteState& remote = answer.value();
    if (remote.unchanged)
        co_return Fetched::Unchanged;
    if (!remote.state) {
        // The service holds nothing newer to merge against: the next upload sends everything.
        m_base.clear();
        auto recording = recordOnceSaved(SyncMark{remote.updatedAt, {}});
        const Outcome recorded = co_await recording;
        if (!recorded.ok())
            co_return recorded.error();
        co_return Fetched::Taken;
    }

    const AccountProjection downloaded = co_await AccountProjection::inBackground(*remote.state);
    if (alive.ended())
        co_return Fetched::Unchanged;
    const std::optional<QString> recordedFingerprint = m_session.syncedFingerprint();
    const std::optional<StoredState> base =
        recordedFingerprint ? m_base.load(*recordedFingerprint) : std::nullopt;
    // The service's copy, not the merged one, is the new base: what only this device has still
    // differs from it and goes up with the next upload.
    auto storing = m_base.store(downloaded, recordedFingerprint);
    co_await storing;
    if (alive.ended())
        co_return Fetched::Unchanged;
    // Merged after every await, so that no edit made meanwhile is overwritten. The merged
    // document carries its mark in the same write.
    const StoredState& local = m_document.document();
    StoredState merged =
        base ? local.merging(*base, downloaded.state) : local.adopting(downloaded.state);
    merged.syncMark = SyncMark{remote.updatedAt, downloaded.fingerprint};
    m_document.apply([&merged](StoredState& state) { state = std::move(merged); },
                     DocumentAccess::Languages::Keep);
    auto recording = recordOnceSaved(SyncMark{remote.updatedAt, downloaded.fingerprint});
    const Outcome recorded = co_await recording;
    if (!recorded.ok())
        co_return recorded.error();
    co_return Fetched::Taken;
}

void StateSync::logFailure(const ApiError& error) {
    if (statusOf(error) == ServiceStatus::SessionEnded)
        m_session.expire();
    if (error.provider() || error.local())
        qCCritical(lcSync).noquote() << "Syncing failed:" << error.description();
    else
        qCCritical(lcSync).noquote()
            << "The account's saved state couldn't be read:" << error.description();
}

} // namespace quillo
