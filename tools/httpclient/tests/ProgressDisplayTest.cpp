#include "terminal/ProgressDisplay.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <sstream>

namespace foundation::httpclient_tool {
namespace {

using namespace std::chrono_literals;

class ProgressDisplayTest : public ::testing::Test {
protected:
    ProgressDisplay::TimePoint now_{};
    std::ostringstream stream_;
    ErrorOutput output_{stream_, true};
    // No room for a bar beside a line with a rate.
    ProgressDisplay::Look look_{.files = 1, .columns = [] { return 48; }};
};

TEST_F(ProgressDisplayTest, ShowsBytesShareRateAndRetries) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    now_ += 1s;
    shown.update(12'345'678, 37'654'322);
    EXPECT_EQ(shown.line(), "12.3 MB of 50.0 MB, 24 %, 12.3 MB/s, 0:03 left");
    EXPECT_EQ(stream_.str(), "\r\x1b[K12.3 MB of 50.0 MB, 24 %, 12.3 MB/s, 0:03 left");
    shown.countRetry();
    EXPECT_EQ(shown.line(), "12.3 MB of 50.0 MB, 24 %, 12.3 MB/s, 0:03 left, 1 retry");
    shown.countRetry();
    EXPECT_EQ(shown.line(), "12.3 MB of 50.0 MB, 24 %, 12.3 MB/s, 0:03 left, 2 retries");
}

TEST_F(ProgressDisplayTest, WithoutATotalThereIsNoShare) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    now_ += 1s;
    shown.update(500, -500);
    EXPECT_EQ(shown.line(), "500 B, 500 B/s");
    EXPECT_EQ(ProgressDisplay(output_, true).line(), "0 B");
}

TEST_F(ProgressDisplayTest, KnowsTheTotalToTheEnd) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    shown.update(999, 1);
    EXPECT_EQ(shown.line(), "999 B of 1.0 kB, 99 %");
    shown.update(1000, 0);
    EXPECT_EQ(shown.line(), "1.0 kB of 1.0 kB, 100 %");
}

TEST_F(ProgressDisplayTest, TheRateIsThatOfTheLastSeconds) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    for (int second = 1; second <= 10; ++second) {
        now_ += 1s;
        shown.update(second <= 5 ? second * 1000 : 5000, 1000);
    }
    EXPECT_EQ(shown.line(), "5.0 kB of 6.0 kB, 83 %, 0 B/s");
}

TEST_F(ProgressDisplayTest, StartingOverForgetsTheRate) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    now_ += 1s;
    shown.update(5000, 5000);
    now_ += 1s;
    shown.update(100, 9900);
    EXPECT_EQ(shown.line(), "100 B of 10.0 kB, 1 %");
    now_ += 1s;
    shown.update(1100, 8900);
    EXPECT_EQ(shown.line(), "1.1 kB of 10.0 kB, 11 %, 1.0 kB/s, 0:08 left");
}

TEST_F(ProgressDisplayTest, ALineIsCutBeforeItReachesTheLastColumn) {
    look_.columns = [] { return 20; };
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    now_ += 1s;
    shown.update(12'345'678, 37'654'322);
    EXPECT_EQ(stream_.str(), "\r\x1b[K12.3 MB of 50.0 MB,");
    look_.columns = [] { return 0; };
    stream_.str("");
    ProgressDisplay(output_, true, [this] { return now_; }, look_).update(1, 9);
    EXPECT_EQ(stream_.str(), "\r\x1b[K");
}

TEST_F(ProgressDisplayTest, WhatFollowsAnAbandonedLineStandsBelowIt) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    shown.abandon();
    EXPECT_EQ(stream_.str(), "");
    shown.update(1, 0);
    shown.abandon();
    EXPECT_EQ(stream_.str(), "\r\x1b[K1 B\n");
}

TEST_F(ProgressDisplayTest, ShowsNoMoreThanTenLinesASecond) {
    look_.columns = [] { return 37; };
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    shown.update(1, 9);
    now_ += 99ms;
    shown.update(2, 8);
    const std::string first = "\r\x1b[K[=>              ] 1 B of 10 B, 10 %";
    EXPECT_EQ(stream_.str(), first);
    now_ += 1ms;
    shown.update(3, 7);
    EXPECT_EQ(stream_.str(), first + "\r\x1b[K3 B of 10 B, 30 %, 30 B/s, 0:00 left");
}

