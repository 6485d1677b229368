#include "output/Interruption.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

TEST(InterruptionTest, ACallIsMadeUntilNoSignalInterruptsIt) {
    int calls = 0;
    EXPECT_EQ(uninterrupted([&calls] {
                  errno = EINTR;
                  return ++calls < 3 ? -1 : 7;
              }),
              7);
    EXPECT_EQ(calls, 3);
}

TEST(InterruptionTest, OtherErrorsEndACall) {
    int calls = 0;
    EXPECT_EQ(uninterrupted([&calls] {
                  ++calls;
                  errno = ENOSPC;
                  return -1;
              }),
              -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(calls, 1);
}

TEST(InterruptionTest, CloseTellsOtherErrors) {
    const int descriptor = ::dup(STDERR_FILENO);
    EXPECT_EQ(closeOnce(descriptor), 0);
    EXPECT_EQ(closeOnce(descriptor), -1);
    EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace foundation::httpclient_tool
