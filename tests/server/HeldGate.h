// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace quillo::server {

// Keeps a fixture's requests waiting while a test acts: after hold(), every request that comes
// through pass() stays there until release(); waitForHeld(n) blocks until n are waiting.
class HeldGate {
public:
    void hold() {
        std::lock_guard lock(m_mutex);
        m_holding = true;
    }

    void release() {
        {
            std::lock_guard lock(m_mutex);
            m_holding = false;
        }
        m_changed.notify_all();
    }

    // Up to ten seconds; whether they all arrived.
    bool waitForHeld(int count) const {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_held >= count; });
    }

    // On the fixture's server thread, for each request.
    void pass() {
        std::unique_lock lock(m_mutex);
        if (!m_holding)
            return;
        ++m_held;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_holding; });
        --m_held;
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_holding = false;
    int m_held = 0;
};

} // namespace quillo::server
