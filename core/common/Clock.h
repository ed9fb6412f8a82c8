#pragma once

#include <QtGlobal>

#include <atomic>

namespace quillo {

// Where the time comes from. Production reads the wall clock; tests hold a ManualClock and move
// it on, so that nothing in a test waits for real time to pass.
class Clock {
public:
    virtual ~Clock() = default;
    // Milliseconds since 1970-01-01 UTC.
    virtual qint64 nowMillis() const = 0;
};

class SystemClock final : public Clock {
public:
    qint64 nowMillis() const override;
};

class ManualClock final : public Clock {
public:
    explicit ManualClock(qint64 startMillis = 1'700'000'000'000)
        : m_now(startMillis) {}
    qint64 nowMillis() const override { return m_now; }
    void advance(qint64 millis) { m_now += millis; }
    void set(qint64 millis) { m_now = millis; }

private:
    qint64 m_now;
};

} // namespace quillo
