#include <foundation/httpclient_core/Progress.h>
#include <foundation/httpclient_core/ProgressResult.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace foundation::httpclient_core {
namespace {

TEST(ProgressResultTest, IsTheAnswerOfAProgressCallback) {
    const ProgressCallback callback = [](const Progress&) { return ProgressResult::Abort; };
    EXPECT_EQ(callback(Progress()), ProgressResult::Abort);
    EXPECT_NE(callback(Progress()), ProgressResult::Continue);
}

TEST(ProgressResultTest, IsZeroToContinueAndOneToAbort) {
    static_assert(std::is_same_v<std::underlying_type_t<ProgressResult>, std::int32_t>);
    EXPECT_EQ(static_cast<std::int32_t>(ProgressResult::Continue), 0);
    EXPECT_EQ(static_cast<std::int32_t>(ProgressResult::Abort), 1);
}

TEST(ProgressResultTest, ContinuesByDefault) {
    EXPECT_EQ(ProgressResult(), ProgressResult::Continue);
}

}  // namespace
}  // namespace foundation::httpclient_core
