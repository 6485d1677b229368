#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/log/basic_diagnostic_logger.h>

#include <boost/log/core/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <iomanip>
#include <latch>
#include <locale>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace foundation::log {
namespace {

using httpclient_core::testing::LogCapture;
using httpclient_core::testing::LogRecord;
using httpclient_core::testing::throwsExactly;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Logger = basic_diagnostic_logger<char>;

// Installs a sink while it lives.
template <class Frontend>
class InstalledSink {
public:
    InstalledSink() { boost::log::core::get()->add_sink(sink_); }
    InstalledSink(const InstalledSink&) = delete;
    InstalledSink& operator=(const InstalledSink&) = delete;
    ~InstalledSink() { boost::log::core::get()->remove_sink(sink_); }
    Frontend& operator*() const { return *sink_; }

private:
    boost::shared_ptr<Frontend> sink_ = boost::make_shared<Frontend>();
};

TEST(BasicDiagnosticLoggerTest, WritesARecordWithChannelSeverityAndText) {
    const LogCapture log;
    Logger logger("my::channel");
    logger.log(16, [](std::ostream& os) { os << "value = " << 42; });
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"my::channel", 16, "value = 42"}));
}

TEST(BasicDiagnosticLoggerTest, BeginsWithEverySeverityEnabled) {
    const Logger logger("c");
    EXPECT_EQ(logger.channel(), "c");
    EXPECT_EQ(Logger::filter_bits, 0x7fffU);
    EXPECT_EQ(logger.filter_mask(), 0x7fffU);
    for (unsigned bit = 0; bit < 15; ++bit) {
        EXPECT_TRUE(logger.enabled(1U << bit)) << bit;
    }
}

TEST(BasicDiagnosticLoggerTest, IsNotCopied) {
    static_assert(!std::is_copy_constructible_v<Logger>);
    static_assert(!std::is_move_constructible_v<Logger>);
    static_assert(!std::is_copy_assignable_v<Logger>);
    static_assert(!std::is_convertible_v<std::string, Logger>);
}

struct MaskRow {
    const char* label;
    std::uint32_t mask;
    std::uint32_t severity;
    bool enabled;
    friend std::ostream& operator<<(std::ostream& os, const MaskRow& row) {
        return os << row.label;
    }
};

class BasicDiagnosticLoggerMaskTest : public ::testing::TestWithParam<MaskRow> {};

TEST_P(BasicDiagnosticLoggerMaskTest, EnablesByCommonBits) {
    const LogCapture log;
    Logger logger("c");
    logger.set_filter_mask(GetParam().mask);
    EXPECT_EQ(logger.filter_mask(), GetParam().mask);
    EXPECT_EQ(logger.enabled(GetParam().severity), GetParam().enabled);
    int calls = 0;
    logger.log(GetParam().severity, [&](std::ostream&) { ++calls; });
    EXPECT_EQ(calls, GetParam().enabled ? 1 : 0);
    EXPECT_THAT(log.records(), SizeIs(GetParam().enabled ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    BasicDiagnosticLoggerMaskTest,
    ::testing::Values(MaskRow{"Same", 512, 512, true},
                      MaskRow{"Other", 512, 4, false},
                      MaskRow{"OneOfSeveral", 4 | 16, 16 | 512, true},
                      MaskRow{"NoneOfSeveral", 4 | 16, 1 | 512, false},
                      MaskRow{"NothingEnabled", 0, 0x7fff, false},
                      MaskRow{"NoSeverity", 0x7fff, 0, false},
                      MaskRow{"HighestBit", 0x4000, 0x4000, true},
                      MaskRow{"BitsAboveDoNotCount", 0xffff8000, 0xffff8000, false},
                      MaskRow{"LowBitsCountBesideThem", 0xffffffff, 0x80000004, true}),
    [](const auto& row) { return row.param.label; });

TEST(BasicDiagnosticLoggerTest, TextIsPassedOnUnchanged) {
    const LogCapture log;
    Logger logger("c");
    const std::string text = "<a>\n\r\n\t\"%s\" \xC3\xA9\xFF\n";
    logger.log(4, [&](std::ostream& os) { os << text; });
    logger.log(4, [](std::ostream&) {});
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, text}, LogRecord{"c", 4, ""}));
}

