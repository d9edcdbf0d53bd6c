#pragma once

#include <QTimer>

#include <chrono>
#include <functional>

// A task that runs once after a quiet period, restarted by every new request. Behind an
// interface so tests can move time by hand instead of sleeping.
class DebounceTimer {
public:
    virtual ~DebounceTimer() = default;
    // Drops what is pending and runs `task` after `delay`, unless cancelled meanwhile.
    virtual void restart(std::chrono::milliseconds delay, std::function<void()> task) = 0;
    virtual void cancel() = 0;
    virtual bool isPending() const = 0;
};

// The real one, on the event loop of the thread that owns it.
class QtDebounceTimer final : public DebounceTimer {
public:
    QtDebounceTimer();
    void restart(std::chrono::milliseconds delay, std::function<void()> task) override;
    void cancel() override;
    bool isPending() const override;

private:
    QTimer m_timer;
    std::function<void()> m_task;
};
