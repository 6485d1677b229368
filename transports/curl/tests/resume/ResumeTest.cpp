#include "support/TestClient.h"
#include "tests/support/FlakyFileServer.h"

#include <sstream>

namespace foundation::httpclient_curl::testing {
namespace {

using httpclient_core::testing::FlakyFileServer;

std::string makeContent(char first, std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        content[i] = static_cast<char>(first + static_cast<char>(i % 23));
    }
    return content;
}

const std::string oldContent = makeContent('A', 1000);
const std::string newContent = makeContent('a', 1000);

/// One scripted answer: status, fields, and the body bytes sent before the connection closes.
struct Answer {
    std::string head;
    std::string body;
};

Answer whole(const std::string& content, std::string fields, std::size_t sent) {
    return {"HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nContent-Length: " +
                std::to_string(content.size()) + "\r\n" + fields,
            content.substr(0, sent)};
}

Answer part(const std::string& content,
            std::size_t first,
            std::size_t last,
            std::size_t sent,
            std::string fields = "ETag: \"old\"\r\n",
            std::string total = "1000") {
    return {"HTTP/1.1 206 Partial Content\r\nAccept-Ranges: bytes\r\nContent-Range: bytes " +
                std::to_string(first) + "-" + std::to_string(last) + "/" + total +
                "\r\nContent-Length: " + std::to_string(last - first + 1) + "\r\n" + fields,
            content.substr(first, sent)};
}

Answer page(int status, std::string text, std::string fields = "") {
    return {"HTTP/1.1 " + std::to_string(status) +
                " Page\r\nContent-Length: " + std::to_string(text.size()) + "\r\n" + fields,
            std::move(text)};
}

const std::string etag = "ETag: \"old\"\r\n";
const std::string otherEtag = "ETag: \"new\"\r\n";
// The first 400 bytes of a resource that can be resumed.
const Answer cut = whole(oldContent, etag, 400);
const Answer noAnswer{"", ""};

struct Scenario {
    const char* label;
    std::vector<Answer> answers;
    std::string expected;             ///< The body in the end; that of a 404 when all else failed.
    std::vector<std::string> ranges;  ///< The Range header of each request, "" for none.
    std::string callersRange = "";
    bool resumes = true;

