// SPDX-License-Identifier: Apache-2.0
#include "ManualClock.h"

#include <algorithm>

namespace quillo {

QCoro::Task<bool> ManualClock::sleep(qint64 millis, CancelToken cancel) const {
    if (cancel.isCancelled())
        co_return false;
    const quint64 id = m_nextId++;
    m_sleepers.push_back({nowMillis() + std::max<qint64>(0, millis), id, {}});
    // A cancelled sleeper leaves the queue and goes on at once.
    const auto onCancel =
        QObject::connect(cancel.trigger(), &Trigger::fired, this, [this, id] { resume(id); });
    co_await Wait{this, id};
    QObject::disconnect(onCancel);
    co_return !cancel.isCancelled();
}

void ManualClock::Wait::await_suspend(std::coroutine_handle<> waiting) const {
    for (Sleeper& sleeper : clock->m_sleepers) {
        if (sleeper.id == id)
            sleeper.waiting = waiting;
    }
}

void ManualClock::resume(quint64 id) const {
    const auto it = std::find_if(m_sleepers.begin(), m_sleepers.end(),
                                 [id](const Sleeper& s) { return s.id == id; });
    if (it == m_sleepers.end())
        return;
    const std::coroutine_handle<> waiting = it->waiting;
    m_sleepers.erase(it);
    if (waiting)
        waiting.resume();
}

void ManualClock::advance(qint64 millis) {
    wakeDue(nowMillis() + millis);
}

void ManualClock::set(qint64 millis) {
    wakeDue(millis);
}

void ManualClock::wakeDue(qint64 target) {
    while (true) {
        const auto next = std::min_element(
            m_sleepers.begin(), m_sleepers.end(), [](const Sleeper& a, const Sleeper& b) {
                return a.until < b.until || (a.until == b.until && a.id < b.id);
            });
        if (next == m_sleepers.end() || next->until > target)
            break;
        m_now = std::max(nowMillis(), next->until);
        resume(next->id);
    }
    m_now = target;
}

int ManualClock::sleeping() const {
    return int(m_sleepers.size());
}

} // namespace quillo
