#include "core/accelerated_clock.h"

AcceleratedClock::AcceleratedClock(const Clock& base, double speed)
    : m_base(base)
    , m_speed(speed > 0 ? speed : 1)
    , m_anchor(base.now())
{
}

Timestamp AcceleratedClock::now() const
{
    const double elapsed = m_base.now().referenceSeconds() - m_anchor.referenceSeconds();
    return m_anchor.addSeconds(elapsed * m_speed);
}
