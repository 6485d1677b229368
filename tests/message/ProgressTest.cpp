#include <foundation/httpclient_core/Progress.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace foundation::httpclient_core {
namespace {

TEST(ProgressTest, IsReportedToACallbackThatAnswers) {
    const ProgressCallback callback = [](const Progress& progress) {
        return progress.downloaded > 10 ? ProgressResult::Abort : ProgressResult::Continue;
    };
    EXPECT_EQ(callback({.downloadTotal = 20, .downloaded = 10}), ProgressResult::Continue);
    EXPECT_EQ(callback({.downloadTotal = 20, .downloaded = 11}), ProgressResult::Abort);
}

TEST(ProgressTest, StartsAtZero) {
    const Progress progress;
    EXPECT_EQ(progress.downloadTotal, 0);
    EXPECT_EQ(progress.downloaded, 0);
    EXPECT_EQ(progress.uploadTotal, 0);
    EXPECT_EQ(progress.uploaded, 0);
}

TEST(ProgressTest, CountsTheDownloadFirst) {
    const Progress progress{1, 2, 3, 4};
    EXPECT_EQ(progress.downloadTotal, 1);
    EXPECT_EQ(progress.downloaded, 2);
    EXPECT_EQ(progress.uploadTotal, 3);
    EXPECT_EQ(progress.uploaded, 4);
}

TEST(ProgressTest, ResultIsZeroToContinueAndOneToAbort) {
    static_assert(std::is_same_v<std::underlying_type_t<ProgressResult>, std::int32_t>);
    EXPECT_EQ(static_cast<std::int32_t>(ProgressResult::Continue), 0);
    EXPECT_EQ(static_cast<std::int32_t>(ProgressResult::Abort), 1);
}

}  // namespace
}  // namespace foundation::httpclient_core
