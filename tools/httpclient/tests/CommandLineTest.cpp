#include "tools/httpclient/CommandLine.h"
#include "tools/httpclient/tests/FailsWith.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <foundation/httpclient_core/Version.h>

#include <gtest/gtest.h>

#include <ostream>

namespace foundation::httpclient_tool {
namespace {

using Arguments = std::vector<std::string>;

RequestOptions parseGet(const Arguments& arguments) {
    return std::get<RequestOptions>(parseCommandLine(arguments));
}

std::string information(const Arguments& arguments) {
    return std::get<Information>(parseCommandLine(arguments)).text;
}

TEST(CommandLineTest, ReadsUrlAndOutput) {
    const RequestOptions options = parseGet({"get", "http://h/x", "-o", "x.bin"});
    EXPECT_EQ(options.method, httpclient_core::HttpMethod::GET);
    EXPECT_EQ(options.urls, Arguments{"http://h/x"});
    EXPECT_EQ(options.output, "x.bin");
    EXPECT_EQ(options.retries, 8);
    EXPECT_FALSE(options.maxTime.has_value());
    EXPECT_EQ(options.certificateFile, "");
    EXPECT_FALSE(options.quiet);
    EXPECT_FALSE(options.verbose);
}

TEST(CommandLineTest, ReadsEveryOptionInAnyOrder) {
    const testing::TemporaryFolder folder;
    folder.write("ca.pem", "");
    const RequestOptions options =
        parseGet({"get", "--cacert", folder / "ca.pem", "--max-time", "1.5", "--retries", "0", "-v",
                  "http://h/", "--output=y"});
    EXPECT_EQ(options.certificateFile, folder / "ca.pem");
    EXPECT_EQ(options.maxTime, std::chrono::milliseconds(1500));
    EXPECT_EQ(options.retries, 0);
    EXPECT_TRUE(options.verbose);
    EXPECT_EQ(options.output, "y");
    EXPECT_TRUE(parseGet({"get", "-q", "http://h/"}).quiet);
}

TEST(CommandLineTest, ADashIsStandardOutput) {
    EXPECT_EQ(parseGet({"get", "http://h/", "-o", "-"}).output, "");
}

TEST(CommandLineTest, PrintsTheVersion) {
    EXPECT_EQ(information({"--version"}), "httpclient " FOUNDATION_HTTPCLIENT_VERSION "\n");
}

TEST(CommandLineTest, HelpTellsOptionsAndExitCodes) {
    EXPECT_NE(information({"--help"}).find("get "), std::string::npos);
    const std::string text = information({"get", "--help"});
    for (const char* expected : {"-o,--output FILE", "--retries N", "--max-time SECONDS",
                                 "--cacert FILE",    "-q,--quiet",  "-v,--verbose",
                                 "-H,--header",      "-C,--resume", "--retry-deadline SECONDS",
                                 "--json",           "--explain",   "    0  ",
                                 "    1  ",          "    2  ",     "    3  ",
                                 "    4  ",          "    5  ",     "    6  ",
                                 "    7  ",          "    8  ",     "    9  ",
                                 "   64  ",          "  130  "}) {
        EXPECT_NE(text.find(expected), std::string::npos) << expected << "\n" << text;
    }
}

struct Row {
    const char* label;
    Arguments arguments;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class WrongUsageTest : public ::testing::TestWithParam<Row> {};

TEST_P(WrongUsageTest, IsAUsageErrorInOneLine) {
    try {
        parseCommandLine(GetParam().arguments);
        FAIL() << "accepted";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), ExitCode::Usage);
        const std::string text = failure.what();
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    WrongUsageTest,
    ::testing::Values(Row{"Nothing", {}},
                      Row{"NoUrl", {"get"}},
                      Row{"UnknownCommand", {"fetch", "http://h/"}},
                      Row{"UnknownOption", {"get", "http://h/", "--insecure"}},
                      Row{"TwoUrls", {"get", "http://h/", "http://i/"}},
                      Row{"OutputWithoutFile", {"get", "http://h/", "-o"}},
                      Row{"EmptyOutput", {"get", "http://h/", "-o", ""}},
                      Row{"TwoOutputs", {"get", "http://h/", "-o", "a", "-o", "b"}},
                      Row{"RetriesNoNumber", {"get", "http://h/", "--retries", "many"}},
                      Row{"RetriesNegative", {"get", "http://h/", "--retries", "-1"}},
                      Row{"RetriesTooMany", {"get", "http://h/", "--retries", "1001"}},
                      Row{"MaxTimeZero", {"get", "http://h/", "--max-time", "0"}},
                      Row{"MaxTimeNoNumber", {"get", "http://h/", "--max-time", "soon"}},
                      Row{"CertificatesMissing",
                          {"get", "http://h/", "--cacert", "/nonexistent/ca.pem"}},
                      Row{"QuietAndVerbose", {"get", "http://h/", "-q", "-v"}}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool
