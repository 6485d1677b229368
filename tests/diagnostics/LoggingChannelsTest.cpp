#include "diagnostics/Log.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <boost/log/core/core.hpp>
#include <boost/log/expressions.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <ostream>
#include <stdexcept>
#include <string>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using testing::LogRecord;
using testing::throwsExactly;

using Logger = foundation::log::basic_diagnostic_logger<char>;

// Puts the mask of the core channel back, whatever a test makes of it.
class LoggingChannelsTest : public ::testing::Test {
protected:
    ~LoggingChannelsTest() override { coreChannel().set_filter_mask(Logger::filter_bits); }
};

TEST_F(LoggingChannelsTest, HostReceivesWhatTheMaskLetsThrough) {
    const LogCapture log;
    coreChannel().set_filter_mask(SEVERITY_ERROR | SEVERITY_CAUGHT);
    HCC_LOG(SEVERITY_PROGRESS, "not written");
    HCC_LOG(SEVERITY_ERROR, "written");
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{"foundation::httpclient_core", 512, "written"}));
}

TEST_F(LoggingChannelsTest, SeveritiesHaveTheirNumbers) {
    EXPECT_EQ(SEVERITY_PROGRESS, 4U);
    EXPECT_EQ(SEVERITY_CAUGHT, 16U);
    EXPECT_EQ(SEVERITY_ERROR, 512U);
}

TEST_F(LoggingChannelsTest, ChannelsHaveTheirNamesAndLetEverythingThrough) {
    EXPECT_EQ(coreChannel().channel(), "foundation::httpclient_core");
    EXPECT_EQ(webSocketChannel().channel(), "foundation::httpclient_core::websocket");
    EXPECT_EQ(coreChannel().filter_mask(), 0x7fffU);
    EXPECT_EQ(webSocketChannel().filter_mask(), 0x7fffU);
}

TEST_F(LoggingChannelsTest, EveryCallGivesTheSameLogger) {
    EXPECT_EQ(&coreChannel(), &coreChannel());
    EXPECT_EQ(&webSocketChannel(), &webSocketChannel());
    EXPECT_NE(&coreChannel(), &webSocketChannel());
}

TEST_F(LoggingChannelsTest, WebSocketChannelIsAChannelOfItsOwn) {
    const LogCapture log;
    coreChannel().set_filter_mask(0);
    webSocketChannel().log(SEVERITY_PROGRESS, [](std::ostream& os) { os << "ping"; });
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{"foundation::httpclient_core::websocket", 4, "ping"}));
}

TEST_F(LoggingChannelsTest, MissingNameStillThrowsWhenItsSeverityIsDisabled) {
    const LogCapture log;
    const NameValueCollection fields{{"a", "1"}};
    coreChannel().set_filter_mask(Logger::filter_bits & ~SEVERITY_ERROR);
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { fields.get("X"); }, "X not found."));
    EXPECT_THAT(log.records(), IsEmpty());
    coreChannel().set_filter_mask(Logger::filter_bits);
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { fields.get("X"); }, "X not found."));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, "X not found.")));
}

TEST_F(LoggingChannelsTest, BracketsAndLineBreaksAreWrittenUnchanged) {
    const LogCapture log;
    const std::string text = "Missing <:> in \"<No\r\nColon>\"\n%s\t\\ \xC3\xA9";
    HCC_LOG(SEVERITY_PROGRESS, text);
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, text)));
}

TEST_F(LoggingChannelsTest, PiecesAreWrittenInOrder) {
    const LogCapture log;
    const std::string name = "name";
    HCC_LOG(SEVERITY_PROGRESS, "a " << name << ' ' << -1 << " <" << 18446744073709551615U << '>');
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, "a name -1 <18446744073709551615>")));
}

TEST_F(LoggingChannelsTest, EmptyMessageIsARecord) {
    const LogCapture log;
    HCC_LOG(SEVERITY_PROGRESS, "");
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, "")));
}

TEST_F(LoggingChannelsTest, DisabledSeverityEvaluatesNothing) {
    const LogCapture log;
    int evaluated = 0;
    coreChannel().set_filter_mask(SEVERITY_CAUGHT);
    HCC_LOG(SEVERITY_PROGRESS, ++evaluated);
    HCC_LOG(SEVERITY_ERROR, ++evaluated);
    HCC_LOG(0, ++evaluated);
    EXPECT_EQ(evaluated, 0);
    HCC_LOG(SEVERITY_CAUGHT, ++evaluated);
    EXPECT_EQ(evaluated, 1);
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(16, "1")));
}

TEST_F(LoggingChannelsTest, DisabledCoreEvaluatesNothing) {
    const LogCapture log;
    int evaluated = 0;
    boost::log::core::get()->set_logging_enabled(false);
    HCC_LOG(SEVERITY_ERROR, ++evaluated);
    boost::log::core::get()->set_logging_enabled(true);
    EXPECT_EQ(evaluated, 0);
    EXPECT_THAT(log.records(), IsEmpty());
    HCC_LOG(SEVERITY_ERROR, ++evaluated);
    EXPECT_EQ(evaluated, 1);
}

TEST_F(LoggingChannelsTest, FilterOfTheHostSeesChannelAndSeverityAndEvaluatesNothing) {
    namespace expr = boost::log::expressions;
    const LogCapture log;
    int evaluated = 0;
    boost::log::core::get()->set_filter(expr::attr<std::string>("Channel") ==
                                            "foundation::httpclient_core" &&
                                        expr::attr<int>("Severity") >= 512);
    HCC_LOG(SEVERITY_PROGRESS, ++evaluated);
    webSocketChannel().log(SEVERITY_ERROR, [&](std::ostream& os) { os << ++evaluated; });
    EXPECT_EQ(evaluated, 0);
    HCC_LOG(SEVERITY_ERROR, "passes");
    boost::log::core::get()->reset_filter();
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, "passes")));
}

TEST_F(LoggingChannelsTest, MacroIsOneStatement) {
    const LogCapture log;
    bool otherwise = false;
    if (log.records().empty()) {
        HCC_LOG(SEVERITY_PROGRESS, "then");
    } else {
        otherwise = true;
    }
    EXPECT_FALSE(otherwise);
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, "then")));
}

TEST_F(LoggingChannelsTest, CaughtExceptionsAreWrittenWithTheirCauses) {
    const LogCapture log;
    try {
        try {
            throw std::runtime_error("inner <1>");
        } catch (...) {
            std::throw_with_nested(std::logic_error("outer"));
        }
    } catch (...) {
        HCC_LOG_CAUGHT();
    }
    try {
        throw 42;
    } catch (...) {
        HCC_LOG_CAUGHT();
    }
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(16, "Exception caught: outer; caused by: inner <1>"),
                            coreRecord(16, "Exception caught: unknown exception")));
}

TEST_F(LoggingChannelsTest, ThrowLoggedWritesFirstAndThrowsTheSameText) {
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::invalid_argument>(
        [] { diagnostics::throwLogged<std::invalid_argument>(SEVERITY_PROGRESS, "a <text>\n"); },
        "a <text>\n"));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, "a <text>\n")));
}

TEST_F(LoggingChannelsTest, MaskChangesReachTheLibraryAtOnce) {
    const LogCapture log;
    for (int round = 0; round < 3; ++round) {
        coreChannel().set_filter_mask(0);
        HCC_LOG(SEVERITY_ERROR, "never");
        coreChannel().set_filter_mask(0xffffffff);
        HCC_LOG(SEVERITY_ERROR, round);
    }
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(512, "0"), coreRecord(512, "1"), coreRecord(512, "2")));
}

}  // namespace
}  // namespace foundation::httpclient_core
