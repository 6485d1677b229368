#include <foundation/httpclient_core/Progress.h>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace foundation::httpclient_core