TEST_F(ProgressDisplayTest, FinishLeavesTheSummary) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    now_ += 8400ms;
    shown.countRetry();
    EXPECT_EQ(shown.summary(50'000'000), "50.0 MB in 8.4 s, 5.9 MB/s, 1 retry");
    shown.finish(50'000'000);
    EXPECT_EQ(stream_.str(), "\r\x1b[K50.0 MB in 8.4 s, 5.9 MB/s, 1 retry\n");
}

TEST_F(ProgressDisplayTest, InvisibleItWritesNothing) {
    ProgressDisplay hidden(output_, false, [this] { return now_; }, look_);
    hidden.update(1, 2);
    hidden.finish(3);
    EXPECT_EQ(stream_.str(), "");
}

TEST_F(ProgressDisplayTest, ABarFillsTheRoomThatThereIs) {
    look_.columns = [] { return 60; };
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    shown.update(250, 750);
    EXPECT_EQ(stream_.str(), "\r\x1b[K[=======>                      ] 250 B of 1.0 kB, 25 %");
    look_.columns = [] { return 34; };
    stream_.str("");
    ProgressDisplay narrow(output_, true, [this] { return now_; }, look_);
    narrow.update(1000, 0);
    EXPECT_EQ(stream_.str(), "\r\x1b[K1.0 kB");
    narrow.update(500, 500);
    now_ += 100ms;
    narrow.update(500, 500);
    EXPECT_EQ(stream_.str(), "\r\x1b[K1.0 kB\r\x1b[K500 B of 1.0 kB, 50 %, 0 B/s");
}

TEST_F(ProgressDisplayTest, TheBarIsGreenWhereThereAreColours) {
    ErrorOutput coloured(stream_, true, true);
    look_.columns = [] { return 37; };
    ProgressDisplay shown(coloured, true, [this] { return now_; }, look_);
    shown.update(50, 50);
    EXPECT_EQ(stream_.str(), "\r\x1b[K[\x1b[32m=======>      \x1b[0m] 50 B of 100 B, 50 %");
}

TEST_F(ProgressDisplayTest, TellsHowManyFilesAreDone) {
    look_.files = 3;
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    shown.update(50, 50);
    shown.countFile();
    EXPECT_EQ(shown.line(), "50 B of 100 B, 50 %, 1 of 3 files");
}

TEST_F(ProgressDisplayTest, WhatWasHeldBeforeSaysNothingAboutTheRate) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    shown.countHeld(5000);
    now_ += 1s;
    shown.update(6000, 4000);
    EXPECT_EQ(shown.line(), "6.0 kB of 10.0 kB, 60 %, 1.0 kB/s, 0:04 left");
    EXPECT_EQ(shown.summary(6000), "6.0 kB in 1.0 s, 1.0 kB/s");
    now_ += 1s;
    shown.update(100, 9900);
    EXPECT_EQ(shown.summary(100), "100 B in 2.0 s, 50 B/s");
}

TEST_F(ProgressDisplayTest, LongTimesHaveHours) {
    ProgressDisplay shown(output_, true, [this] { return now_; }, look_);
    now_ += 1s;
    shown.update(1, 3725);
    EXPECT_EQ(shown.line(), "1 B of 3.7 kB, 0 %, 1 B/s, 1:02:05 left");
    shown.update(1, 400'000);
    EXPECT_EQ(shown.line(), "1 B of 400.0 kB, 0 %, 1 B/s");
}

struct Row {
    const char* label;
    std::int64_t bytes;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class FormatBytesTest : public ::testing::TestWithParam<Row> {};

TEST_P(FormatBytesTest, UsesDecimalUnits) {
    EXPECT_EQ(formatBytes(GetParam().bytes), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         FormatBytesTest,
                         ::testing::Values(Row{"Nothing", 0, "0 B"},
                                           Row{"Bytes", 999, "999 B"},
                                           Row{"OneKilobyte", 1000, "1.0 kB"},
                                           Row{"CutOffNotRounded", 1999, "1.9 kB"},
                                           Row{"BelowAMegabyte", 999'999, "999.9 kB"},
                                           Row{"Megabyte", 1'000'000, "1.0 MB"},
                                           Row{"Gigabytes", 12'345'678'901, "12.3 GB"},
                                           Row{"Largest", std::numeric_limits<std::int64_t>::max(),
                                               "9.2 EB"}),
                         [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool
