// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Cancellation.h"

#include <QCoro/QCoroTask>
#include <QtGlobal>

namespace quillo {

// Where the time comes from, and how long to wait. Production reads the wall clock and uses
// real timers; tests hold a clock of their own and move it on, so that pacing, retries and
// schedules run in virtual time and nothing in a test waits for real time to pass.
class Clock {
public:
    virtual ~Clock() = default;
    // Milliseconds since 1970-01-01 UTC.
    virtual qint64 nowMillis() const = 0;
    // Resumes after `millis` (on the thread's event loop), or as soon as `cancel` is cancelled.
    // Gives whether the whole time passed.
    virtual QCoro::Task<bool> sleep(qint64 millis, CancelToken cancel = {}) const = 0;
};

class SystemClock final : public Clock {
public:
    qint64 nowMillis() const override;
    QCoro::Task<bool> sleep(qint64 millis, CancelToken cancel = {}) const override;
};

} // namespace quillo
