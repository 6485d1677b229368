#include "tools/httpclient/Tool.h"
#include "tools/httpclient/tests/ScriptedClient.h"
#include "tools/httpclient/tests/SmallFilesOnly.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/Version.h>

#include <boost/log/core/core.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;
using testing::answer;
using ::testing::ElementsAre;
using testing::failWith;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::Script;
using testing::serve;
using testing::serveThenBreak;

class ToolTest : public ::testing::Test {
protected:
    ~ToolTest() override { std::fclose(standardOutput_); }

    // Runs `httpclient get http://example.test/f?token=secret` with more arguments.
    ExitCode get(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments = {"get", "http://example.test/f?token=secret"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runWith(arguments);
    }

    ExitCode getFile(std::vector<std::string> more = {}) {
        more.insert(more.end(), {"-o", (folder_ / "f").string()});
        return get(std::move(more));
    }

    ExitCode runWith(const std::vector<std::string>& arguments) {
        ErrorOutput errors(errorStream_, isTerminal_);
        Environment environment{.makeClient =
                                    [this](httpclient_curl::CurlClientOptions options) {
                                        ++clients_;
                                        return std::make_unique<testing::ScriptedClient>(
                                            script_, std::move(options.attemptObserver));
                                    },
                                .standardOutput = ::fileno(standardOutput_),
                                .errors = errors,
                                .interrupts = interrupts_,
                                .standardInput = -1};
        return run(arguments, environment);
    }

    std::string errors() const { return errorStream_.str(); }

    std::string output() const {
        std::string text(1'000'000, '\0');
        const ssize_t size = ::pread(::fileno(standardOutput_), text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(size));
        return text;
    }

    // Nothing published, one line on standard error.
    void expectFailure(ExitCode code, const std::string& text, std::vector<std::string> more = {}) {
        folder_.write("f", "old");
        EXPECT_EQ(getFile(std::move(more)), code);
        EXPECT_EQ(errors(), "httpclient: " + text + "\n");
        EXPECT_THAT(folder_.names(), ElementsAre("f"));
        EXPECT_EQ(folder_.read("f"), "old");
        EXPECT_EQ(output(), "");
    }

    testing::TemporaryFolder folder_;
    Script script_;
    Interrupts interrupts_;
    bool isTerminal_ = false;
    int clients_ = 0;
    std::ostringstream errorStream_;
    std::FILE* standardOutput_ = std::tmpfile();
};

const char* const shownUrl = "http://example.test/f?...";
const char* const tryLater = "; try again later, or with more --retries";

TEST_F(ToolTest, DownloadsToAFileInSilence) {
    script_.steps = {serve("content")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "content");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(), "");
}

TEST_F(ToolTest, DownloadsToStandardOutput) {
    script_.steps = {serve("content")};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(output(), "content");
    EXPECT_EQ(errors(), "");
}

TEST_F(ToolTest, SendsAnOrdinaryRequest) {
    script_.steps = {serve("content")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    ASSERT_EQ(script_.headers.size(), 1U);
    EXPECT_EQ(script_.headers[0].getHeaderValue("Accept"), "*/*");
    EXPECT_EQ(script_.headers[0].getHeaderValue("User-Agent"),
              "httpclient/" FOUNDATION_HTTPCLIENT_VERSION);
    EXPECT_TRUE(script_.configurations[0].resumeOnRetry());
}

TEST_F(ToolTest, PassesTheCertificateFileOn) {
    folder_.write("ca.pem", "");
    script_.steps = {serve("content")};
    EXPECT_EQ(getFile({"--cacert", (folder_ / "ca.pem").string()}), ExitCode::Success);
    EXPECT_EQ(script_.configurations[0].certificateFile(), folder_ / "ca.pem");
}

TEST_F(ToolTest, AnEmptyBodyMakesAnEmptyFile) {
    script_.steps = {answer(200, "OK", "", {{"Content-Length", "0"}})};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "");
}

TEST_F(ToolTest, ResumesWhatBroke) {
    script_.steps = {serveThenBreak("0123456789", 4), serveThenBreak("0123456789", 3),
                     serve("0123456789")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "0123456789");
    EXPECT_THAT(script_.ranges, ElementsAre("", "bytes=4-", "bytes=7-"));
    EXPECT_EQ(errors(), "");
}

TEST_F(ToolTest, ResumesForStandardOutputToo) {
    script_.steps = {serveThenBreak("0123456789", 4), serve("0123456789")};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(output(), "0123456789");
}

TEST_F(ToolTest, AnErrorPageInBetweenLeavesNoTrace) {
    script_.steps = {answer(503, "Service Unavailable", "a long page of excuses"), serve("0123")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "0123");
}

TEST_F(ToolTest, AnErrorPageAfterABrokenBodyLeavesNoTrace) {
    // No Accept-Ranges with the error page, so the third attempt starts over.
    script_.steps = {serveThenBreak("0123456789", 6),
                     [](HttpRequest& request, HttpResponse& response) {
                         // As every transport must: the answer is no continuation.
                         request.removeHeader("Range");
                         response.setResponseCodeAndReason(HttpResponseCode::ServiceUnavailable,
                                                           "");
                         response.resetResponseBody();
                         testing::writeBody(response, "excuses");
                     },
                     serve("0123456789")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "0123456789");
    EXPECT_EQ(script_.ranges.back(), "");
}

TEST_F(ToolTest, ABrokenBodyWithoutRangesStartsOver) {
    script_.steps = {[](HttpRequest&, HttpResponse& response) {
                         response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
                         testing::writeBody(response, "a first part of another version");
                         throw HttpRequestFailedException("transfer closed");
                     },
                     serve("whole")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "whole");
    EXPECT_THAT(script_.ranges, ElementsAre("", ""));
}

TEST_F(ToolTest, NotFoundIsExitCodeFour) {
    script_.steps = {answer(404, "Not Found", "an error page")};
    expectFailure(ExitCode::ClientError,
                  std::string(shownUrl) + ": HTTP status 404 Not Found; check the URL");
}

TEST_F(ToolTest, AnErrorPageNeverReachesStandardOutput) {
    script_.steps = {answer(404, "Not Found", "an error page")};
    EXPECT_EQ(get(), ExitCode::ClientError);
    EXPECT_EQ(output(), "");
}

TEST_F(ToolTest, ARedirectionThatEndsThereIsExitCodeThree) {
    script_.steps = {answer(304, "Not Modified", "")};
    expectFailure(ExitCode::Redirection,
                  std::string(shownUrl) +
                      ": HTTP status 304 Not Modified; ask for the URL it names, "
                      "or allow more --max-redirects");
}

TEST_F(ToolTest, AServerErrorIsRetriedAndThenExitCodeFive) {
    script_.steps = {answer(503, "Busy", "page"), answer(503, "Busy", "page"),
                     answer(503, "Busy", "page")};
    expectFailure(ExitCode::ServerError,
                  std::string(shownUrl) + ": HTTP status 503 Busy" + tryLater, {"--retries", "2"});
    EXPECT_EQ(script_.ranges.size(), 3U);
}

TEST_F(ToolTest, AReasonWithControlBytesStaysOneHarmlessLine) {
    script_.steps = {answer(404, "\x1b[31mred\r\nhttpclient: all is well", "")};
    expectFailure(
        ExitCode::ClientError,
        std::string(shownUrl) +
            ": HTTP status 404 \\x1B[31mred\\x0D\\x0Ahttpclient: all is well; check the URL");
}

TEST_F(ToolTest, AFailedRequestIsExitCodeOne) {
    script_.steps = {failWith<HttpRequestFailedException>("GET http://h: refused (libcurl 7)"),
                     failWith<HttpRequestFailedException>("GET http://h: refused (libcurl 7)")};
    expectFailure(ExitCode::Failed,
                  "GET http://h: refused (libcurl 7); check host and port, or try again later",
                  {"--retries", "1"});
}

TEST_F(ToolTest, ABodyThatBreaksToTheEndIsExitCodeOne) {
    script_.steps = {serveThenBreak("0123456789", 4), serveThenBreak("0123456789", 4)};
    expectFailure(ExitCode::Failed,
                  std::string("GET http://example.test: transfer closed") + tryLater,
                  {"--retries", "1"});
}

TEST_F(ToolTest, ACertificateErrorIsExitCodeSevenAndNotRetried) {
    script_.steps = {failWith<HttpRequestFailedException>("TLS verification: no (libcurl 60)")};
    expectFailure(ExitCode::Tls,
                  "TLS verification: no (libcurl 60); check the host name, or name the right "
                  "certificates with --cacert");
}

TEST_F(ToolTest, ATimeoutIsExitCodeTwo) {
    script_.steps = {failWith<HttpRequestTimeoutException>()};
    expectFailure(ExitCode::TimedOut,
                  std::string(shownUrl) +
                      ": timed out; try again, or allow more with --idle-timeout "
                      "and --connect-timeout",
                  {"--retries", "0"});
}

TEST_F(ToolTest, MaxTimeIsExitCodeTwo) {
    script_.steps = {[this](HttpRequest&, HttpResponse&) { script_.waitForCancel(); }};
    expectFailure(
        ExitCode::TimedOut,
        std::string(shownUrl) + ": not complete when --max-time was over; allow more time",
        {"--max-time", "0.01"});
}

TEST_F(ToolTest, MaxTimeEndsTheRetriesOfAServerError) {
    script_.steps = {[this](HttpRequest& request, HttpResponse& response) {
        answer(503, "Busy", "page")(request, response);
        std::unique_lock lock(script_.mutex);
        script_.changed.wait(lock, [this] { return script_.cancelled; });
    }};
    expectFailure(
        ExitCode::TimedOut,
        std::string(shownUrl) + ": not complete when --max-time was over; allow more time",
        {"--max-time", "0.01"});
}

TEST_F(ToolTest, AResultWithinMaxTimeIsASuccess) {
    script_.steps = {serve("content")};
    EXPECT_EQ(getFile({"--max-time", "1000"}), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "content");
}

TEST_F(ToolTest, ACancellationFromElsewhereIsExitCodeOne) {
    script_.steps = {failWith<HttpRequestCancelledException>()};
    expectFailure(ExitCode::Failed, std::string(shownUrl) + ": cancelled; try again");
}

TEST_F(ToolTest, AnInterruptEndsTheAttempt) {
    script_.steps = {[this](HttpRequest& request, HttpResponse& response) {
        try {
            serveThenBreak("0123456789", 4)(request, response);
        } catch (const HttpRequestFailedException&) {
        }
        interrupts_.interrupt();
        script_.waitForCancel();
    }};
    expectFailure(ExitCode::Interrupted, "interrupted");
}

TEST_F(ToolTest, AnInterruptDuringTheWaitEndsTheRequest) {
    script_.onWait = [this] { interrupts_.interrupt(); };
    // The second is begun when the interrupt comes before anybody listens for it.
    script_.steps = {answer(503, "Busy", "page", {{"Retry-After", "1"}}),
                     [this](HttpRequest&, HttpResponse&) { script_.waitForCancel(); }};
    expectFailure(ExitCode::Interrupted, "interrupted");
}

TEST_F(ToolTest, AnInterruptBeforeTheRequestEndsItToo) {
    interrupts_.interrupt();
    script_.steps = {[this](HttpRequest&, HttpResponse&) { script_.waitForCancel(); }};
    expectFailure(ExitCode::Interrupted, "interrupted");
}

TEST_F(ToolTest, AnInterruptWinsOverACompleteBody) {
    script_.steps = {[this](HttpRequest& request, HttpResponse& response) {
        serve("content")(request, response);
        interrupts_.interrupt();
    }};
    expectFailure(ExitCode::Interrupted, "interrupted");
}

TEST_F(ToolTest, AShortBodyIsNeverTakenForTheWhole) {
    script_.steps = {answer(200, "OK", "0123", {{"Content-Length", "10"}})};
    expectFailure(ExitCode::Failed,
                  std::string(shownUrl) + ": incomplete: received 4 of 10 bytes; try again");
}

TEST_F(ToolTest, APartThatNobodyAskedForIsNeverTakenForTheWhole) {
    script_.steps = {answer(206, "Partial Content", "6789", {{"Content-Range", "bytes 6-9/10"}})};
    expectFailure(
        ExitCode::Failed,
        std::string(shownUrl) + ": the server sent another part than the one asked for; try again");
}

TEST_F(ToolTest, AFullDiskIsExitCodeOneAndNotRetried) {
    const std::string name = (folder_ / "f").string();
    folder_.write("f", "old");
    script_.steps = {serve(std::string(5000, 'x'))};
    {
        const testing::SmallFilesOnly limit(1000);
        EXPECT_EQ(getFile(), ExitCode::Failed);
    }
    EXPECT_EQ(errors(), "httpclient: cannot write " + name + ": File too large\n");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "old");
    EXPECT_TRUE(script_.waits.empty());
}

TEST_F(ToolTest, AFullDeviceIsExitCodeOne) {
    script_.steps = {serve("content")};
    EXPECT_EQ(get({"-o", "/dev/full"}), ExitCode::Failed);
    EXPECT_EQ(errors(), "httpclient: cannot write /dev/full: No space left on device\n");
}