    friend std::ostream& operator<<(std::ostream& os, const Scenario& scenario) {
        return os << scenario.label;
    }
};

std::vector<Scenario> scenarios() {
    const std::string rest = "bytes=400-";
    const Answer everything = whole(oldContent, etag, 1000);
    const Answer changed = whole(newContent, otherEtag, 1000);
    return {
        {"ContinuesAfterACut", {cut, part(oldContent, 400, 999, 600)}, oldContent, {"", rest}},
        {"ContinuesAfterRepeatedCuts",
         {cut, part(oldContent, 400, 999, 200), part(oldContent, 600, 999, 0),
          part(oldContent, 600, 999, 400)},
         oldContent,
         {"", rest, "bytes=600-", "bytes=600-"}},
        {"UnknownTotalContinues",
         {{"HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nTransfer-Encoding: chunked\r\n" + etag,
           "190\r\n" + oldContent.substr(0, 400) + "\r\n"},
          part(oldContent, 400, 999, 600)},
         oldContent,
         {"", rest}},
        {"ChangedEntityIsSentWhole", {cut, changed}, newContent, {"", rest}},
        {"ChangedEntityIsSentInPart",
         {cut, part(newContent, 400, 999, 600, otherEtag), changed},
         newContent,
         {"", rest, ""}},
        {"PartWithoutETagIsNotTrusted",
         {cut, part(newContent, 400, 999, 600, ""), changed},
         newContent,
         {"", rest, ""}},
        {"SameEntityIsSentWhole", {cut, everything}, oldContent, {"", rest}},
        {"WholeAnswerIsCutToo",
         {cut, whole(oldContent, etag, 300), part(oldContent, 300, 999, 700)},
         oldContent,
         {"", rest, "bytes=300-"}},
        {"WrongOffset",
         {cut, part(oldContent, 300, 999, 700), everything},
         oldContent,
         {"", rest, ""}},
        {"OtherTotal",
         {cut, part(oldContent, 400, 999, 600, etag, "1500"), everything},
         oldContent,
         {"", rest, ""}},
        {"NoContentRange",
         {cut,
          {"HTTP/1.1 206 Partial Content\r\nContent-Length: 600\r\n" + etag,
           oldContent.substr(400)},
          everything},
         oldContent,
         {"", rest, ""}},
        {"SeveralRanges",
         {cut,
          {"HTTP/1.1 206 Partial Content\r\nContent-Type: multipart/byteranges; boundary=x\r\n"
           "Content-Length: 5\r\n" +
               etag,
           "--x--"},
          everything},
         oldContent,
         {"", rest, ""}},
        {"SeveralRangesAndOneNamed",
         {cut, part(oldContent, 400, 999, 600, etag + "Content-Type: Multipart/ByteRanges\r\n"),
          everything},
         oldContent,
         {"", rest, ""}},
        {"TwoContentRanges",
         {cut, part(oldContent, 400, 999, 600, etag + "Content-Range: bytes 0-599/1000\r\n"),
          everything},
         oldContent,
         {"", rest, ""}},
        {"PartWithACoding",
         {cut, part(oldContent, 400, 999, 600, etag + "Content-Encoding: gzip\r\n"), everything},
         oldContent,
         {"", rest, ""}},
        {"PartWithTheIdentityCoding",
         {cut, part(oldContent, 400, 999, 600, etag + "Content-Encoding: identity\r\n")},
         oldContent,
         {"", rest}},
        {"SecondMismatchFails",
         {cut, part(oldContent, 300, 999, 700), part(oldContent, 300, 999, 700), page(404, "x")},
         "x",
         {"", rest, "", ""}},
        {"PartEndsEarlyAndIsContinued",
         {cut, part(oldContent, 400, 599, 200), part(oldContent, 600, 999, 400)},
         oldContent,
         {"", rest, "bytes=600-"}},
        {"RangeNotSatisfiable",
         {cut, page(416, "no", "Content-Range: bytes */300\r\n"), changed},
         newContent,
         {"", rest, ""}},
        {"RangeNotSatisfiableStartsOverInTheSameAttempt",
         {cut, page(416, "no"), page(404, "x")},
         "x",
         {"", rest, ""}},
        {"ErrorPageBetween", {cut, page(503, "busy"), everything}, oldContent, {"", rest, rest}},
        {"PartAfterAnErrorPage",
         {cut, page(503, "busy"), noAnswer, page(500, "oops"), part(oldContent, 400, 999, 600)},
         oldContent,
         {"", rest, rest, rest, rest}},
        {"BrokenErrorPageBetween",
         {cut,
          {"HTTP/1.1 503 Busy\r\nContent-Length: 100\r\n", "busy"},
          part(oldContent, 400, 999, 600)},
         oldContent,
         {"", rest, rest}},
        {"LastErrorPageReplacesThePart", {cut, page(404, "x")}, "x", {"", rest}},
        {"LastErrorPageWithoutBody", {cut, page(404, "")}, "", {"", rest}},
        {"LargeErrorPageIsNotHeldAside",
         {cut, page(503, std::string(300000, 'b')), everything},
         oldContent,
         {"", rest, ""}},
        {"LargeLastErrorPage",
         {cut, page(404, std::string(300000, 'b'))},
         std::string(300000, 'b'),
         {"", rest}},
        {"PartWithoutAcceptRangesIsContinued",
         {cut,
          {"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 400-999/1000\r\n"
           "Content-Length: 600\r\n" +
               etag,
           oldContent.substr(400, 100)},
          part(oldContent, 500, 999, 500)},
         oldContent,
         {"", rest, "bytes=500-"}},
        {"WholeWithoutAcceptRangesStartsOver",
         {{"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n" + etag, oldContent.substr(0, 400)},
          everything},
         oldContent,
         {"", ""}},
        {"PartOfUnknownEndIsNotTrusted",
         {{"HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nTransfer-Encoding: chunked\r\n" + etag,
           "190\r\n" + oldContent.substr(0, 400) + "\r\n"},
          part(oldContent, 400, 599, 200, etag, "*"),
          everything},
         oldContent,
         {"", rest, ""}},
        {"PartLongerThanItsRangeIsNotBuiltOn",
         {cut,
          {"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 400-499/1000\r\n"
           "Transfer-Encoding: chunked\r\nAccept-Ranges: bytes\r\n" +
               etag,
           "c8\r\n" + newContent.substr(400, 200) + "\r\n"},
          everything},
         oldContent,
         {"", rest, ""}},
        {"ErrorPageThatAcceptsRanges",
         {cut, page(503, "busy", "Accept-Ranges: bytes\r\n" + etag), everything},
         oldContent,
         {"", rest, rest}},
        {"ErrorPageFirst",
         {page(503, "busy", "Accept-Ranges: bytes\r\n" + etag), cut,
          part(oldContent, 400, 999, 600)},
         oldContent,
         {"", "", rest}},
        {"NoAnswerBetween", {cut, noAnswer, everything}, oldContent, {"", rest, rest}},
        {"WeakETagStartsOver",
         {whole(oldContent, "ETag: W/\"old\"\r\n", 400), everything},
         oldContent,
         {"", ""}},
        {"NoETagStartsOver", {whole(oldContent, "", 400), everything}, oldContent, {"", ""}},
        {"CodedBodyStartsOver",
         {whole(oldContent, etag + "Content-Encoding: gzip\r\n", 400), everything},
         oldContent,
         {"", ""}},
        {"WithoutResumingStartsOver", {cut, everything}, oldContent, {"", ""}, "", false},
        {"CallersRangeIsContinued",
         {part(oldContent, 100, 899, 300), part(oldContent, 400, 899, 500)},
         oldContent.substr(100, 800),
         {"bytes=100-899", "bytes=400-899"},
         "bytes=100-899"},
        {"CallersRangeIsNotContinuedBeyondItsEnd",
         {part(oldContent, 100, 899, 300), part(oldContent, 400, 999, 600),
          part(oldContent, 100, 899, 800)},
         oldContent.substr(100, 800),
         {"bytes=100-899", "bytes=400-899", "bytes=100-899"},
         "bytes=100-899"},
        {"CallersRangeThatBreaksOffBehindItsLastByte",
         {{"HTTP/1.1 206 Partial Content\r\nAccept-Ranges: bytes\r\nContent-Range: bytes "
           "100-899/1000\r\nTransfer-Encoding: chunked\r\n" +
               etag,
           "320\r\n" + oldContent.substr(100, 800) + "\r\n"},
          part(oldContent, 100, 899, 800)},
         oldContent.substr(100, 800),
         {"bytes=100-899", "bytes=100-899"},
         "bytes=100-899"},
        {"WholeInPlaceOfTheCallersRangeIsNotContinued",
         {cut, everything},
         oldContent,
         {"bytes=100-899", "bytes=100-899"},
         "bytes=100-899"},
        {"PartInChunksThatEndsBeforeItsRange",
         {cut,
          {"HTTP/1.1 206 Partial Content\r\nAccept-Ranges: bytes\r\nContent-Range: bytes "
           "400-999/1000\r\nTransfer-Encoding: chunked\r\n" +
               etag,
           "1f4\r\n" + newContent.substr(400, 500) + "\r\n0\r\n\r\n"},
          everything},
         oldContent,
         {"", rest, ""}},
        {"BytesBeforeABadChunkAreNotBuiltOn",
         {{"HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nTransfer-Encoding: chunked\r\n" + etag,
           "190\r\n" + newContent.substr(0, 400) + "\r\nxx\r\n"},
          everything},
         oldContent,
         {"", ""}},
        {"BytesOfNoLengthAreNotLost",
         {{"HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nTransfer-Encoding: chunked\r\n" + etag,
           "3e8\r\n" + oldContent + "\r\n"},
          page(416, "no", "Content-Range: bytes */1000\r\n"),
          everything},
         oldContent,
         {"", "bytes=1000-", ""}},
        {"CallersSuffixIsContinued",
         {part(oldContent, 800, 999, 50), part(oldContent, 850, 999, 150)},
         oldContent.substr(800),
         {"bytes=-200", "bytes=850-999"},
         "bytes=-200"},
        {"CallersRangeComesBack",
         {part(oldContent, 100, 899, 300), page(503, "busy"), part(oldContent, 100, 899, 800),
          part(oldContent, 100, 899, 800)},
         oldContent.substr(100, 800),
         {"bytes=100-899", "bytes=400-899", "bytes=400-899", "bytes=100-899"},
         "bytes=100-899"},
        {"CallersRangeIsGivenUpWhenItCannotBeHad",
         {page(416, "no"), everything},
         oldContent,
         {"bytes=5000-", ""},
         "bytes=5000-"},
        {"CallersRangeAnsweredWithAnotherFails",
         {part(oldContent, 50, 899, 850), page(404, "x")},
         "x",
         {"bytes=100-899", "bytes=100-899"},
         "bytes=100-899"},
        {"PartThatNobodyAskedForFails",
         {part(oldContent, 400, 999, 600), page(404, "x")},
         "x",
         {"", ""}},
        {"BodyThatDoesNotFitItsContentRange",
         {cut,
          {"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 400-999/1000\r\n"
           "Accept-Ranges: bytes\r\nContent-Length: 500\r\n" +
               etag,
           oldContent.substr(400, 500)},
          everything},
         oldContent,
         {"", rest, ""}},
    };
}

using Parameter = std::tuple<Scenario, Road>;

class ResumeTest : public ::testing::TestWithParam<Parameter> {};
INSTANTIATE_TEST_SUITE_P(Scenarios,
                         ResumeTest,
                         ::testing::Combine(::testing::ValuesIn(scenarios()),
                                            ::testing::Values(Road::Synchronous,
                                                              Road::Asynchronous)),
                         [](const auto& parameter) {
                             return std::get<0>(parameter.param).label +
                                    ::testing::PrintToString(std::get<1>(parameter.param));
                         });

// Answers request after request, each on a connection of its own.
LoopbackServer::Handler scripted(const std::vector<Answer>& answers) {
    return [answers](const ReceivedRequest& request, Connection& connection) {
        const auto number = static_cast<std::size_t>(request.number);
        if (number < answers.size() && !answers[number].head.empty()) {
            connection.send(answers[number].head + "\r\n" + answers[number].body);
        }
        connection.close();
    };
}

// Goes on after every failure and every error page but 404.
bool goesOn(const Attempt& attempt, int total) {
    return attempt.code != HttpResponseCode::NotFound && total < 6 &&
           (!attempt.error.empty() || !isSuccess(attempt.code));
}

TEST_P(ResumeTest, GivesTheRightBytesOrFails) {
    const auto& [scenario, road] = GetParam();
    LoopbackServer server(scripted(scenario.answers));
    TestClient client;
    std::vector<Attempt> attempts;
    client->setClientConfiguration(ClientConfiguration()
                                       .withResumeOnRetry(scenario.resumes)
                                       .withRetryStrategy(recordingStrategy(attempts, goesOn)));
    HttpRequest request(HttpMethod::GET, server.url(), {});
    if (!scenario.callersRange.empty()) {
        request.setHeaderValue("Range", scenario.callersRange);
    }
    const Outcome outcome = client.run(std::move(request), road);
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), scenario.expected) << ::testing::PrintToString(attempts);
    std::vector<std::string> ranges;
    for (const ReceivedRequest& received : server.requests()) {
        ranges.push_back(received.header("Range"));
        const std::string& range = ranges.back();
        // Only a range of the transport's own depends on the version of the resource.
        EXPECT_EQ(received.header("If-Range"),
                  range.empty() || range == scenario.callersRange ? "" : "\"old\"");
        EXPECT_FALSE(received.hasHeader("QZ-Internal-Resume"));
    }
    EXPECT_EQ(ranges, scenario.ranges);
}

class ResumeRoadTest : public BothRoads {
protected:
    // Runs the request with retries and writes down each attempt.
    Outcome run(HttpRequest request) {
        TestClient client;
        client->setClientConfiguration(
            ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
                recordingStrategy(attempts_, goesOn)));
        return client.run(std::move(request), GetParam());
    }

    std::vector<Attempt> attempts_;
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         ResumeRoadTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(ResumeRoadTest, SurvivesAServerThatDropsTheConnectionAgainAndAgain) {
    FlakyFileServer::Options options;
    options.size = 1000000;
    options.dropAfter = 150000;
    options.drops = 5;
    const FlakyFileServer server(options);
    TestClient client;
    std::vector<Attempt> attempts;
    client->setClientConfiguration(
        ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(recordingStrategy(
            attempts, [](const Attempt& attempt, int) { return !attempt.error.empty(); })));
    std::vector<Progress> progress;
    HttpRequest request(HttpMethod::GET, server.url(), {});
    request.setProgressCallback([&progress](const Progress& now) {
        progress.push_back(now);
        return ProgressResult::Continue;
    });
    const Outcome outcome = client.run(std::move(request), GetParam());
    EXPECT_TRUE(outcome.body() == server.content());
    EXPECT_EQ(server.requests().size(), 6U);
    EXPECT_EQ(server.requests().back().header("Range"), "bytes=750000-");
    const auto size = static_cast<std::int64_t>(options.size);
    for (const Progress& each : progress) {
        EXPECT_GE(each.downloaded, 0);
        EXPECT_LE(each.downloaded, size);
    }
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back().downloaded, size);
    EXPECT_EQ(progress.back().downloadTotal, size);
}

