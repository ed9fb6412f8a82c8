// SPDX-License-Identifier: Apache-2.0
#include "common/Clock.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <QCoro/QCoroTask>

#include <vector>

using namespace quillo;

namespace {

// Sleeps `millis` on `clock` and records, when it wakes, the time and whether it slept fully.
QCoro::Task<> sleeper(const Clock& clock, qint64 millis, CancelToken cancel,
                      std::vector<std::pair<qint64, bool>>& log) {
    const bool full = co_await clock.sleep(millis, cancel);
    log.emplace_back(clock.nowMillis(), full);
}

} // namespace

TEST(ManualClock, WakesSleepersInTimeOrderAtTheirOwnTime) {
    ManualClock clock(1000);
    std::vector<std::pair<qint64, bool>> log;
    auto late = sleeper(clock, 600, {}, log);
    auto early = sleeper(clock, 200, {}, log);
    EXPECT_EQ(clock.sleeping(), 2);
    clock.advance(100);
    EXPECT_TRUE(log.empty());
    clock.advance(1000);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], std::make_pair(qint64(1200), true));
    EXPECT_EQ(log[1], std::make_pair(qint64(1600), true));
    EXPECT_EQ(clock.nowMillis(), 2100);
    EXPECT_EQ(clock.sleeping(), 0);
}

TEST(ManualClock, CancellingEndsTheWaitAtOnce) {
    ManualClock clock(0);
    std::vector<std::pair<qint64, bool>> log;
    CancelToken cancel;
    auto task = sleeper(clock, 5000, cancel, log);
    clock.advance(10);
    cancel.cancel();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], std::make_pair(qint64(10), false));
    EXPECT_EQ(clock.sleeping(), 0);

    auto already = sleeper(clock, 5000, cancel, log); // a cancelled token does not wait
    EXPECT_EQ(log.size(), 2u);
}

TEST(SystemClock, ACancelledWaitEndsWithoutTheTimer) {
    SystemClock clock;
    CancelToken cancel;
    std::vector<std::pair<qint64, bool>> log;
    auto task = sleeper(clock, 60'000, cancel, log);
    cancel.cancel();
    QCoro::waitFor(task);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_FALSE(log[0].second);
}
