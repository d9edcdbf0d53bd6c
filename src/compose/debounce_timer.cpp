#include "compose/debounce_timer.h"

QtDebounceTimer::QtDebounceTimer()
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, [this] {
        const auto task = std::exchange(m_task, {});
        if (task)
            task();
    });
}

void QtDebounceTimer::restart(std::chrono::milliseconds delay, std::function<void()> task)
{
    m_task = std::move(task);
    m_timer.start(delay);
}

void QtDebounceTimer::cancel()
{
    m_timer.stop();
    m_task = {};
}

bool QtDebounceTimer::isPending() const
{
    return m_timer.isActive();
}