// The range was not the caller's, so no strategy has to deal with what the server thinks of it.
TEST_P(ResumeRoadTest, StartsOverWithinTheAttemptWhereItsRangeCannotBeHad) {
    LoopbackServer server(scripted({cut, page(416, "no"), whole(newContent, otherEtag, 1000)}));
    EXPECT_EQ(run(HttpRequest(HttpMethod::GET, server.url(), {})).body(), newContent);
    ASSERT_EQ(attempts_.size(), 2U) << ::testing::PrintToString(attempts_);
    EXPECT_EQ(attempts_[1], (Attempt{HttpResponseCode::OK, ""}));
    EXPECT_EQ(server.requestCount(), 3);
}

// Before a byte of it is appended.
TEST_P(ResumeRoadTest, PartWhoseLengthDoesNotFitIsRefusedAtItsHead) {
    LoopbackServer server(
        scripted({cut,
                  {"HTTP/1.1 206 Partial Content\r\nAccept-Ranges: bytes\r\nContent-Range: bytes "
                   "400-999/1000\r\nContent-Length: 700\r\n" +
                       etag,
                   newContent.substr(0, 700)},
                  whole(oldContent, etag, 1000)}));
    EXPECT_EQ(run(HttpRequest(HttpMethod::GET, server.url(), {})).body(), oldContent);
    EXPECT_EQ(attempts_.size(), 2U) << ::testing::PrintToString(attempts_);
}

