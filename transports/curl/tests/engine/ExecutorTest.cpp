#include "engine/Executor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace std::chrono_literals;

class ExecutorTest : public ::testing::TestWithParam<bool> {
protected:
    ~ExecutorTest() override { executor_->stop(); }

    // By the way that the parameter names.
    void give(std::vector<Executor::Task> tasks) {
        if (GetParam()) {
            executor_->offer(std::move(tasks));
        } else {
            executor_->post(std::move(tasks));
        }
    }
    void give(Executor::Task task) {
        std::vector<Executor::Task> one;
        one.push_back(std::move(task));
        give(std::move(one));
    }

    std::shared_ptr<Executor> executor_ = std::make_shared<Executor>();
};

INSTANTIATE_TEST_SUITE_P(Ways, ExecutorTest, ::testing::Bool(), [](const auto& way) {
    return way.param ? "Offered" : "Posted";
});

TEST_P(ExecutorTest, RunsEveryTaskOnceOnAnotherThread) {
    std::atomic<int> runs = 0;
    std::atomic<int> runsHere = 0;
    const std::thread::id here = std::this_thread::get_id();
    for (int i = 0; i < 1000; ++i) {
        give([&] {
            ++runs;
            runsHere += std::this_thread::get_id() == here ? 1 : 0;
        });
    }
    executor_->drain();
    EXPECT_EQ(runs, 1000);
    EXPECT_EQ(runsHere, 0);
}

TEST_P(ExecutorTest, TaskMayWaitForAnyThatCameLater) {
    constexpr std::size_t count = 30;
    std::vector<std::promise<void>> begun(count + 1);
    for (std::size_t i = 0; i < count; ++i) {
        give([&begun, i] {
            begun[i].set_value();
            begun[i + 1].get_future().wait();
        });
    }
    EXPECT_EQ(begun[0].get_future().wait_for(10s), std::future_status::ready);
    begun[count].set_value();
    executor_->drain();
}

TEST_P(ExecutorTest, TasksOfOneCallMayAllWaitForEachOther) {
    constexpr int count = 40;
    std::latch all(count);
    std::vector<Executor::Task> tasks(count, [&all] { all.arrive_and_wait(); });
    give(std::move(tasks));
    executor_->drain();
    EXPECT_TRUE(all.try_wait());
}

// Quick tasks keep one thread busy while others block for good.
TEST_P(ExecutorTest, BlockedTasksHoldUpNoneAmongManyQuickOnes) {
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    std::atomic<int> quick = 0;
    for (int round = 0; round < 10; ++round) {
        give([released] { released.wait(); });
        for (int i = 0; i < 100; ++i) {
            give([&quick] { ++quick; });
        }
    }
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (quick < 1000 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(quick, 1000);
    release.set_value();
    executor_->drain();
}

TEST_P(ExecutorTest, DropsWhatATaskThrows) {
    bool ran = false;
    give([] { throw std::runtime_error("nobody hears of it"); });
    executor_->drain();
    give([&ran] { ran = true; });
    executor_->drain();
    EXPECT_TRUE(ran);
}

TEST_P(ExecutorTest, DrainCalledByATaskWaitsForTheOthers) {
    std::atomic<int> runs = 0;
    std::promise<int> seen;
    give([&] {
        for (int i = 0; i < 50; ++i) {
            give([&runs] { ++runs; });
        }
        executor_->drain();
        seen.set_value(runs);
    });
    EXPECT_EQ(seen.get_future().get(), 50);
}

TEST_P(ExecutorTest, WhatComesAfterTheEndRunsOnTheCallersThread) {
    give([] {});
    executor_->drain();
    executor_->stop();
    std::thread::id where;
    give([&where] { where = std::this_thread::get_id(); });
    EXPECT_EQ(where, std::this_thread::get_id());
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
