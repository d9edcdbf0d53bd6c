#pragma once

#include "core/clock.h"

// A clock that stands still until the test moves it.
class ManualClock : public Clock {
public:
    explicit ManualClock(Timestamp start = *Timestamp::fromIso8601(u"2025-01-15T10:30:00Z"))
        : m_now(start)
    {
    }

    Timestamp now() const override { return m_now; }
    void set(Timestamp now) { m_now = now; }
    void advance(double seconds) { m_now = m_now.addSeconds(seconds); }

private:
    Timestamp m_now;
};