TEST_P(ResumeRoadTest, BytesThatCameBeforeABadChunkAreNotBuiltOn) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 0) {
            connection.send(
                "HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nTransfer-Encoding: chunked\r\n" + etag +
                "\r\n190\r\n" + newContent.substr(0, 400) + "\r\n");
            // The client has them before it sees the flaw.
            connection.pause(std::chrono::milliseconds(100));
            connection.send("xx\r\n");
        } else {
            connection.sendResponse(200, "OK", {}, oldContent);
        }
        connection.close();
    });
    EXPECT_EQ(run(HttpRequest(HttpMethod::GET, server.url(), {})).body(), oldContent);
    ASSERT_EQ(server.requestCount(), 2);
    EXPECT_FALSE(server.requests()[1].hasHeader("Range"));
}

TEST_P(ResumeRoadTest, ContinuesAnswersToGetOnly) {
    for (const HttpMethod method : {HttpMethod::PUT, HttpMethod::POST, HttpMethod::DELETE}) {
        LoopbackServer server(scripted({cut, whole(newContent, otherEtag, 1000)}));
        HttpRequest request(method, server.url(), {});
        EXPECT_EQ(run(std::move(request)).body(), newContent);
        ASSERT_EQ(server.requestCount(), 2);
        EXPECT_FALSE(server.requests()[1].hasHeader("Range")) << method;
        EXPECT_FALSE(server.requests()[1].hasHeader("If-Range")) << method;
    }
}

