// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TestRecords.h"
#include "repository/ChatRepository.h"
#include "server/ForwardingStorage.h"
#include "server/ServerTestSupport.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QElapsedTimer>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace quillo::devicetest {

using testrecords::contact;

using namespace quillo::server;
using namespace quillo::server::apitest;

// The storage behind the service under test, with a record of every upload it was asked for and
// switches that break parts of it.
class WatchedStorage final : public ForwardingStorage {
public:
    using ForwardingStorage::ForwardingStorage;

    struct Upload {
        qint64 base;
        bool stored;
    };

    std::atomic<bool> refuseUploads = false; // every upload finds a stale base (409)
    std::atomic<bool> countersDown = false;  // the account check fails (503)
    std::atomic<bool> documentsDown = false; // downloads fail (503)
    std::atomic<bool> deletionsDown = false; // deleting an account fails (503)

    void deleteAccount(qint64 id) override {
        if (deletionsDown)
            throw StorageError("deletions unavailable");
        ForwardingStorage::deleteAccount(id);
    }
    int usedOn(qint64 id, qint64 day, Allowance allowance) override {
        if (countersDown)
            throw StorageError("counters unavailable");
        return ForwardingStorage::usedOn(id, day, allowance);
    }
    std::optional<DocumentRow> document(qint64 id) override {
        if (documentsDown)
            throw StorageError("documents unavailable");
        return ForwardingStorage::document(id);
    }
    PutResult putDocument(qint64 id, const QByteArray& bytes, qint64 base, qint64 now) override {
        PutResult result;
        if (refuseUploads) {
            const auto current = ForwardingStorage::document(id);
            result = {false, current ? current->updatedAt : 0};
        } else {
            result = ForwardingStorage::putDocument(id, bytes, base, now);
        }
        const std::lock_guard lock(m_mutex);
        m_uploads.push_back({base, result.stored});
        return result;
    }

    std::vector<Upload> uploads() const {
        const std::lock_guard lock(m_mutex);
        return m_uploads;
    }
    void forget() {
        const std::lock_guard lock(m_mutex);
        m_uploads.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Upload> m_uploads;
};

// What stands between a device's state store and its disk. Open, writes go through; held, they
// wait; dead, they are dropped, as when the process is killed before it writes them.
class DiskGate {
public:
    enum class Mode { Open, Held, Dead };

    void set(Mode mode) {
        {
            const std::lock_guard lock(m_mutex);
            m_mode = mode;
        }
        m_changed.notify_all();
    }
    // On the writer thread, before each write: whether it may write.
    bool pass() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_mode != Mode::Held; });
        return m_mode == Mode::Open;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Mode m_mode = Mode::Open;
};

// One installation of the app: its own support directory, files, session and repository. It can
// be stopped as a quit does (everything written) or as a kill does (what is not written yet is
// lost), and started again on the files it left.
struct Device {
    QTemporaryDir dir;
    int port;
    const Clock& clock;
    std::shared_ptr<DiskGate> disk;
    std::unique_ptr<StateStore> store;
    std::unique_ptr<SessionStore> session;
    std::unique_ptr<QuilloAPI> api;
    std::unique_ptr<ChatRepository> repository;

    Device(int servicePort, const Clock& appClock, const StoredState& seed = {})
        : port(servicePort)
        , clock(appClock) {
        if (seed != StoredState()) {
            StateStore seeding(path(QStringLiteral("state.json")), clock);
            seeding.save(seed);
            seeding.flush();
        }
        start();
    }
    ~Device() { stop(); }

    void start() {
        disk = std::make_shared<DiskGate>();
        store = std::make_unique<StateStore>(path(QStringLiteral("state.json")), clock);
        store->setBeforeWrite([gate = disk] { return gate->pass(); });
        session = std::make_unique<SessionStore>(path(QStringLiteral("session.json")));
        api = std::make_unique<QuilloAPI>(
            QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(port)));
        repository = std::make_unique<ChatRepository>(*store, *session, *api, clock);
    }
    // A quit: every save handed over is written first.
    void stop() {
        disk->set(DiskGate::Mode::Open);
        repository.reset();
        api.reset();
        session.reset();
        store.reset();
    }
    // A kill: saves not written yet are lost; requests already sent still reach the service.
    void kill() {
        disk->set(DiskGate::Mode::Dead);
        repository.reset();
        api.reset();
        session.reset();
        store.reset();
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    const StoredState& state() const { return repository->state(); }
    StoredState projection() const { return state().forAccount(); }
};

// Devices of one or more people, synchronising through the real service in-process. The apps'
// time is one manual clock that only the tests move: the quiet period before an upload passes
// when a test says so.
class DevicesTest : public ApiTest {
protected:
    ManualClock appClock;
    std::unique_ptr<WatchedStorage> watched;

    Storage& servedStorage() override {
        if (!watched)
            watched = std::make_unique<WatchedStorage>(*storage);
        return *watched;
    }

    std::unique_ptr<Device> device(const StoredState& seed = {}) {
        return std::make_unique<Device>(port(), appClock, seed);
    }

    // Runs the event loop until `done` holds. With `moveClock`, the apps' clock moves on a
    // second whenever something sleeps on it (pacing of replies, retries).
    void spinUntil(const std::function<bool()>& done, bool moveClock = false) {
        QElapsedTimer guard;
        guard.start();
        while (!done() && guard.elapsed() < 20'000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
            if (moveClock && appClock.sleeping() > 0)
                appClock.advance(1'000);
        }
        ASSERT_TRUE(done()) << "the devices did not settle";
    }

    template <typename T>
    T run(QCoro::Task<T> task, bool moveClock = false) {
        auto result = std::make_shared<std::optional<T>>();
        auto finishing = finish(std::move(task), result);
        spinUntil([result] { return result->has_value(); }, moveClock);
        return std::move(**result);
    }
    void run(QCoro::Task<> task, bool moveClock = false) {
        auto done = std::make_shared<std::optional<bool>>();
        auto finishing = finishVoid(std::move(task), done);
        spinUntil([done] { return done->has_value(); }, moveClock);
    }

    // Lets the quiet period pass and waits for the upload it starts.
    void settle(Device& device) {
        appClock.advance(StateSync::quietMillis);
        spinUntil([&device] { return !device.repository->isSynchronising(); });
    }

    void signIn(Device& device, const QString& email) {
        const auto outcome = run(device.repository->accounts().signInWithCode(invite(email)));
        ASSERT_TRUE(outcome.ok()) << outcome.error().description().toStdString();
    }

    // The document the service holds for `token`, as the account projection.
    std::optional<StoredState> served(const QString& token) const {
        const Answer answer = get("/v1/state?since=0", token);
        if (answer.status != 200 || !answer.json.value(u"state").isObject())
            return std::nullopt;
        return StoredState::fromJson(answer.json.value(u"state")).value();
    }

private:
    template <typename T>
    static QCoro::Task<> finish(QCoro::Task<T> task, std::shared_ptr<std::optional<T>> result) {
        result->emplace(co_await task);
    }
    static QCoro::Task<> finishVoid(QCoro::Task<> task, std::shared_ptr<std::optional<bool>> done) {
        co_await task;
        done->emplace(true);
    }
};

} // namespace quillo::devicetest
