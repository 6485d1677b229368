#include "command/CommandLine.h"
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

TEST(CommandLineTest, ReadsTheOptionsOfRequests) {
    const RequestOptions options = parseGet({"get",
                                             "http://h/a",
                                             "http://h/b",
                                             "-O",
                                             "-C",
                                             "-H",
                                             "A: 1",
                                             "-H",
                                             "B:",
                                             "--header",
                                             "C:  x y \t",
                                             "--retry-deadline",
                                             "60",
                                             "--connect-timeout",
                                             "0.5",
                                             "--idle-timeout",
                                             "2",
                                             "--max-redirects",
                                             "0",
                                             "--proxy",
                                             "http://u:p@proxy:1",
                                             "--unix-socket",
                                             "/s",
                                             "--parallel",
                                             "4",
                                             "--json",
                                             "--explain",
                                             "-i",
                                             "-q"});
    EXPECT_EQ(options.urls, (Arguments{"http://h/a", "http://h/b"}));
    EXPECT_TRUE(options.remoteName);
    EXPECT_TRUE(options.resume);
    EXPECT_EQ(options.headers, (std::vector<std::pair<std::string, std::string>>{
                                   {"A", "1"}, {"B", ""}, {"C", "x y"}}));
    EXPECT_EQ(options.retryDeadline, std::chrono::milliseconds(60'000));
    EXPECT_EQ(options.connectTimeout, std::chrono::milliseconds(500));
    EXPECT_EQ(options.idleTimeout, std::chrono::milliseconds(2000));
    EXPECT_EQ(options.maxRedirects, 0);
    EXPECT_EQ(options.proxy, "http://u:p@proxy:1");
    EXPECT_EQ(options.unixSocket, "/s");
    EXPECT_EQ(options.parallel, 4);
    EXPECT_TRUE(options.json && options.explain && options.includeHead && options.quiet);
    EXPECT_TRUE(options.hasHeader("a"));
    EXPECT_FALSE(options.hasHeader("AB"));
}

TEST(CommandLineTest, ReadsBodies) {
    EXPECT_EQ(parseGet({"post", "http://h/", "-d", "@-"}).data, "@-");
    EXPECT_EQ(parseGet({"put", "http://h/", "-d", ""}).data, "");
    EXPECT_EQ(parseGet({"patch", "http://h/", "-F", "a=1", "-F", "b=@f"}).form,
              (Arguments{"a=1", "b=@f"}));
    EXPECT_EQ(parseGet({"delete", "http://h/"}).method, httpclient_core::HttpMethod::DELETE);
    EXPECT_EQ(parseGet({"head", "http://h/", "http://i/"}).method,
              httpclient_core::HttpMethod::HEAD);
}

TEST(CommandLineTest, BracketsAndCommasAreText) {
    const RequestOptions options =
        parseGet({"post", "http://h/", "-d", "[1,2]", "-H", "A: [x, y]"});
    EXPECT_EQ(options.data, "[1,2]");
    EXPECT_EQ(options.headers.at(0).second, "[x, y]");
    EXPECT_EQ(parseGet({"post", "http://h/", "-F", "[a=1,b]"}).form, Arguments{"[a=1,b]"});
    EXPECT_EQ(parseGet({"post", "http://h/", "--data=-x"}).data, "-x");
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

TEST(CommandLineTest, EachCommandTellsTheVersion) {
    const std::string version = information({"--version"});
    EXPECT_EQ(version.rfind("httpclient ", 0), 0U);
    for (const char* command : {"get", "head", "put", "post", "delete", "patch"}) {
        EXPECT_EQ(information({command, "--version"}), version);
    }
}

TEST(CommandLineTest, NamesTheOptionThatThereIsNot) {
    EXPECT_TRUE(testing::failsWith(ExitCode::Usage,
                                   "there is no option --heade (see httpclient --help)",
                                   [] { parseCommandLine({"get", "http://h/", "--heade=A: b"}); }));
    EXPECT_TRUE(testing::failsWith(
        ExitCode::Usage, "--parallel: takes a number, 1 to 64 (see httpclient --help)",
        [] { parseCommandLine({"get", "http://h/", "--parallel", "x"}); }));
    EXPECT_TRUE(testing::failsWith(ExitCode::Usage, "there is no option -Z (see httpclient --help)",
                                   [] { parseCommandLine({"get", "http://h/", "-Zvalue"}); }));
}

TEST(CommandLineTest, TakesEveryNameThatAHeaderMayHave) {
    const std::string name = "AZaz09!#$%&'*+-.^_`|~";
    const RequestOptions options = parseGet({"get", "http://h/", "-H", name + ": a\tb"});
    EXPECT_EQ(options.headers, (std::vector<std::pair<std::string, std::string>>{{name, "a\tb"}}));
}

TEST(CommandLineTest, HelpKnowsThatHeadNeedsNoFiles) {
    EXPECT_EQ(information({"head", "--help"}).find("several need -O"), std::string::npos);
    EXPECT_NE(information({"get", "--help"}).find("several need -O"), std::string::npos);
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
        EXPECT_EQ(text.find("secret"), std::string::npos) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    WrongUsageTest,
    ::testing::Values(
        Row{"Nothing", {}},
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
        Row{"MaxTimeNotANumber", {"get", "http://h/", "--max-time", "nan"}},
        Row{"MaxTimeForEver", {"get", "http://h/", "--max-time", "inf"}},
        Row{"MaxTimeTooLong", {"get", "http://h/", "--max-time", "1e10"}},
        Row{"MaxTimeNoNumber", {"get", "http://h/", "--max-time", "soon"}},
        Row{"CertificatesMissing", {"get", "http://h/", "--cacert", "/nonexistent/ca.pem"}},
        Row{"OutputAndRemoteName", {"get", "http://h/", "-o", "a", "-O"}},
        Row{"SeveralUrlsInOneFile", {"get", "http://h/", "http://i/", "-o", "a"}},
        Row{"ResumeToStandardOutput", {"get", "http://h/", "-C"}},
        Row{"ResumeWithARange", {"get", "http://h/", "-C", "-o", "a", "-H", "range: bytes=1-"}},
        Row{"ResumeOfAPost", {"post", "http://h/", "-C", "-o", "a"}},
        Row{"JsonBesideTheBody", {"get", "http://h/", "--json"}},
        Row{"BodyOfAGet", {"get", "http://h/", "-d", "x"}},
        Row{"BodyOfAHead", {"head", "http://h/", "-d", "x"}},
        Row{"FileOfAHead", {"head", "http://h/", "-o", "x"}},
        Row{"BodyAndForm", {"post", "http://h/", "-d", "x", "-F", "a=1"}},
        Row{"FormWithItsOwnType", {"post", "http://h/", "-F", "a=1", "-H", "content-type: a/b"}},
        Row{"StandardInputToTwo", {"post", "http://h/a", "http://h/b", "-O", "-d", "@-"}},
        Row{"MisspeltHeader", {"get", "http://h/", "--heade=A: secret"}},
        Row{"MisspeltShortOption", {"get", "http://h/", "-Zsecret"}},
        Row{"HeaderForANumber", {"get", "http://h/", "--retries", "A: secret"}},
        Row{"HeaderForATime", {"get", "http://h/", "--max-time", "A: secret"}},
        Row{"HeaderForAFlag", {"get", "http://h/", "--json=secret"}},
        Row{"NumberForAFlag", {"get", "http://h/", "--explain=5"}},
        Row{"HeaderWithoutColon", {"get", "http://h/", "-H", "secret"}},
        Row{"HeaderWithoutName", {"get", "http://h/", "-H", ": secret"}},
        Row{"HeaderNameWithBlank", {"get", "http://h/", "-H", "a b: secret"}},
        Row{"HeaderNameWithControl", {"get", "http://h/", "-H", "a\x7F: secret"}},
        Row{"HeaderWithDelete", {"get", "http://h/", "-H", "A: secret\x7F"}},
        Row{"HeaderWithLineEnd", {"get", "http://h/", "-H", "A: 1\r\nB: secret"}},
        Row{"NoParallel", {"get", "http://h/", "--parallel", "0"}},
        Row{"TooParallel", {"get", "http://h/", "--parallel", "65"}},
        Row{"QuietAndVerbose", {"get", "http://h/", "-q", "-v"}}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool
