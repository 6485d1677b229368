#include "Tool.h"
#include "tools/httpclient/tests/ScriptedClient.h"
#include "tools/httpclient/tests/SmallFilesOnly.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/Version.h>

#include <boost/log/core/core.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <nlohmann/json.hpp>
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
    script_.steps = {answer(302, "Found", "", {{"Location", "/g"}})};
    expectFailure(ExitCode::Redirection, std::string(shownUrl) +
                                             ": HTTP status 302 Found; ask for the URL it names, "
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
    script_.steps = {
        failWith<HttpRequestFailedException>("GET https://h: TLS verification: no (libcurl 60)")};
    expectFailure(
        ExitCode::Tls,
        "GET https://h: TLS verification: no (libcurl 60); check the host name, or name the right "
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
    EXPECT_EQ(errors(), "httpclient: cannot write " + name +
                            ": File too large; allow larger files, or choose another place\n");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "old");
    EXPECT_TRUE(script_.waits.empty());
}

TEST_F(ToolTest, AFullDeviceIsExitCodeOne) {
    script_.steps = {serve("content")};
    EXPECT_EQ(get({"-o", "/dev/full"}), ExitCode::Failed);
    EXPECT_EQ(errors(),
              "httpclient: cannot write /dev/full: No space left on device; "
              "free some space, or choose another place\n");
}