TEST_F(ToolTest, AFolderThatIsMissingIsExitCodeOneBeforeAnythingIsSent) {
    const std::string name = (folder_ / "none").string() + "/f";
    EXPECT_EQ(get({"-o", name}), ExitCode::Failed);
    EXPECT_EQ(errors(),
              "httpclient: cannot create " + name + ".part.journal: No such file or directory\n");
    EXPECT_EQ(clients_, 0);
}

TEST_F(ToolTest, WrongUsageIsExitCode64BeforeAnythingIsSent) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"get"}, {"get", "ftp://h/"}, {"get", "http://u:secret@h:x/"}}) {
        errorStream_.str("");
        EXPECT_EQ(runWith(arguments), ExitCode::Usage);
        EXPECT_THAT(errors(), ::testing::MatchesRegex("httpclient: [^\n]*\n"));
        EXPECT_THAT(errors(), Not(HasSubstr("secret")));
    }
    EXPECT_EQ(clients_, 0);
}

TEST_F(ToolTest, ASurplusUrlIsRefusedWithoutItsSecrets) {
    EXPECT_EQ(get({"http://me:secret@h/?secret"}), ExitCode::Usage);
    EXPECT_THAT(errors(), ::testing::MatchesRegex("httpclient: [^\n]*\n"));
    EXPECT_THAT(errors(), Not(HasSubstr("secret")));
}

TEST_F(ToolTest, HelpAndVersionGoToStandardOutput) {
    EXPECT_EQ(runWith({"--version"}), ExitCode::Success);
    EXPECT_EQ(output(), "httpclient " FOUNDATION_HTTPCLIENT_VERSION "\n");
    EXPECT_EQ(runWith({"get", "--help"}), ExitCode::Success);
    EXPECT_THAT(output(), HasSubstr("Exit status:"));
    EXPECT_EQ(errors(), "");
    EXPECT_EQ(clients_, 0);
}

TEST_F(ToolTest, OnATerminalProgressIsShownForAFile) {
    isTerminal_ = true;
    script_.steps = {serveThenBreak("0123456789", 4), serve("0123456789")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_THAT(errors(), HasSubstr("4 B of 10 B, 40 %"));
    EXPECT_THAT(errors(), ::testing::ContainsRegex("10 B in [0-9.]+ s.*, 1 retry\n$"));
}

TEST_F(ToolTest, OnATerminalNoProgressIsShownForStandardOutput) {
    isTerminal_ = true;
    script_.steps = {serve("content")};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(errors(), "");
}

TEST_F(ToolTest, QuietShowsNoProgress) {
    isTerminal_ = true;
    script_.steps = {serve("content")};
    EXPECT_EQ(getFile({"--quiet"}), ExitCode::Success);
    EXPECT_EQ(errors(), "");
}

TEST_F(ToolTest, QuietStillTellsFailures) {
    isTerminal_ = true;
    script_.steps = {answer(404, "Not Found", "")};
    EXPECT_EQ(getFile({"-q"}), ExitCode::ClientError);
    EXPECT_EQ(errors(),
              "httpclient: http://example.test/f?...: HTTP status 404 Not Found; check the URL\n");
}

TEST_F(ToolTest, VerboseTellsHeadsRetriesRecordsAndTheSummary) {
    script_.steps = {serveThenBreak("0123456789", 4), serve("0123456789")};
    EXPECT_EQ(getFile({"-v"}), ExitCode::Success);
    EXPECT_THAT(errors(), HasSubstr("* > GET http://example.test/f?...\n* > Accept: */*\n"));
    EXPECT_THAT(errors(), HasSubstr("* < 206 \n* < Accept-Ranges: bytes\n"));
    EXPECT_THAT(errors(), HasSubstr("* retry 1 of 8 with 4 bytes held: GET http://example.test: "
                                    "transfer closed\n"));
    EXPECT_THAT(errors(), HasSubstr("* progress: Requesting a byte range starting from where last "
                                    "request left off up to the end: bytes=4-\n"));
    EXPECT_THAT(errors(), ::testing::ContainsRegex("/f: 10 B in [0-9.]+ s.*, 1 retry\n$"));
    EXPECT_THAT(errors(), Not(HasSubstr("secret")));
    EXPECT_EQ(output(), "");
}

TEST_F(ToolTest, LeavesLoggingAsItWas) {
    script_.steps = {serve("content")};
    EXPECT_EQ(getFile(), ExitCode::Success);
    EXPECT_TRUE(boost::log::core::get()->get_logging_enabled());
}

}  // namespace
}  // namespace foundation::httpclient_tool
