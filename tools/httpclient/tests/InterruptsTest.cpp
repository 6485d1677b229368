#include "signals/Interrupts.h"

#include <gtest/gtest.h>

namespace foundation::httpclient_tool {
namespace {

TEST(InterruptsTest, RunsTheActionOfTheScope) {
    Interrupts interrupts;
    int runs = 0;
    {
        const Interrupts::Scope scope(interrupts, [&runs] { ++runs; });
        EXPECT_EQ(runs, 0);
        EXPECT_FALSE(interrupts.interrupted());
        interrupts.interrupt();
        EXPECT_EQ(runs, 1);
        EXPECT_TRUE(interrupts.interrupted());
    }
    interrupts.interrupt();
    EXPECT_EQ(runs, 1);
}

TEST(InterruptsTest, RunsTheActionAtOnceIfTheWishCameBefore) {
    Interrupts interrupts;
    interrupts.interrupt();
    int runs = 0;
    const Interrupts::Scope scope(interrupts, [&runs] { ++runs; });
    EXPECT_EQ(runs, 1);
}

}  // namespace
}  // namespace foundation::httpclient_tool
