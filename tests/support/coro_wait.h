#pragma once

#include <QEventLoop>
#include <QPointer>
#include <QTimer>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

// Runs a coroutine to its end in a test and returns its result or rethrows its error.
// A coroutine that is stuck fails the test after `timeout` instead of at CTest's limit.
// (QCoro::waitFor also never returns when the task throws.)
namespace detail {

struct Empty {};

template <typename T>
struct TaskState {
    using Value = std::conditional_t<std::is_void_v<T>, Empty, T>;
    std::optional<Value> result;
    std::exception_ptr error;
    bool finished = false;
    QPointer<QEventLoop> loop;
};

// The state is shared, so a coroutine abandoned at the timeout may still finish later
// without touching the test's stack.
template <typename T>
QCoro::Task<void> runToEnd(QCoro::Task<T> task, std::shared_ptr<TaskState<T>> state)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            state->result.emplace();
        } else {
            state->result.emplace(co_await std::move(task));
        }
    } catch (...) {
        state->error = std::current_exception();
    }
    state->finished = true;
    if (state->loop)
        state->loop->quit();
}

} // namespace detail

inline constexpr std::chrono::milliseconds kTaskTimeout{20000};

template <typename T>
T waitForTask(QCoro::Task<T>&& task, std::chrono::milliseconds timeout = kTaskTimeout)
{
    auto state = std::make_shared<detail::TaskState<T>>();
    QEventLoop loop;
    state->loop = &loop;
    auto running = detail::runToEnd(std::move(task), state);
    if (!state->finished) {
        QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
        loop.exec();
    }
    state->loop = nullptr;
    if (!state->finished)
        throw std::runtime_error("the coroutine did not finish within " + std::to_string(timeout.count()) + " ms");
    if (state->error)
        std::rethrow_exception(state->error);
    if constexpr (!std::is_void_v<T>)
        return std::move(*state->result);
}
