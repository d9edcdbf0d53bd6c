#pragma once

#include <qcoro/qcorotask.h>

#include <exception>
#include <optional>

// QCoro::waitFor of QCoro 0.8 never returns when the task throws (the exception stays in
// an internal task nobody awaits). waitForTask catches it inside and rethrows it here.
namespace detail {
template <typename T>
QCoro::Task<std::optional<T>> catching(QCoro::Task<T> task, std::exception_ptr& error)
{
    try {
        co_return co_await std::move(task);
    } catch (...) {
        error = std::current_exception();
    }
    co_return std::nullopt;
}

inline QCoro::Task<bool> catchingVoid(QCoro::Task<void> task, std::exception_ptr& error)
{
    try {
        co_await std::move(task);
    } catch (...) {
        error = std::current_exception();
    }
    co_return true;
}
} // namespace detail

template <typename T>
T waitForTask(QCoro::Task<T>&& task)
{
    std::exception_ptr error;
    if constexpr (std::is_void_v<T>) {
        QCoro::waitFor(detail::catchingVoid(std::move(task), error));
        if (error)
            std::rethrow_exception(error);
    } else {
        std::optional<T> result = QCoro::waitFor(detail::catching(std::move(task), error));
        if (error)
            std::rethrow_exception(error);
        return std::move(*result);
    }
}
