#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace foundation::httpclient_core::detail {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using testing::throwsExactly;

// A waiter that keeps the waits under a name and takes them over or not.
class Waits {
public:
    BackoffWaiter waiter(std::string name, bool takes = true) {
        return [this, name = std::move(name), takes](milliseconds delay) {
            seen.push_back(name + " " + std::to_string(delay.count()));
            return takes;
        };
    }

    std::vector<std::string> seen;
};

milliseconds timed(milliseconds delay) {
    const auto start = std::chrono::steady_clock::now();
    backoffWait(delay);
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

TEST(BackoffHookTest, ScopeTakesTheWaitsOver) {
    Waits waits;
    const BackoffScope scope(waits.waiter("taken"));
    backoffWait(hours(1));
    EXPECT_EQ(waits.seen, (std::vector<std::string>{"taken 3600000"}));
}

TEST(BackoffHookTest, WithoutScopeTheThreadSleeps) {
    EXPECT_GE(timed(milliseconds(3)), milliseconds(3));
}

TEST(BackoffHookTest, NothingToWaitForAsksNobody) {
    Waits waits;
    const BackoffScope scope(waits.waiter("asked"));
    backoffWait(milliseconds(0));
    backoffWait(milliseconds(-1));
    backoffWait(milliseconds::min());
    EXPECT_TRUE(waits.seen.empty());
}

TEST(BackoffHookTest, NothingToWaitForReturnsAtOnceWithoutScope) {
    EXPECT_LT(timed(milliseconds::min()), milliseconds(1000));
}

TEST(BackoffHookTest, LongestWaitReachesTheWaiterUnchanged) {
    milliseconds seen(0);
    const BackoffScope scope([&seen](milliseconds delay) {
        seen = delay;
        return true;
    });
    backoffWait(milliseconds::max());
    EXPECT_EQ(seen, milliseconds::max());
}

TEST(BackoffHookTest, WaiterThatDeclinesMakesTheThreadSleep) {
    Waits waits;
    const BackoffScope scope(waits.waiter("asked", false));
    EXPECT_GE(timed(milliseconds(3)), milliseconds(3));
    EXPECT_EQ(waits.seen, (std::vector<std::string>{"asked 3"}));
}

TEST(BackoffHookTest, InnermostScopeTakesTheWait) {
    Waits waits;
    const BackoffScope outer(waits.waiter("outer"));
    {
        const BackoffScope inner(waits.waiter("inner"));
        {
            const BackoffScope innermost(waits.waiter("innermost"));
            backoffWait(milliseconds(1));
        }
        backoffWait(milliseconds(2));
    }
    backoffWait(milliseconds(3));
    EXPECT_EQ(waits.seen, (std::vector<std::string>{"innermost 1", "inner 2", "outer 3"}));
}

TEST(BackoffHookTest, OuterScopeIsNotAskedWhenTheInnerOneDeclines) {
    Waits waits;
    const BackoffScope outer(waits.waiter("outer"));
    const BackoffScope inner(waits.waiter("inner", false));
    EXPECT_GE(timed(milliseconds(3)), milliseconds(3));
    EXPECT_EQ(waits.seen, (std::vector<std::string>{"inner 3"}));
}

TEST(BackoffHookTest, EmptyWaiterMakesTheThreadSleep) {
    Waits waits;
    const BackoffScope outer(waits.waiter("outer"));
    const BackoffScope inner{BackoffWaiter()};
    EXPECT_GE(timed(milliseconds(3)), milliseconds(3));
    EXPECT_TRUE(waits.seen.empty());
}

TEST(BackoffHookTest, ScopeKeepsItsWaiter) {
    const auto state = std::make_shared<int>(0);
    {
        const BackoffScope scope([state](milliseconds) {
            ++*state;
            return true;
        });
        EXPECT_EQ(state.use_count(), 2);
        backoffWait(hours(1));
    }
    EXPECT_EQ(*state, 1);
    EXPECT_EQ(state.use_count(), 1);
}

TEST(BackoffHookTest, OtherThreadsAreNotAffected) {
    Waits waits;
    const BackoffScope scope(waits.waiter("this thread"));
    Waits others;
    std::jthread([&others] {
        EXPECT_GE(timed(milliseconds(3)), milliseconds(3));
        const BackoffScope inner(others.waiter("other thread"));
        backoffWait(hours(1));
    }).join();
    backoffWait(hours(2));
    EXPECT_EQ(others.seen, (std::vector<std::string>{"other thread 3600000"}));
    EXPECT_EQ(waits.seen, (std::vector<std::string>{"this thread 7200000"}));
}

TEST(BackoffHookTest, WhatTheWaiterThrowsPassesThrough) {
    const BackoffScope scope(
        [](milliseconds) -> bool { throw std::domain_error("shutting down"); });
    const auto wait = [] { backoffWait(milliseconds(1)); };
    EXPECT_TRUE(throwsExactly<std::domain_error>(wait, "shutting down"));
    EXPECT_TRUE(throwsExactly<std::domain_error>(wait, "shutting down"));
}

TEST(BackoffHookTest, ScopeStaysWhereItIs) {
    static_assert(!std::is_copy_constructible_v<BackoffScope>);
    static_assert(!std::is_copy_assignable_v<BackoffScope>);
    static_assert(!std::is_move_constructible_v<BackoffScope>);
    static_assert(!std::is_convertible_v<BackoffWaiter, BackoffScope>);
}

}  // namespace
}  // namespace foundation::httpclient_core::detail