TEST_P(ResumeRoadTest, ContinuesAStreamThatDidNotBeginAtItsStart) {
    for (const bool resumesWell : {true, false}) {
        const std::string shorter = newContent.substr(0, 100);
        LoopbackServer server(scripted(
            {cut, resumesWell ? part(oldContent, 400, 999, 600) : whole(shorter, otherEtag, 100)}));
        TestClient client;
        std::vector<Attempt> attempts;
        client->setClientConfiguration(
            ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
                recordingStrategy(attempts, [](const Attempt& attempt, int total) {
                    return total < 2 && goesOn(attempt, total);
                })));
        HttpRequest request(HttpMethod::GET, server.url(), {});
        request.setResponseStreamFactory(
            [](HttpResponseCode, const std::string, const HttpHeaders&) {
                auto stream = std::make_unique<std::stringstream>();
                *stream << "prefix";
                return stream;
            });
        const Outcome outcome = client.run(std::move(request), GetParam());
        EXPECT_EQ(server.requests().back().header("Range"), "bytes=400-");
        if (resumesWell) {
            EXPECT_EQ(outcome.body(), "prefix" + oldContent);
        } else {
            // The stream cannot be cut, so the bytes behind the new body would stay.
            EXPECT_EQ(outcome.message(),
                      "The response body stream keeps bytes of an earlier, longer body");
        }
    }
}

TEST_P(ResumeRoadTest, CancelledAttemptLeavesNoBytesForTheNext) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 0) {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
            connection.waitForPeerToClose();
        } else {
            connection.sendResponse(200, "OK", {}, "0123456789");
        }
    });
    TestClient client;
    std::vector<Attempt> attempts;
    client->setClientConfiguration(ClientConfiguration().withRetryStrategy(recordingStrategy(
        attempts, [](const Attempt& attempt, int) { return !attempt.error.empty(); })));
    HttpRequest request(HttpMethod::GET, server.url(), {});
    bool aborted = false;
    request.setProgressCallback([&aborted](const Progress&) {
        return std::exchange(aborted, true) ? ProgressResult::Continue : ProgressResult::Abort;
    });
    EXPECT_EQ(client.run(std::move(request), GetParam()).body(), "0123456789");
    ASSERT_EQ(attempts.size(), 2U);
    EXPECT_EQ(attempts[0], (Attempt{HttpResponseCode::RequestNotMade, "Request cancelled"}));
}

TEST(ResumeMarkTest, HandlerGetsTheRequestWithoutTheMark) {
    LoopbackServer server(scripted({cut, part(oldContent, 400, 999, 600)}));
    TestClient client;
    std::vector<Attempt> attempts;
    client->setClientConfiguration(ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
        recordingStrategy(attempts, goesOn)));
    std::promise<bool> marked;
    client->makeAsyncRequest(HttpRequest(HttpMethod::GET, server.url(), {}),
                             [&marked](HttpRequest request, HttpResponse, std::exception_ptr) {
                                 marked.set_value(request.hasHeader("QZ-Internal-Resume"));
                             });
    EXPECT_FALSE(marked.get_future().get());
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
