// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace quillo::server {

// The connections of one database engine, lent out for one call at a time: at most a fixed
// number open at once, idle ones kept for the next caller, and one that can no longer be used
// (`reusable()` false: disconnected, or left inside a transaction by a failed call) closed on
// return and replaced when next needed. A caller waits while every connection is lent out.
// Safe from many threads. Each engine's storage owns its pools and keeps only its SQL.
template <typename Connection>
class ConnectionPool {
public:
    // Opens a new connection or throws StorageError.
    using Opener = std::function<std::unique_ptr<Connection>()>;

    ConnectionPool(Opener open, int maxConnections)
        : m_openConnection(std::move(open))
        , m_max(std::max(1, maxConnections)) {}
    ConnectionPool(const ConnectionPool&) = delete;
    ConnectionPool& operator=(const ConnectionPool&) = delete;

    // Runs `work` with a connection of its own and gives back what it gives.
    template <typename Work>
    auto with(Work&& work) {
        Lease lease(*this);
        return std::forward<Work>(work)(*lease.connection);
    }

    // Connections open now, lent out or idle.
    int open() const {
        std::lock_guard lock(m_mutex);
        return m_open;
    }

private:
    struct Lease {
        explicit Lease(ConnectionPool& owner)
            : pool(owner) {
            std::unique_lock lock(pool.m_mutex);
            pool.m_returned.wait(lock,
                                 [&] { return !pool.m_idle.empty() || pool.m_open < pool.m_max; });
            if (!pool.m_idle.empty()) {
                connection = std::move(pool.m_idle.back());
                pool.m_idle.pop_back();
                return;
            }
            ++pool.m_open;
            lock.unlock();
            try {
                connection = pool.m_openConnection();
            } catch (...) {
                lock.lock();
                --pool.m_open;
                pool.m_returned.notify_one();
                throw;
            }
        }
        ~Lease() {
            std::lock_guard lock(pool.m_mutex);
            if (connection->reusable())
                pool.m_idle.push_back(std::move(connection));
            else
                --pool.m_open;
            pool.m_returned.notify_one();
        }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

        ConnectionPool& pool;
        std::unique_ptr<Connection> connection;
    };

    const Opener m_openConnection;
    const int m_max;
    mutable std::mutex m_mutex;
    std::condition_variable m_returned;
    std::vector<std::unique_ptr<Connection>> m_idle;
    int m_open = 0;
};

} // namespace quillo::server
