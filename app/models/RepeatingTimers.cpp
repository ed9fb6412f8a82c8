// SPDX-License-Identifier: Apache-2.0
#include "RepeatingTimers.h"

namespace quillo {

RepeatingTimers::RepeatingTimers(const Clock& clock, NudgePass nudge, Refresh refresh)
    : m_clock(clock)
    , m_nudge(std::move(nudge))
    , m_refresh(std::move(refresh)) {}

RepeatingTimers::~RepeatingTimers() {
    stop();
}

void RepeatingTimers::start() {
    if (m_running)
        return;
    m_running = true;
    m_stop = CancelToken();
    every(
        nudgeIntervalMillis, [this] { m_nudge(m_clock.nowMillis()); }, m_stop);
    every(
        refreshIntervalMillis, [this] { m_refresh(); }, m_stop);
}

void RepeatingTimers::stop() {
    m_running = false;
    m_stop.cancel();
}

QCoro::Task<> RepeatingTimers::every(qint64 millis, std::function<void()> tick, CancelToken stop) {
    // A cancelled sleep returns false before anything here is touched again. (The wait is not
    // written as the loop's condition: GCC 12 miscompiles a co_await there.)
    while (true) {
        auto waiting = m_clock.sleep(millis, stop);
        if (!co_await waiting)
            co_return;
        tick();
    }
}

} // namespace quillo
