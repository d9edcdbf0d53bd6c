#pragma once

#include "core/clock.h"

// A clock that runs `speed` times faster than another from the moment it is made, for
// watching the scheduler's minutes go by in seconds (QUILLO_CLOCK_SPEED) in end-to-end tests.
class AcceleratedClock : public Clock {
public:
    AcceleratedClock(const Clock& base, double speed);

    Timestamp now() const override;
    double speed() const { return m_speed; }

private:
    const Clock& m_base;
    double m_speed;
    Timestamp m_anchor;
};
