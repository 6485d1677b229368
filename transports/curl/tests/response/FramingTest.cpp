#include "support/TestClient.h"

#include <algorithm>
#include <atomic>

namespace foundation::httpclient_curl::testing {
namespace {

// Sends the bytes as they are and closes, whatever is asked.
LoopbackServer::Handler sendingThenClosing(std::string bytes) {
    return [bytes = std::move(bytes)](const ReceivedRequest&, Connection& connection) {
        connection.send(bytes);
        connection.close();
    };
}

bool isOurs(const std::exception_ptr& error) {
    return holds<HttpRequestFailedException>(error) || holds<HttpRequestTimeoutException>(error);
}

const std::string ok = "HTTP/1.1 200 OK\r\n";
const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";

struct Case {
    const char* label;
    std::string answer;
    std::string body;     ///< What the caller gets where there is no error.
    std::string failure;  ///< Part of the error's text; empty for none.

    friend std::ostream& operator<<(std::ostream& os, const Case& each) { return os << each.label; }
};

std::vector<Case> cases() {
    const std::string malformed = "The answer is malformed: ";
    const std::string badChunks = malformed + "its chunks make no sense";
    const std::string left = "(libcurl 18)";
    const std::string gzip("\x1f\x8b\x08\0\0\0\0\0\0\x03\xcbH\xcd\xc9\xc9", 15);
    return {
        // Lengths
        {"Whole", ok + "Content-Length: 5\r\n\r\nHello", "Hello", ""},
        {"Short", ok + "Content-Length: 6\r\n\r\nHello", "", left},
        {"LongIsCut", ok + "Content-Length: 4\r\n\r\nHello", "Hell", ""},
        {"Empty", ok + "Content-Length: 0\r\n\r\n", "", ""},
        {"NoLengthEndsWithTheConnection", ok + "\r\nHello", "Hello", ""},
        {"TwoEqualLengths", ok + "Content-Length: 5\r\nContent-Length: 5\r\n\r\nHello", "Hello",
         ""},
        {"ListOfEqualLengths", ok + "Content-Length: 5, 5\r\n\r\nHello", "Hello", ""},
        {"TwoLengths", ok + "Content-Length: 5\r\ncontent-length: 4\r\n\r\nHello", "",
         malformed + "it has two different Content-Length values"},
        {"ListOfTwoLengths", ok + "Content-Length: 5, 4\r\n\r\nHello", "",
         malformed + "it has two different Content-Length values"},
        {"LengthWithRest", ok + "Content-Length: 5x\r\n\r\nHello", "",
         malformed + "its Content-Length is no length"},
        {"HugeLength", ok + "Content-Length: 99999999999999999999\r\n\r\nHello", "",
         malformed + "its Content-Length is no length"},
        {"LengthIsNoNumber", ok + "Content-Length: five\r\n\r\nHello", "", "(libcurl 8)"},
        {"NegativeLength", ok + "Content-Length: -5\r\n\r\nHello", "", "(libcurl 8)"},
        {"EmptyLength", ok + "Content-Length:\r\n\r\nHello", "", "(libcurl 8)"},
        {"FoldedLength", ok + "Content-Length:\r\n 5\r\n\r\nHello", "", "(libcurl 8)"},
        {"LengthGrowsByFolding", ok + "Content-Length: 4\r\n 2\r\n\r\nHello", "",
         malformed + "its Content-Length is no length"},
        {"BlankBeforeTheColon", ok + "Content-Length : 4\r\n\r\nHello", "",
         malformed + "a name in its header is followed by a blank"},
        {"CrInAField", ok + "X: a\rContent-Length: 4\r\n\r\nHello", "",
         malformed + "a line of its header holds a CR or a NUL"},
        {"CrInTheStatusLine", "HTTP/1.1 200 OK\rContent-Length: 4\r\n\r\nHello", "",
         malformed + "a line of its header holds a CR or a NUL"},
        {"CrAtTheEndOfAField", ok + "X: a\r\r\nContent-Length: 4\r\n\r\nHello", "",
         malformed + "a line of its header holds a CR or a NUL"},
        {"CrAtTheEndOfTheHead", ok + "\r\r\nX: a\r\n\r\nHello", "",
         malformed + "a line of its header holds a CR or a NUL"},
        {"CrAtTheEndOfAnInterimAnswer",
         "HTTP/1.1 100 Continue\r\n\rX: a\n" + ok + "Content-Length: 5\r\n\r\nHello", "",
         malformed + "a line of its header holds a CR or a NUL"},
        {"FieldLikeAStatusLine", ok + "HTTP/1: x\r\nContent-Length: 5\r\n\r\nHello", "Hello", ""},
        {"FieldLikeAStatusLineHidesNoLength",
         ok + "Content-Length: 5\r\nHTTP/1: x\r\nTransfer-Encoding: chunked\r\n\r\n"
              "5\r\nHello\r\n0\r\n\r\n",
         "", malformed + "it has both Content-Length and Transfer-Encoding"},
        {"NulInAField", ok + std::string("X: a\0b\r\n\r\nHello", 15), "", "(libcurl 8)"},
        {"LineWithoutColon", ok + "Nonsense\r\nContent-Length: 4\r\n\r\nHello", "", "(libcurl 8)"},
        {"LinesEndWithLineFeeds", "HTTP/1.1 200 OK\nContent-Length: 4\n\nHello", "Hell", ""},
        // Codings
        {"LengthAndChunks",
         ok + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nHello\r\n0\r\n\r\n", "",
         malformed + "it has both Content-Length and Transfer-Encoding"},
        {"OtherCoding", ok + "Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n", "",
         malformed + "its Transfer-Encoding is not chunked"},
        {"ChunkedTwice", ok + "Transfer-Encoding: chunked, chunked\r\n\r\n0\r\n\r\n", "",
         malformed + "its Transfer-Encoding is not chunked"},
        {"GzipIsNotDecoded", ok + "Content-Encoding: gzip\r\nContent-Length: 15\r\n\r\n" + gzip,
         gzip, ""},
        {"TruncatedGzip", ok + "Content-Encoding: gzip\r\nContent-Length: 20\r\n\r\n" + gzip, "",
         left},
        // Chunks
        {"Chunks", chunked + "3\r\nHel\r\n02\r\nlo\r\n0\r\n\r\n", "Hello", ""},
        {"ChunkExtensions", chunked + "5 ;a=\"b\";c\r\nHello\r\n0;x\r\n\r\n", "Hello", ""},
        {"Trailers", chunked + "5\r\nHello\r\n0\r\nX: y\r\n\r\n", "Hello", ""},
        {"NoChunks", chunked + "0\r\n\r\n", "", ""},
        {"UpperCaseSize", chunked + "A\r\n0123456789\r\n000\r\n\r\n", "0123456789", ""},
        {"ChunkBrokenOff", chunked + "6\r\nHello", "", left},
        {"LastChunkMissing", chunked + "5\r\nHello\r\n", "", left},
        {"EndMissing", chunked + "5\r\nHello\r\n0\r\n", "", left},
        {"NothingAtAll", chunked, "", left},
        {"SizeWithPrefix", chunked + "0x5\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"SizeWithRest", chunked + "5z\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"SizeAfterBlank", chunked + " 5\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"NegativeSize", chunked + "-5\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"SizeMissing", chunked + "\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"HugeSize", chunked + "FFFFFFFFFFFFFFFFF\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"SizeTooSmall", chunked + "4\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"SizeEndsWithLineFeed", chunked + "5\nHello\r\n0\r\n\r\n", "", badChunks},
        {"SizeTooLarge", chunked + "6\r\nHello\r\n0\r\n\r\n", "", badChunks},
        {"EndlessExtension", chunked + "5;" + std::string(20000, 'x') + "\r\nHello\r\n0\r\n\r\n",
         "", badChunks},
        {"PlainBodyCalledChunked", chunked + "Hello", "", badChunks},
        // Status lines
        {"OldVersion", "HTTP/0.9 200 OK\r\nContent-Length: 5\r\n\r\nHello", "", "(libcurl 1)"},
        {"NoStatusLine", "Hello", "", "(libcurl 1)"},
        {"Html", "<html>Hello</html>\r\n\r\n", "", "(libcurl 1)"},
        {"NewVersion", "HTTP/7.0 200 OK\r\n\r\nHello", "", "(libcurl 1)"},
        {"CodeOfFourDigits", "HTTP/1.1 2000 OK\r\nContent-Length: 5\r\n\r\nHello", "", "libcurl"},
        {"CodeIsNoNumber", "HTTP/1.1 abc OK\r\nContent-Length: 5\r\n\r\nHello", "", "libcurl"},
        {"NoVersionAndACodeThatLibcurlDoesNotRead", "HTTP/x 304 Not Modified\r\n\r\nHello", "",
         malformed + "its status line makes no sense"},
        {"InterimAnswerOnly", "HTTP/1.1 100 Continue\r\n\r\n", "", "libcurl"},
        {"Nothing", "", "", "(libcurl 52)"},
        {"VersionOne", "HTTP/1.0 200 OK\r\n\r\nHello", "Hello", ""},
    };
}

using Parameter = std::tuple<Case, Road>;

class FramingTest : public ::testing::TestWithParam<Parameter> {};
INSTANTIATE_TEST_SUITE_P(Answers,
                         FramingTest,
                         ::testing::Combine(::testing::ValuesIn(cases()),
                                            ::testing::Values(Road::Synchronous,
                                                              Road::Asynchronous)),
                         [](const auto& parameter) {
                             return std::get<0>(parameter.param).label +
                                    ::testing::PrintToString(std::get<1>(parameter.param));
                         });

TEST_P(FramingTest, EndsInTheExactBodyOrAFailure) {
    const auto& [each, road] = GetParam();
    LoopbackServer server(sendingThenClosing(each.answer));
    TestClient client;
    client->setClientConfiguration(plainConfiguration());
    const Outcome outcome = client.get(server.url(), road);
    if (each.failure.empty()) {
        EXPECT_EQ(outcome.message(), "");
        EXPECT_EQ(outcome.code(), HttpResponseCode::OK);
        EXPECT_EQ(outcome.body(), each.body);
    } else {
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error)) << outcome.message();
        EXPECT_NE(outcome.message().find(each.failure), std::string::npos) << outcome.message();
    }
}

class FramingRoadTest : public BothRoads {};
INSTANTIATE_TEST_SUITE_P(Roads,
                         FramingRoadTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

// The heads of answers that have no body or end with the connection, so that nothing but the position in
// the head tells a whole answer from a broken one.
TEST_P(FramingRoadTest, EndOfTheConnectionAtAnyByteOfTheHeadIsAFailure) {
    for (const std::string head : {
             "HTTP/1.1 200 OK\r\nX-A: b\r\nContent-Length: 0\r\n\r\n",
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
             "HTTP/1.1 200 OK\r\nX: y\r\n\r\n",
             "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 204 No Content\r\nX-A: b\r\n\r\n",
             "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n",
             "HTTP/1.0 200 OK\r\n\r\n",
             "HTTP/1.1 200\nX: y\n\n",
         }) {
        std::atomic<std::size_t> end = 0;
        LoopbackServer server([&](const ReceivedRequest&, Connection& connection) {
            connection.send(head.substr(0, end));
            connection.close();
        });
        TestClient client;
        client->setClientConfiguration(plainConfiguration());
        for (end = 0; end <= head.size(); ++end) {
            const Outcome outcome = client.get(server.url(), GetParam());
            const std::string sent = ::testing::PrintToString(head.substr(0, end));
            if (end == head.size()) {
                EXPECT_EQ(outcome.message(), "") << sent;
            } else {
                EXPECT_TRUE(isOurs(outcome.error)) << sent << " " << outcome.message();
            }
        }
    }
}

TEST_P(FramingRoadTest, BrokenHeadOfARedirectIsNotFollowed) {
    const std::string head = "HTTP/1.1 302 Found\r\nLocation: /next\r\nContent-Length: 0\r\n\r\n";
    std::atomic<std::size_t> end = 0;
    LoopbackServer server([&](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/next") {
            connection.sendResponse(200, "OK", {}, "Hello");
        } else {
            connection.send(head.substr(0, end));
            connection.close();
        }
    });
    TestClient client;
    client->setClientConfiguration(plainConfiguration());
    for (end = 0; end < head.size(); ++end) {
        EXPECT_TRUE(isOurs(client.get(server.url(), GetParam()).error)) << end.load();
    }
    EXPECT_EQ(client.get(server.url(), GetParam()).body(), "Hello");
}

TEST_P(FramingRoadTest, EndOfTheConnectionAtAnyByteOfAChunkedBodyIsAFailure) {
    const std::string answer = chunked + "3;x=y\r\nHel\r\n2\r\nlo\r\n0\r\nX: y\r\n\r\n";
    std::atomic<std::size_t> end = 0;
    LoopbackServer server([&](const ReceivedRequest&, Connection& connection) {
        connection.send(answer.substr(0, end));
        connection.close();
    });
    TestClient client;
    client->setClientConfiguration(plainConfiguration());
    for (end = chunked.size(); end < answer.size(); ++end) {
        const Outcome outcome = client.get(server.url(), GetParam());
        EXPECT_TRUE(isOurs(outcome.error)) << end << " " << outcome.body();
    }
    EXPECT_EQ(client.get(server.url(), GetParam()).body(), "Hello");
}

// However the network cuts it.
TEST_P(FramingRoadTest, ChunkedBodyMayComeByteByByte) {
    const std::string answer = chunked + "3;x=y\r\nHel\r\n2 \r\nlo\r\n0\r\n\r\n";
    LoopbackServer server([&](const ReceivedRequest& request, Connection& connection) {
        for (const char c :
             request.target == "/bad" ? chunked + "3\r\nHelXX2\r\nlo\r\n0\r\n\r\n" : answer) {
            connection.send(std::string_view(&c, 1));
            connection.pause(std::chrono::milliseconds(1));
        }
    });
    TestClient client;
    client->setClientConfiguration(plainConfiguration());
    EXPECT_EQ(client.get(server.url(), GetParam()).body(), "Hello");
    EXPECT_TRUE(isOurs(client.get(server.url("/bad"), GetParam()).error));
}

TEST_P(FramingRoadTest, ConnectionIsUsedAgainAfterAChunkedBody) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send(chunked + "5\r\nHello\r\n0\r\n\r\n");
    });
    TestClient client;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.get(server.url(), GetParam()).body(), "Hello");
    }
    EXPECT_EQ(server.connectionCount(), 1);
}

