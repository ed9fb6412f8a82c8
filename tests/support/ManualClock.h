// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"

#include <QObject>

#include <atomic>
#include <coroutine>
#include <vector>

namespace quillo {

// The tests' clock: it stands still until a test moves it on, and then wakes every sleeper whose
// time has come, in time order.
class ManualClock final : public QObject, public Clock {
    Q_OBJECT
public:
    explicit ManualClock(qint64 startMillis = 1'700'000'000'000)
        : m_now(startMillis) {}

    qint64 nowMillis() const override { return m_now.load(); }
    QCoro::Task<bool> sleep(qint64 millis, CancelToken cancel = {}) const override;

    // Moves time on, waking every sleeper whose time has come, earliest first; a sleeper that
    // sleeps again within the step is woken too when its new time falls inside it.
    void advance(qint64 millis);
    void set(qint64 millis);

    // Sleepers still waiting.
    int sleeping() const;

private:
    struct Sleeper {
        qint64 until;
        quint64 id;
        std::coroutine_handle<> waiting;
    };
    // Suspends the sleeping coroutine until advance() or its token resumes it, directly and
    // in time order, so that what it does next happens at its own virtual time.
    struct Wait {
        const ManualClock* clock;
        quint64 id;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> waiting) const;
        void await_resume() const noexcept {}
    };
    void wakeDue(qint64 target);
    void resume(quint64 id) const;

    // Atomic: a service under test reads it from its request threads.
    std::atomic<qint64> m_now;
    mutable std::vector<Sleeper> m_sleepers;
    mutable quint64 m_nextId = 1;
};

} // namespace quillo