TEST(BasicDiagnosticLoggerTest, NumbersAreNotGroupedByTheGlobalLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        char do_decimal_point() const override { return ';'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const LogCapture log;
    Logger logger("c");
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    logger.log(4, [](std::ostream& os) { os << 1234567 << ' ' << -1000L << ' ' << 1.5; });
    std::locale::global(before);
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, "1234567 -1000 1.5"}));
}

TEST(BasicDiagnosticLoggerTest, FormatOfOneRecordDoesNotReachTheNext) {
    const LogCapture log;
    Logger logger("c");
    logger.log(4, [](std::ostream& os) {
        os << std::hex << std::showbase << std::setfill('*') << 255 << std::setw(6);
    });
    logger.log(4, [](std::ostream& os) { os << 255 << std::setw(4) << 1; });
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{"c", 4, "0xff"}, LogRecord{"c", 4, "255   1"}));
}

TEST(BasicDiagnosticLoggerTest, TakesEveryKindOfWriter) {
    const LogCapture log;
    Logger logger("c");
    struct MoveOnly {
        std::unique_ptr<int> number;
        void operator()(std::ostream& os) const { os << *number; }
    };
    logger.log(4, MoveOnly{std::make_unique<int>(7)});
    const auto constant = [](std::ostream& os) { os << "constant"; };
    logger.log(4, constant);
    auto counting = [count = 0](std::ostream& os) mutable { os << ++count; };
    logger.log(4, counting);
    logger.log(4, counting);
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, "7"}, LogRecord{"c", 4, "constant"},
                                           LogRecord{"c", 4, "1"}, LogRecord{"c", 4, "2"}));
}

TEST(BasicDiagnosticLoggerTest, DisabledCoreCallsNoWriter) {
    const LogCapture log;
    Logger logger("c");
    int calls = 0;
    boost::log::core::get()->set_logging_enabled(false);
    logger.log(4, [&](std::ostream&) { ++calls; });
    boost::log::core::get()->set_logging_enabled(true);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(logger.enabled(4));
    EXPECT_THAT(log.records(), IsEmpty());
}

struct RefusingBackend
    : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
    void consume(const boost::log::record_view&) { ++consumed; }
    int consumed = 0;
};

TEST(BasicDiagnosticLoggerTest, RecordThatNoSinkTakesCallsNoWriter) {
    const InstalledSink<boost::log::sinks::synchronous_sink<RefusingBackend>> sink;
    (*sink).set_filter(boost::log::expressions::attr<int>("Severity") > 4);
    Logger logger("c");
    int calls = 0;
    logger.log(4, [&](std::ostream&) { ++calls; });
    EXPECT_EQ(calls, 0);
    logger.log(8, [&](std::ostream&) { ++calls; });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ((*sink).locked_backend()->consumed, 1);
}

TEST(BasicDiagnosticLoggerTest, LoggersOfOneNameAreIndependent) {
    const LogCapture log;
    Logger first("c");
    Logger second("c");
    first.set_filter_mask(0);
    first.log(4, [](std::ostream& os) { os << "first"; });
    second.log(4, [](std::ostream& os) { os << "second"; });
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, "second"}));
}

TEST(BasicDiagnosticLoggerTest, WriterMayLogToAnotherLogger) {
    const LogCapture log;
    Logger outer("outer");
    Logger inner("inner");
    outer.log(16, [&](std::ostream& os) {
        inner.log(4, [](std::ostream& text) { text << "in"; });
        os << "out";
    });
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{"inner", 4, "in"}, LogRecord{"outer", 16, "out"}));
}

TEST(BasicDiagnosticLoggerTest, ExceptionOfAWriterEscapesAndReleasesTheLock) {
    const LogCapture log;
    Logger logger("c");
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] {
            logger.log(4, [](std::ostream& os) {
                os << "half";
                throw std::runtime_error("writer");
            });
        },
        "writer"));
    EXPECT_THAT(log.records(), IsEmpty());
    logger.log(4, [](std::ostream& os) { os << "next"; });
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, "next"}));
}

