// SPDX-License-Identifier: Apache-2.0
#include "StateStore.h"

#include "AtomicFile.h"
#include "common/LogCategories.h"

#include "model/DocumentWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QPromise>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace quillo {

namespace {

// Keys that only documents of an earlier release had at the top level.
bool isEarlierFormat(const QJsonObject& object) {
    return object.contains(u"provider") || object.contains(u"notificationPreferences");
}

// Why `bytes` cannot be used as the document; the reasons never quote the document itself.
Result<StoredState, QString> decodeDocument(const QByteArray& bytes) {
    QJsonParseError parseError;
    const QJsonDocument json = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        return QStringLiteral("not JSON (%1 at offset %2)")
            .arg(parseError.errorString(), QString::number(parseError.offset));
    }
    if (!json.isObject())
        return QStringLiteral("not a JSON object");
    const QJsonObject object = json.object();
    if (isEarlierFormat(object))
        return QStringLiteral("in an earlier release's format");
    auto decoded = StoredState::fromJson(object);
    if (!decoded)
        return QStringLiteral("undecodable (%1)").arg(decoded.error().message());
    return std::move(decoded).value();
}

} // namespace

struct StateStore::Writer {
    Writer(QString file, const Clock& time)
        : path(std::move(file))
        , clock(time) {}

    ~Writer() {
        if (thread.joinable()) {
            {
                std::lock_guard lock(mutex);
                stopping = true;
            }
            wake.notify_one();
            thread.join();
        }
        // Every save is written by now; a waiter for one that never came still hears an answer.
        for (Waiter& waiter : waiters)
            answer(waiter, false);
    }

    // Started with the first save, so that a store that is only read costs no thread.
    void startIfNeeded() {
        if (!thread.joinable())
            thread = std::thread([this] { run(); });
    }

    void run() {
        std::unique_lock lock(mutex);
        for (;;) {
            wake.wait(lock, [this] { return stopping || !queue.empty(); });
            if (queue.empty())
                return; // stopping, and everything handed over is written
            bool stored = false;
            {
                const StoredState state = std::move(queue.front());
                queue.pop_front();
                lock.unlock();
                stored = (!beforeWrite || beforeWrite()) && write(state);
            }
            lock.lock();
            ++written;
            if (stored)
                lastStored = written;
            answerWaiters();
            idle.notify_all();
        }
    }

    bool write(const StoredState& state) {
        const QByteArray bytes = compactDocumentJson(state);
        const QString directory = QFileInfo(path).absolutePath();
        if (!QDir().mkpath(directory)) {
            qCWarning(lcState).noquote()
                << "document not saved: could not create the directory" << directory;
            return false;
        }
        if (damagedFileInPlace && !clearDamagedFile())
            return false;
        if (auto error = writeFileAtomically(path, bytes)) {
            qCWarning(lcState).noquote() << "document not saved:" << error->message();
            return false;
        }
        return true;
    }

    // Under the lock: whether the file holds save `target` or a later one. Saves are written in
    // order, each whole, so a later one that reached the disk carries everything of `target`.
    bool holds(quint64 target) const { return lastStored >= target; }

    struct Waiter {
        quint64 target;
        std::shared_ptr<QPromise<bool>> promise;
    };

    static void answer(Waiter& waiter, bool onDisk) {
        waiter.promise->addResult(onDisk);
        waiter.promise->finish();
    }

    // Under the lock, after a write.
    void answerWaiters() {
        std::erase_if(waiters, [this](Waiter& waiter) {
            if (written < waiter.target)
                return false;
            answer(waiter, holds(waiter.target));
            return true;
        });
    }

