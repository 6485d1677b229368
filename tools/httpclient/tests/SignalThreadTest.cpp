#include "signals/SignalThread.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <pthread.h>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

// Each in a process of its own: blocked signals and ignored ones stay with a process.
void exitZeroAfter(int signal) {
    Interrupts interrupts;
    const SignalThread signals(interrupts);
    std::promise<void> promise;
    const Interrupts::Scope scope(interrupts, [&promise] { promise.set_value(); });
    ::kill(::getpid(), signal);
    promise.get_future().wait();
    std::_Exit(interrupts.interrupted() ? 0 : 1);
}

TEST(SignalThreadDeathTest, TurnsSignalsIntoAWishToStop) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exitZeroAfter(SIGINT), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(exitZeroAfter(SIGTERM), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            std::signal(SIGHUP, SIG_DFL);  // It is ignored where nohup started the tests.
            exitZeroAfter(SIGHUP);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(SignalThreadDeathTest, AlsoWhenTheShellHadSetInterruptToBeIgnored) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_IGN);
            exitZeroAfter(SIGINT);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(SignalThreadDeathTest, LeavesAnIgnoredHangUpIgnored) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGHUP, SIG_IGN);
            ::kill(::getpid(), SIGHUP);
            exitZeroAfter(SIGTERM);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            std::signal(SIGHUP, SIG_IGN);
            Interrupts interrupts;
            {
                const SignalThread signals(interrupts);
                ::kill(::getpid(), SIGHUP);
            }
            std::_Exit(interrupts.interrupted() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(SignalThreadDeathTest, EndsWithoutASignal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            Interrupts interrupts;
            {
                const SignalThread signals(interrupts);
            }
            std::_Exit(interrupts.interrupted() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace foundation::httpclient_tool