struct ThrowingBackend
    : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
    static void consume(const boost::log::record_view&) { throw std::runtime_error("sink"); }
};

TEST(BasicDiagnosticLoggerTest, ExceptionOfASinkEscapesAndReleasesTheLock) {
    Logger logger("c");
    const auto write = [&] { logger.log(4, [](std::ostream& os) { os << "text"; }); };
    {
        const InstalledSink<boost::log::sinks::synchronous_sink<ThrowingBackend>> sink;
        EXPECT_TRUE(throwsExactly<std::runtime_error>(write, "sink"));
        // A lock that was not released would hold this call for ever.
        EXPECT_TRUE(throwsExactly<std::runtime_error>(write, "sink"));
    }
    const LogCapture log;
    write();
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, "text"}));
}

TEST(BasicDiagnosticLoggerTest, ExceptionOfAFilterEscapesAndReleasesTheLock) {
    const LogCapture log;
    Logger logger("c");
    const auto write = [&] { logger.log(4, [](std::ostream& os) { os << "text"; }); };
    boost::log::core::get()->set_filter(
        [](const boost::log::attribute_value_set&) -> bool { throw std::runtime_error("filter"); });
    EXPECT_TRUE(throwsExactly<std::runtime_error>(write, "filter"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>(write, "filter"));
    boost::log::core::get()->reset_filter();
    EXPECT_THAT(log.records(), IsEmpty());
    write();
    EXPECT_THAT(log.records(), ElementsAre(LogRecord{"c", 4, "text"}));
}

// Takes records without a lock of its own and notes whether two ever came at once.
struct UnlockedBackend
    : boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding> {
    void consume(const boost::log::record_view&) {
        overlapped = overlapped || inside.fetch_add(1) != 0;
        std::this_thread::yield();
        inside.fetch_sub(1);
        count.fetch_add(1);
    }
    std::atomic<int> inside{0};
    std::atomic<int> count{0};
    std::atomic<bool> overlapped{false};
};

TEST(BasicDiagnosticLoggerTest, RecordsOfOneLoggerAreDeliveredOneAfterTheOther) {
    const InstalledSink<boost::log::sinks::unlocked_sink<UnlockedBackend>> sink;
    Logger logger("c");
    constexpr int threadCount = 4;
    std::latch start(threadCount);
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int record = 0; record < 100; ++record) {
                logger.log(4, [](std::ostream& os) { os << "text"; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ((*sink).locked_backend()->count, threadCount * 100);
    EXPECT_FALSE((*sink).locked_backend()->overlapped);
}

TEST(BasicDiagnosticLoggerTest, EachThreadsRecordsKeepTheirSeverity) {
    const LogCapture log;
    Logger logger("c");
    std::latch start(3);
    std::vector<std::thread> threads;
    for (const std::uint32_t severity : {4U, 16U, 512U}) {
        threads.emplace_back([&, severity] {
            start.arrive_and_wait();
            for (int record = 0; record < 100; ++record) {
                logger.log(severity, [&](std::ostream& os) { os << severity; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(log.records(), SizeIs(300));
    for (const LogRecord& record : log.records()) {
        EXPECT_EQ(record.text, std::to_string(record.severity));
    }
}

TEST(BasicDiagnosticLoggerTest, MaskMayChangeWhileOthersLog) {
    const LogCapture log;
    Logger logger("c");
    std::latch start(2);
    std::thread writer([&] {
        start.arrive_and_wait();
        for (int record = 0; record < 500; ++record) {
            logger.log(4, [](std::ostream& os) { os << "text"; });
        }
    });
    start.arrive_and_wait();
    for (int change = 0; change < 500; ++change) {
        logger.set_filter_mask(change % 2 == 0 ? 0 : 4);
    }
    writer.join();
    EXPECT_THAT(log.records(), Each(LogRecord{"c", 4, "text"}));
    EXPECT_EQ(logger.filter_mask(), 4U);
}

}  // namespace
}  // namespace foundation::log