TEST_F(ToolTest, AFolderThatIsMissingIsExitCodeOneBeforeAnythingIsSent) {
    const std::string name = (folder_ / "none").string() + "/f";
    EXPECT_EQ(get({"-o", name}), ExitCode::Failed);
    EXPECT_EQ(errors(), "httpclient: cannot create " + name +
                            ".part.journal: No such file or directory; "
                            "check the name and its folder\n");
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

// ---- standard output

TEST_F(ToolTest, BytesGoOutAsTheyCome) {
    std::string seen;
    script_.steps = {[&](HttpRequest&, HttpResponse& response) {
        testing::beginAnswer(response, 200, "OK", {{"Content-Length", "8"}});
        testing::writeBody(response, "0123");
        seen = output();
        testing::writeBody(response, "4567");
    }};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(seen, "0123");
    EXPECT_EQ(output(), "01234567");
}

TEST_F(ToolTest, AnErrorPageInBetweenNeverReachesStandardOutput) {
    script_.steps = {serveThenBreak("0123456789", 4), answer(503, "Busy", "a page of excuses"),
                     answer(502, "Bad", "another page", {{"Accept-Ranges", "bytes"}}),
                     [](HttpRequest& request, HttpResponse& response) {
                         request.removeHeader("Range");
                         serve("0123456789")(request, response);
                     }};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(output(), "0123456789");
}

TEST_F(ToolTest, AnErrorPageBeforeTheFirstByteNeverReachesStandardOutput) {
    script_.steps = {answer(503, "Busy", "page", {{"Accept-Ranges", "bytes"}}),
                     answer(503, "Busy", ""), answer(500, "Bad", "page"), serve("0123456789")};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(output(), "0123456789");
}

TEST_F(ToolTest, AStreamOfAnEarlierAnswerTakesNoByteOfAnother) {
    // The head of a success, without a body; a transport that then reuses its stream for an error page.
    script_.steps = {[](HttpRequest&, HttpResponse& response) {
                         testing::beginAnswer(response, 200, "OK", {{"Accept-Ranges", "bytes"}});
                         response.getResponseBody();
                         throw HttpRequestFailedException("transfer closed");
                     },
                     [](HttpRequest&, HttpResponse& response) {
                         response.setResponseCodeAndReason(HttpResponseCode::ServiceUnavailable,
                                                           "Busy");
                         response.setHeaders({});
                         testing::writeBody(response, "a page of excuses");
                     },
                     serve("0123456789")};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(output(), "0123456789");
}

TEST_F(ToolTest, ARetryThatStartsOverGoesOnBehindWhatWentOut) {
    script_.steps = {serveThenBreak("0123456789", 4),
                     [](HttpRequest& request, HttpResponse& response) {
                         request.removeHeader("Range");
                         serve("0123456789")(request, response);
                     }};
    EXPECT_EQ(get(), ExitCode::Success);
    EXPECT_EQ(output(), "0123456789");
}

TEST_F(ToolTest, AResourceThatChangedAfterBytesWentOutIsExitCodeNine) {
    script_.steps = {serveThenBreak("0123456789", 4),
                     [](HttpRequest& request, HttpResponse& response) {
                         request.removeHeader("Range");
                         serve("another version")(request, response);
                     }};
    EXPECT_EQ(get(), ExitCode::ResumeRefused);
    EXPECT_EQ(output(), "0123");
    EXPECT_EQ(errors(),
              "httpclient: standard output: the resource changed after 4 bytes had gone out; throw "
              "them away and start over\n");
}

TEST_F(ToolTest, AShorterVersionAfterBytesWentOutIsExitCodeNine) {
    script_.steps = {serveThenBreak("0123456789", 4),
                     [](HttpRequest& request, HttpResponse& response) {
                         request.removeHeader("Range");
                         serve("012")(request, response);
                     }};
    EXPECT_EQ(get(), ExitCode::ResumeRefused);
    EXPECT_EQ(output(), "0123");
}

TEST_F(ToolTest, TheHeadStandsBeforeTheBodyWhenAskedFor) {
    script_.steps = {answer(503, "Busy", "page"), serveThenBreak("0123456789", 4),
                     serve("0123456789")};
    EXPECT_EQ(get({"-i"}), ExitCode::Success);
    EXPECT_EQ(output(), "HTTP 200 \nAccept-Ranges: bytes\nContent-Length: 10\n\n0123456789");
}

TEST_F(ToolTest, TheHeadIsOnStandardOutputWhileTheBodyGoesToAFile) {
    script_.steps = {serve("0123456789")};
    EXPECT_EQ(getFile({"-i"}), ExitCode::Success);
    EXPECT_EQ(output(), "HTTP 200 \nAccept-Ranges: bytes\nContent-Length: 10\n\n");
    EXPECT_EQ(folder_.read("f"), "0123456789");
}

TEST_F(ToolTest, TheHeadOfAFailureIsOnStandardError) {
    script_.steps = {answer(404, "Not Found", "page", {{"X-Reason", "gone"}})};
    EXPECT_EQ(get({"-i"}), ExitCode::ClientError);
    EXPECT_EQ(output(), "");
    EXPECT_THAT(errors(), HasSubstr("* X-Reason: gone\n"));
}

TEST_F(ToolTest, HeadPrintsTheHead) {
    script_.steps = {answer(200, "OK", "", {{"Content-Length", "5000000000"}})};
    EXPECT_EQ(runWith({"head", "http://example.test/f"}), ExitCode::Success);
    EXPECT_EQ(output(), "HTTP 200 OK\nContent-Length: 5000000000\n\n");
}

// ---- a partial file of an earlier run

TEST_F(ToolTest, AnotherRunGoesOnWhereTheLastOneStopped) {
    script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
    EXPECT_EQ(getFile({"--retries", "0"}), ExitCode::Failed);
    EXPECT_THAT(errors(), ::testing::EndsWith("; 4 bytes are kept, run again with --resume\n"));
    EXPECT_THAT(folder_.names(), ElementsAre("f.part", "f.part.journal"));
    script_.steps = {serve("0123456789", "\"v\"")};
    EXPECT_EQ(getFile({"--resume"}), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "0123456789");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    ASSERT_EQ(script_.ranges.size(), 2U);
    EXPECT_EQ(script_.ranges[1], "bytes=4-");
    EXPECT_EQ(script_.headers[1].getHeaderValue("If-Range"), "\"v\"");
}

TEST_F(ToolTest, AnotherVersionIsFetchedFromItsStart) {
    script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
    EXPECT_EQ(getFile({"--retries", "0"}), ExitCode::Failed);
    script_.steps = {serve("another version", "\"w\"")};
    EXPECT_EQ(getFile({"-C"}), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "another version");
}

TEST_F(ToolTest, APartOfAnotherVersionIsNotAppended) {
    script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
    EXPECT_EQ(getFile({"--retries", "0"}), ExitCode::Failed);
    const auto liar = [](const char* range, const char* etag) {
        return answer(206, "", "abcdef", {{"Content-Range", range}, {"ETag", etag}});
    };
    for (const Script::Step& step : {liar("bytes 4-9/10", "\"w\""), liar("bytes 3-8/10", "\"v\""),
                                     liar("bytes 4-9/11", "\"v\""), liar("bytes 4-", "\"v\"")}) {
        script_.steps = {step, serveThenBreak("ABCDEFGHIJ", 4, "\"v\"")};
        EXPECT_EQ(getFile({"-C", "--retries", "0"}), ExitCode::Failed);
        EXPECT_EQ(script_.ranges.back(), "");
        EXPECT_EQ(folder_.read("f.part"), "ABCD");
    }
    script_.steps = {serve("ABCDEFGHIJ", "\"v\"")};
    EXPECT_EQ(getFile({"-C"}), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "ABCDEFGHIJ");
}

TEST_F(ToolTest, AFailureBeforeAnyAnswerLeavesTheKeptPart) {
    script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
    EXPECT_EQ(getFile({"--retries", "0"}), ExitCode::Failed);
    for (const char* option : {"--resume", "--quiet"}) {
        script_.steps = {failWith<HttpRequestFailedException>("GET http://h: refused (libcurl 7)")};
        EXPECT_EQ(getFile({option, "--retries", "0"}), ExitCode::Failed);
    }
    script_.steps = {serve("0123456789", "\"v\"")};
    EXPECT_EQ(getFile({"--resume"}), ExitCode::Success);
    EXPECT_EQ(script_.ranges.back(), "bytes=4-");
}

TEST_F(ToolTest, AnEmptyVersionReplacesTheKeptPart) {
    script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
    EXPECT_EQ(getFile({"--retries", "0"}), ExitCode::Failed);
    script_.steps = {answer(200, "OK", "", {{"Content-Length", "0"}})};
    EXPECT_EQ(getFile({"--resume"}), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "");
}

TEST_F(ToolTest, AnInterruptedDownloadIsKept) {
    script_.steps = {[this](HttpRequest& request, HttpResponse& response) {
        try {
            serveThenBreak("0123456789", 4, "\"v\"")(request, response);
        } catch (const HttpRequestFailedException&) {
        }
        interrupts_.interrupt();
        script_.waitForCancel();
    }};
    EXPECT_EQ(getFile(), ExitCode::Interrupted);
    EXPECT_EQ(errors(), "httpclient: interrupted; 4 bytes are kept, run again with --resume\n");
}

TEST_F(ToolTest, NothingIsKeptOfABodyThatDoesNotFitItsHead) {
    script_.steps = {
        answer(200, "OK", "0123",
               {{"Content-Length", "10"}, {"ETag", "\"v\""}, {"Accept-Ranges", "bytes"}})};
    expectFailure(ExitCode::Failed,
                  std::string(shownUrl) + ": incomplete: received 4 of 10 bytes; try again");
}

TEST_F(ToolTest, ARangeOfTheUsersIsTheWhole) {
    script_.steps = {serve("0123456789")};
    EXPECT_EQ(getFile({"-H", "Range: bytes=4-"}), ExitCode::Success);
    EXPECT_EQ(folder_.read("f"), "456789");
}

TEST_F(ToolTest, NothingIsKeptOfAPartOrOfAnAnswerToAPost) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"get", "-H", "Range: bytes=2-"}, {"post", "-d", "x"}}) {
        script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
        std::vector<std::string> all = arguments;
        all.insert(all.end(), {"http://h/f", "-o", (folder_ / "f").string(), "--retries", "0"});
        EXPECT_EQ(runWith(all), ExitCode::Failed);
        EXPECT_THAT(folder_.names(), ElementsAre());
    }
}

// ---- several URLs

TEST_F(ToolTest, SeveralUrlsGoToAFileEach) {
    const std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    script_.steps = {serve("one"), answer(404, "Not Found", "page"), serve("three")};
    EXPECT_EQ(
        runWith({"get", "-O", "--parallel", "1", "http://h/a/1?x", "http://h/a/2", "http://h/3"}),
        ExitCode::ClientError);
    std::filesystem::current_path(former);
    EXPECT_THAT(folder_.names(), ElementsAre("1", "3"));
    EXPECT_EQ(folder_.read("1"), "one");
    EXPECT_EQ(folder_.read("3"), "three");
    EXPECT_EQ(errors(), "httpclient: http://h/a/2: HTTP status 404 Not Found; check the URL\n");
}

TEST_F(ToolTest, TheFirstFailureOnTheCommandLineGivesTheExitCode) {
    script_.steps = {answer(404, "", ""), answer(302, "", "")};
    EXPECT_EQ(runWith({"head", "http://h/1", "http://h/2"}), ExitCode::ClientError);
}

TEST_F(ToolTest, AnInterruptEndsAllUrlsWithOneLine) {
    script_.steps = {[this](HttpRequest&, HttpResponse&) {
        interrupts_.interrupt();
        script_.waitForCancel();
    }};
    EXPECT_EQ(runWith({"head", "http://h/1", "http://h/2", "http://h/3"}), ExitCode::Interrupted);
    EXPECT_EQ(errors(), "httpclient: interrupted\n");
}

TEST_F(ToolTest, TwoUrlsOfOneNameAreRefused) {
    EXPECT_EQ(runWith({"get", "-O", "http://h/a/f", "http://h/b/f"}), ExitCode::Usage);
    EXPECT_EQ(clients_, 0);
}

// ---- requests with a body

TEST_F(ToolTest, SendsBodiesWithEachMethod) {
    for (const auto& [name, method] :
         std::vector<std::pair<std::string, HttpMethod>>{{"put", HttpMethod::PUT},
                                                         {"post", HttpMethod::POST},
                                                         {"delete", HttpMethod::DELETE},
                                                         {"patch", HttpMethod::PATCH}}) {
        std::string sent;
        HttpMethod used = HttpMethod::GET;
        script_.steps = {[&](HttpRequest& request, HttpResponse& response) {
            sent = request.getRequestBodyString();
            used = request.getHttpMethod();
            answer(201, "Created", "done")(request, response);
        }};
        EXPECT_EQ(runWith({name, "http://h/", "-d", "content", "-H", "X-A: 1"}), ExitCode::Success);
        EXPECT_EQ(sent, "content");
        EXPECT_EQ(used, method);
        EXPECT_EQ(script_.headers.back().getHeaderValue("X-A"), "1");
    }
    EXPECT_EQ(output(), "donedonedonedone");
}

TEST_F(ToolTest, APostIsNotSentTwice) {
    script_.steps = {answer(503, "Busy", "")};
    EXPECT_EQ(runWith({"post", "http://h/", "-d", "x"}), ExitCode::ServerError);
    EXPECT_EQ(errors(), "httpclient: http://h/: HTTP status 503 Busy; try again later\n");
}

TEST_F(ToolTest, NoLineAndNoFileTellsAQueryWithSpacesAndQuotes) {
    const std::string url = "http://h/p?a=it's canary&b=\"canary\" <canary>";
    script_.steps = {answer(404, "Not Found", "")};
    EXPECT_EQ(runWith({"get", "-v", "--explain", url}), ExitCode::ClientError);
    script_.steps = {serveThenBreak("0123456789", 4, "\"v\"")};
    EXPECT_EQ(runWith({"get", url, "--retries", "0", "-o", (folder_ / "f").string()}),
              ExitCode::Failed);
    EXPECT_THAT(errors(), HasSubstr("http://h/p?...: HTTP status 404"));
    EXPECT_THAT(folder_.read("f.part.journal"), HasSubstr("\"http://h/p?...\""));
    EXPECT_THAT(errors() + folder_.read("f.part.journal"), Not(HasSubstr("canary")));
}

TEST_F(ToolTest, AFailureLeavesTheProgressLineAbove) {
    isTerminal_ = true;
    const auto former = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    script_.steps = {answer(404, "Not Found", ""), serve("content")};
    EXPECT_EQ(runWith({"get", "-O", "http://h/1", "http://h/2"}), ExitCode::ClientError);
    std::filesystem::current_path(former);
    EXPECT_THAT(errors(), ::testing::EndsWith("\n"));
    EXPECT_THAT(errors(), HasSubstr("7 B"));
}

TEST_F(ToolTest, TheRetryDeadlineIsNotPassedByALongRetryAfter) {
    script_.steps = {answer(503, "Busy", "", {{"Retry-After", "20"}})};
    EXPECT_EQ(get({"--retry-deadline", "5"}), ExitCode::ServerError);
    EXPECT_EQ(script_.ranges.size(), 1U);
}

// ---- reports

