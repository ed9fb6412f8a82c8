// SPDX-License-Identifier: Apache-2.0
#include "storage/ConnectionPool.h"
#include "storage/Storage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

using namespace quillo::server;

namespace {

struct Connection {
    int id = 0;
    bool usable = true;
    bool reusable() const { return usable; }
};

TEST(ConnectionPool, KeepsIdleConnectionsAndReplacesBrokenOnes) {
    int opened = 0;
    bool refuse = false;
    ConnectionPool<Connection> pool(
        [&] {
            if (refuse)
                throw StorageError("unreachable");
            return std::make_unique<Connection>(Connection{++opened});
        },
        2);
    EXPECT_EQ(pool.with([](Connection& c) { return c.id; }), 1);
    EXPECT_EQ(pool.with([](Connection& c) { return c.id; }), 1) << "the idle one is lent again";

    // A call that leaves its connection unusable: closed, and the next caller gets a new one.
    pool.with([](Connection& c) { c.usable = false; });
    EXPECT_EQ(pool.open(), 0);
    EXPECT_EQ(pool.with([](Connection& c) { return c.id; }), 2);

    // An opening that fails counts for nothing, and work that throws gives its connection back.
    pool.with([](Connection& c) { c.usable = false; });
    refuse = true;
    EXPECT_THROW(pool.with([](Connection&) {}), StorageError);
    EXPECT_EQ(pool.open(), 0);
    refuse = false;
    EXPECT_THROW(pool.with([](Connection&) { throw StorageError("constraint"); }), StorageError);
    EXPECT_EQ(pool.open(), 1);
}

TEST(ConnectionPool, LendsEachConnectionToOneCallerAtATime) {
    std::atomic<int> opened = 0;
    ConnectionPool<Connection> pool(
        [&] { return std::make_unique<Connection>(Connection{++opened}); }, 3);
    std::atomic<int> inUse = 0;
    std::atomic<int> most = 0;
    std::latch start(8);
    std::vector<std::thread> callers;
    for (int i = 0; i < 8; ++i) {
        callers.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < 200; ++round) {
                pool.with([&](Connection&) {
                    const int now = ++inUse;
                    int seen = most;
                    while (now > seen && !most.compare_exchange_weak(seen, now)) {
                    }
                    --inUse;
                });
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_LE(most, 3);
    EXPECT_LE(opened, 3);
    EXPECT_EQ(pool.open(), opened);
}

} // namespace