TEST_P(FramingRoadTest, MalformedAnswerMayBeAskedForAgain) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.send(request.number == 0 ? chunked + "5x\r\nHello\r\n0\r\n\r\n"
                                            : chunked + "5\r\nHello\r\n0\r\n\r\n");
        connection.close();
    });
    TestClient client;
    client->setClientConfiguration(retryingConfiguration());
    EXPECT_EQ(client.get(server.url(), GetParam()).body(), "Hello");
    EXPECT_EQ(server.requestCount(), 2);
}

class LimitTest : public BothRoads {
protected:
    // The error of one request with these options, which no retry may follow.
    std::string failure(const std::string& answer, CurlClientOptions options) {
        LoopbackServer server(sendingThenClosing(answer));
        TestClient client(std::move(options));
        client->setClientConfiguration(retryingConfiguration());
        const Outcome outcome = client.get(server.url(), GetParam());
        EXPECT_EQ(server.requestCount(), 1);
        return outcome.message();
    }
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         LimitTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

std::string fields(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "X-" + std::to_string(i) + ": y\r\n";
    }
    return text;
}

TEST_P(LimitTest, HeaderFields) {
    const std::string text = "The response has more than 1000 header fields";
    EXPECT_EQ(failure(ok + fields(1001) + "\r\n", {}), text);
    EXPECT_EQ(failure(ok + fields(1000) + "\r\n", {}), "");
    CurlClientOptions options;
    options.maxResponseHeaderFields = 3;
    EXPECT_EQ(failure(ok + fields(4) + "\r\n", options),
              "The response has more than 3 header fields");
    EXPECT_EQ(failure(ok + fields(3) + "\r\n", options), "");
}