    // Moves the file at `path` out of the way under a name that nothing reads again, so that
    // the user can still recover it. False when it stays where it is.
    bool setAside(const QString& reason) {
        // Two documents set aside within one millisecond (a damaged copy replaced and damaged
        // again) must not meet at one name: the second would stay in place and nothing could
        // be saved any more. The later one takes the first free "-2", "-3"...
        const QDir dir = QFileInfo(path).dir();
        const QString stamp = QString::number(clock.nowMillis());
        QString aside = dir.filePath(QStringLiteral("state-before-sync-%1.json").arg(stamp));
        for (int n = 2; QFileInfo::exists(aside) && n < 1000; ++n)
            aside = dir.filePath(QStringLiteral("state-before-sync-%1-%2.json").arg(stamp).arg(n));
        QFile file(path);
        if (!file.rename(aside)) {
            qCCritical(lcState).noquote() << "the document at" << path << "is" << reason
                                          << "and could not be set aside:" << file.errorString()
                                          << "- it will not be written over";
            return false;
        }
        qCWarning(lcState).noquote() << "the document was" << reason << "- set aside as" << aside;
        return true;
    }

    // Before writing over a file that load() could not use and could not move: retry the move,
    // or write anyway once the file has gone by other means.
    bool clearDamagedFile() {
        if (QFileInfo::exists(path) && !setAside(QStringLiteral("unusable"))) {
            qCWarning(lcState) << "document not saved, to keep the unusable file";
            return false;
        }
        damagedFileInPlace = false;
        return true;
    }

    const QString path;
    const Clock& clock;
    std::atomic<bool> damagedFileInPlace = false;
    bool startedFresh = false;
    std::function<bool()> beforeWrite;

    std::mutex mutex;
    std::condition_variable wake; // the writer: work or stop
    std::condition_variable idle; // flush: a write finished
    std::deque<StoredState> queue;
    quint64 requested = 0;
    quint64 written = 0;
    quint64 lastStored = 0; // the last save that reached the file; 0 = none yet
    std::vector<Waiter> waiters;
    bool stopping = false;
    std::thread thread;
};

StateStore::StateStore(QString path)
    : m_ownClock(std::make_unique<SystemClock>())
    , m_writer(std::make_unique<Writer>(std::move(path), *m_ownClock)) {}

StateStore::StateStore(QString path, const Clock& clock)
    : m_writer(std::make_unique<Writer>(std::move(path), clock)) {}

StateStore::~StateStore() = default; // the writer drains its queue before its thread ends

const QString& StateStore::path() const {
    return m_writer->path;
}

StoredState StateStore::load() {
    QFile file(m_writer->path);
    m_writer->startedFresh = true;
    if (!file.exists())
        return StoredState{};
    QString problem;
    if (!file.open(QIODevice::ReadOnly)) {
        problem = QStringLiteral("unreadable (%1)").arg(file.errorString());
    } else {
        const QByteArray bytes = file.readAll();
        if (file.error() != QFileDevice::NoError) {
            problem = QStringLiteral("unreadable (%1)").arg(file.errorString());
        } else {
            auto document = decodeDocument(bytes);
            if (document) {
                m_writer->startedFresh = false;
                return std::move(document).value();
            }
            problem = document.error();
        }
    }
    file.close();
    // A file that is there but cannot be used would be gone after the next save: keep it.
    if (!m_writer->setAside(problem))
        m_writer->damagedFileInPlace = true;
    return StoredState{};
}

void StateStore::save(StoredState state) {
    m_writer->startIfNeeded();
    {
        std::lock_guard lock(m_writer->mutex);
        m_writer->queue.push_back(std::move(state));
        ++m_writer->requested;
    }
    m_writer->wake.notify_one();
}

bool StateStore::startedFresh() const {
    return m_writer->startedFresh;
}

bool StateStore::flush() {
    std::unique_lock lock(m_writer->mutex);
    const quint64 target = m_writer->requested;
    m_writer->idle.wait(lock, [&] { return m_writer->written >= target; });
    return m_writer->holds(target);
}

QFuture<bool> StateStore::written() {
    std::lock_guard lock(m_writer->mutex);
    const quint64 target = m_writer->requested;
    if (m_writer->written >= target)
        return QtFuture::makeReadyFuture(m_writer->holds(target));
    auto promise = std::make_shared<QPromise<bool>>();
    promise->start();
    QFuture<bool> future = promise->future();
    m_writer->waiters.push_back({target, std::move(promise)});
    return future;
}

void StateStore::setBeforeWrite(std::function<bool()> beforeWrite) {
    m_writer->beforeWrite = std::move(beforeWrite);
}

} // namespace quillo
