// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Cancellation.h"
#include "common/Clock.h"

#include <QCoroTask>

#include <functional>
#include <memory>

namespace quillo {

// The application's two heartbeats on the injected clock: every 300 seconds a pass of contacts
// that write first, every 180 seconds a refresh from the service. A tick starts its work and
// does not wait for it, so a slow pass never holds back the next tick; the repository's own
// guards keep the work from piling up.
class RepeatingTimers {
public:
    static constexpr qint64 nudgeIntervalMillis = 300'000;
    static constexpr qint64 refreshIntervalMillis = 180'000;

    // `nudge` is given the time of the tick in milliseconds.
    using NudgePass = std::function<QCoro::Task<>(qint64 now)>;
    using Refresh = std::function<QCoro::Task<>()>;

    // `clock` must outlive this object.
    RepeatingTimers(const Clock& clock, NudgePass nudge, Refresh refresh);
    ~RepeatingTimers();
    RepeatingTimers(const RepeatingTimers&) = delete;
    RepeatingTimers& operator=(const RepeatingTimers&) = delete;

    void start();
    // Both timers end; work already started goes on to its end.
    void stop();
    bool isRunning() const { return m_running; }

private:
    QCoro::Task<> every(qint64 millis, std::function<void()> tick, CancelToken stop);

    const Clock& m_clock;
    NudgePass m_nudge;
    Refresh m_refresh;
    CancelToken m_stop;
    bool m_running = false;
};

} // namespace quillo
