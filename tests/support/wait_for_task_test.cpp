// The test support's own promise: a stuck coroutine fails its test at the timeout, and
// results and errors of finished ones come through unchanged.
#include "support/coro_wait.h"

#include <qcoro/qcorotimer.h>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace std::chrono_literals;

TEST(WaitForTask, FailsAStuckCoroutineAtItsTimeoutAndPassesResultsAndErrorsThrough)
{
    auto stuck = []() -> QCoro::Task<int> {
        co_await QCoro::sleepFor(1h);
        co_return 1;
    };
    EXPECT_THROW(waitForTask(stuck(), 50ms), std::runtime_error);

    auto answers = []() -> QCoro::Task<int> {
        co_await QCoro::sleepFor(1ms);
        co_return 7;
    };
    EXPECT_EQ(waitForTask(answers()), 7);

    auto fails = []() -> QCoro::Task<void> {
        co_await QCoro::sleepFor(1ms);
        throw std::logic_error("boom");
    };
    EXPECT_THROW(waitForTask(fails()), std::logic_error);

    auto immediate = []() -> QCoro::Task<QString> { co_return QStringLiteral("at once"); };
    EXPECT_EQ(waitForTask(immediate()), QStringLiteral("at once"));
}
