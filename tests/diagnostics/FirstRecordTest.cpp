#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using testing::LogCapture;
using testing::LogRecord;
using ::testing::UnorderedElementsAreArray;

// In a program of its own: nothing has used a channel when the threads begin.
TEST(FirstRecordTest, ManyThreadsAtOnceConstructOneLoggerAndLoseNoRecord) {
    constexpr int threadCount = 8;
    constexpr int recordsPerThread = 50;
    const LogCapture log;
    std::latch start(threadCount);
    std::vector<const void*> loggers(threadCount, nullptr);
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            const NameValueCollection fields;
            start.arrive_and_wait();
            for (int record = 0; record < recordsPerThread; ++record) {
                EXPECT_THROW(fields.get(std::to_string(number) + "." + std::to_string(record)),
                             std::out_of_range);
            }
            loggers[static_cast<std::size_t>(number)] = &coreChannel();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::vector<LogRecord> expected;
    for (int number = 0; number < threadCount; ++number) {
        EXPECT_EQ(loggers[static_cast<std::size_t>(number)], &coreChannel());
        for (int record = 0; record < recordsPerThread; ++record) {
            expected.push_back(coreRecord(
                512, std::to_string(number) + "." + std::to_string(record) + " not found."));
        }
    }
    EXPECT_THAT(log.records(), UnorderedElementsAreArray(expected));
}

}  // namespace
}  // namespace foundation::httpclient_core