TEST_P(LimitTest, HeaderBytes) {
    CurlClientOptions options;
    options.maxResponseHeaderBytes = 1000;
    const std::string text = "The response headers are larger than 1000 bytes";
    const std::string rest(1000 - ok.size() - 7, 'x');
    EXPECT_EQ(failure(ok + "X: " + rest + "\r\n\r\n", options), "");
    EXPECT_EQ(failure(ok + "X: x" + rest + "\r\n\r\n", options), text);
    std::string interim;
    for (int i = 0; i < 50; ++i) {
        interim += "HTTP/1.1 103 Early Hints\r\n\r\n";
    }
    EXPECT_EQ(failure(interim + ok + "\r\n", options), text);
    EXPECT_EQ(failure(chunked + "0\r\nX: " + rest + "\r\nY: z\r\n\r\n", options), text);
}

TEST_P(LimitTest, EndlessHeaderEnds) {
    EXPECT_NE(failure(ok + "X: " + std::string(2000000, 'x'), {}), "");
    EXPECT_NE(failure(ok + fields(100000), {}), "");
}

TEST_P(LimitTest, BodyBytes) {
    CurlClientOptions options;
    options.maxResponseBodyBytes = 4;
    const std::string text = "The response body is larger than 4 bytes";
    EXPECT_EQ(failure(ok + "Content-Length: 4\r\n\r\nHell", options), "");
    EXPECT_EQ(failure(ok + "Content-Length: 5\r\n\r\nHello", options), text);
    EXPECT_EQ(failure(ok + "\r\nHello", options), text);
    EXPECT_EQ(failure(chunked + "3\r\nHel\r\n2\r\nlo\r\n0\r\n\r\n", options), text);
    EXPECT_EQ(failure("HTTP/1.1 304 Not Modified\r\nContent-Length: 5\r\n\r\n", options), "");
    options.maxResponseBodyBytes = 0;
    EXPECT_EQ(failure(ok + "Content-Length: 0\r\n\r\n", options), "");
}

TEST_P(LimitTest, BodyBytesCountOverAllAttempts) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.send(request.number == 0
                            ? "HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nETag: \"a\"\r\n"
                              "Transfer-Encoding: chunked\r\n\r\n5\r\nHello\r\n"
                            : "HTTP/1.1 206 Part\r\nETag: \"a\"\r\nContent-Range: bytes 5-9/10\r\n"
                              "Content-Length: 5\r\n\r\nWorld");
        connection.close();
    });
    CurlClientOptions options;
    options.maxResponseBodyBytes = 9;
    TestClient client(std::move(options));
    client->setClientConfiguration(resumingConfiguration());
    EXPECT_EQ(client.get(server.url(), GetParam()).message(),
              "The response body is larger than 9 bytes");
    EXPECT_EQ(server.requestCount(), 2);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