TEST_F(ToolTest, ExplainTellsAttemptsAndWaits) {
    script_.steps = {answer(503, "Busy", "", {{"Retry-After", "2"}}), serve("content")};
    EXPECT_EQ(getFile({"--explain"}), ExitCode::Success);
    EXPECT_THAT(errors(), HasSubstr("* attempt 1: GET http://example.test/f: status 503; "));
    EXPECT_THAT(errors(), HasSubstr("* waits 2.0 s (Retry-After in seconds) before attempt 2: "
                                    "HTTP status 503\n"));
    EXPECT_THAT(errors(), HasSubstr("* attempt 2: GET http://example.test/f: status 200; "));
}

TEST_F(ToolTest, OfSeveralUrlsEachNoteTellsItsOwn) {
    script_.steps = {answer(503, "Busy", ""), answer(200, "OK", ""), answer(200, "OK", "")};
    EXPECT_EQ(runWith({"head", "http://h/1?secret", "http://h/2", "--explain", "-v"}),
              ExitCode::Success);
    EXPECT_THAT(errors(), HasSubstr("* http://h/1?...: waits "));
    EXPECT_THAT(errors(), HasSubstr("* http://h/1?...: retry 1 of 8 with 0 bytes held: "));
}

TEST_F(ToolTest, JsonIsAloneOnStandardOutput) {
    script_.steps = {answer(503, "Busy", "", {{"Retry-After", "2"}}), serve("content")};
    EXPECT_EQ(getFile({"--json"}), ExitCode::Success);
    const nlohmann::json json = nlohmann::json::parse(output());
    EXPECT_EQ(json["exit_code"], 0);
    const nlohmann::json& result = json["results"].at(0);
    EXPECT_EQ(result["url"], "http://example.test/f?...");
    EXPECT_EQ(result["output"], (folder_ / "f").string());
    EXPECT_EQ(result["bytes"], 7);
    EXPECT_EQ(result["status"], 200);
    ASSERT_EQ(result["attempts"].size(), 2U);
    EXPECT_EQ(result["attempts"][0]["wait"]["source"], "retry-after-seconds");
    EXPECT_TRUE(result["attempts"][1]["wait"].is_null());
    EXPECT_EQ(errors(), "");
}

TEST_F(ToolTest, JsonTellsWhatEndsEverythingBeforeTheFirstRequest) {
    const std::string none = (folder_ / "none").string();
    EXPECT_EQ(runWith({"put", "--json", "-o", (folder_ / "f").string(), "-d", "@" + none,
                       "http://h/p?it's secret"}),
              ExitCode::Failed);
    const nlohmann::json json = nlohmann::json::parse(output());
    EXPECT_EQ(json["exit_code"], 1);
    ASSERT_EQ(json["results"].size(), 1U);
    const nlohmann::json& result = json["results"][0];
    EXPECT_EQ(result["exit_code"], 1);
    EXPECT_EQ(result["url"], "http://h/p?...");
    EXPECT_EQ(result["method"], "PUT");
    EXPECT_EQ(result["status"], -1);
    EXPECT_EQ(result["failure"],
              "cannot read " + none + ": No such file or directory; check the name and its folder");
    EXPECT_EQ(errors(), "httpclient: " + result["failure"].get<std::string>() + "\n");
    EXPECT_EQ(clients_, 0);
}

TEST_F(ToolTest, JsonTellsThatAUrlIsNone) {
    EXPECT_EQ(runWith({"head", "--json", "http://h/", "ftp://h/"}), ExitCode::Usage);
    const nlohmann::json json = nlohmann::json::parse(output());
    EXPECT_EQ(json["exit_code"], 64);
    EXPECT_EQ(json["results"].size(), 2U);
    EXPECT_EQ(errors(), "httpclient: URL 2: the URL must begin with http:// or https://\n");
}

TEST_F(ToolTest, JsonTellsFailuresToo) {
    script_.steps = {answer(404, "Not Found", "page")};
    EXPECT_EQ(getFile({"--json"}), ExitCode::ClientError);
    const nlohmann::json json = nlohmann::json::parse(output());
    EXPECT_EQ(json["exit_code"], 4);
    EXPECT_EQ(json["results"].at(0)["failure"],
              "http://example.test/f?...: HTTP status 404 Not Found; check the URL");
    EXPECT_THAT(errors(), ::testing::StartsWith("httpclient: http://example.test/f?...: "));
}

}  // namespace
}  // namespace foundation::httpclient_tool
