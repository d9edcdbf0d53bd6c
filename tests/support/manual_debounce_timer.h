#pragma once

#include "compose/debounce_timer.h"

#include <optional>

// A debounce timer whose time only moves when the test says so.
class ManualDebounceTimer final : public DebounceTimer {
public:
    void restart(std::chrono::milliseconds delay, std::function<void()> task) override
    {
        m_deadline = m_now + delay;
        m_task = std::move(task);
    }
    void cancel() override { m_deadline.reset(); }
    bool isPending() const override { return m_deadline.has_value(); }

    void advance(std::chrono::milliseconds by)
    {
        m_now += by;
        if (m_deadline && *m_deadline <= m_now) {
            m_deadline.reset();
            ++m_fired;
            m_task();
        }
    }
    int fired() const { return m_fired; }

private:
    std::chrono::milliseconds m_now{0};
    std::optional<std::chrono::milliseconds> m_deadline;
    std::function<void()> m_task;
    int m_fired = 0;
};
