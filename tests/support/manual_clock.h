#pragma once

#include "core/clock.h"

// 2025-01-15T10:30:00Z: a fixed "now" for values that need a date but no clock.
inline constexpr Timestamp kFixedTestTime = Timestamp::fromReferenceSeconds(758629800.0);

// A clock that stands still until the test moves it.
class ManualClock : public Clock {
public:
    explicit ManualClock(Timestamp start = kFixedTestTime)
        : m_now(start)
    {
    }

    Timestamp now() const override { return m_now; }
    void set(Timestamp now) { m_now = now; }
    void advance(double seconds) { m_now = m_now.addSeconds(seconds); }

private:
    Timestamp m_now;
};
