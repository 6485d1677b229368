#include "support/TestClient.h"

#include <atomic>

namespace foundation::httpclient_curl::testing {
namespace {

LoopbackServer::Handler sendingThenClosing(std::string bytes) {
    return [bytes = std::move(bytes)](const ReceivedRequest&, Connection& connection) {
        connection.send(bytes);
        connection.close();
    };
}

/// Which of the header blocks of an answer reach the response, and when.
class HeaderCommitTest : public BothRoads {
protected:
    HeaderCommitTest() { client_->setClientConfiguration(plainConfiguration()); }

    // Runs a GET and counts how often the response's code or headers change.
    Outcome get(const std::string& url) {
        HttpRequest request(HttpMethod::GET, url, {});
        request.setPreRespCodeAndHeadersCallback([this] { ++changes_; });
        return client_.run(std::move(request), GetParam());
    }

    int changes_ = 0;
    TestClient client_;
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         HeaderCommitTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(HeaderCommitTest, OnlyTheFinalAnswerChangesTheResponse) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.send("HTTP/1.1 100 Continue\r\nX-Interim: 1\r\n\r\n");
        connection.send("HTTP/1.1 103 Early Hints\r\nX-Interim: 2\r\n\r\n");
        if (request.target == "/") {
            connection.sendResponse(302, "Found", {{"Location", "/end"}, {"X-Hop", "1"}}, "moved");
        } else {
            connection.send(
                "HTTP/1.1 201 Made\r\nX-End: 1\r\nTransfer-Encoding: chunked\r\n\r\n"
                "4\r\nbody\r\n0\r\nX-End: 2\r\nX-Trailer: 1\r\n\r\n");
        }
    });
    const Outcome outcome = get(server.url());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.response.getResponseCodeReason(), "Made");
    EXPECT_EQ(outcome.body(), "body");
    EXPECT_EQ(outcome.response.getHeaders().getAll("X-End"), std::vector<std::string>{"1"});
    for (const char* name : {"X-Interim", "X-Hop", "Location", "X-Trailer"}) {
        EXPECT_FALSE(outcome.response.hasHeader(name)) << name;
    }
    EXPECT_EQ(changes_, 2) << "once for code and reason, once for the headers";
}

// The new protocol is none that libcurl knows, so its bytes are a failure, but the caller sees what came.
TEST_P(HeaderCommitTest, SwitchOfProtocolsIsAnAnswer) {
    LoopbackServer server(sendingThenClosing(
        "HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\nConnection: Upgrade\r\n\r\n"));
    std::string upgrade;
    std::vector<Attempt> attempts;
    client_->setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [&](const HttpRequest&, const HttpResponse& response, const std::exception_ptr& error, int,
            int) {
            attempts.push_back({response.getResponseCode(), messageOf(error)});
            upgrade = response.getHeaders().getHeaderValueOr("Upgrade", "none");
            return false;
        }));
    get(server.url());
    ASSERT_EQ(attempts.size(), 1U);
    EXPECT_EQ(attempts[0].code, HttpResponseCode::SwitchingProtocols) << attempts[0];
    EXPECT_EQ(upgrade, "x");
}

TEST_P(HeaderCommitTest, BytesBehindASwitchOfProtocolsAreNoBody) {
    for (const std::string field : {"", "Content-Length: 10\r\n", "Content-Length: 5\r\n"}) {
        LoopbackServer server(
            sendingThenClosing("HTTP/1.1 101 Switching Protocols\r\n" + field + "\r\nHello"));
        client_->setClientConfiguration(plainConfiguration());
        const Outcome outcome = get(server.url());
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error)) << field;
        EXPECT_NE(outcome.message().find("bytes of another protocol follow it"), std::string::npos)
            << outcome.message();
    }
}

TEST_P(HeaderCommitTest, MissingReasonIsThatOfTheCode) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.send("HTTP/1.1 " + request.target.substr(1) +
                        (request.number % 2 == 0 ? "" : " ") + "\r\nContent-Length: 0\r\n\r\n");
    });
    for (const char* code : {"200", "204", "404", "503"}) {
        for (int i = 0; i < 2; ++i) {
            const Outcome outcome = get(server.url("/" + std::string(code)));
            EXPECT_EQ(outcome.response.getResponseCodeReason(),
                      getReasonStringForCode(HttpResponseCode{std::stoi(code)}));
            EXPECT_FALSE(outcome.response.getResponseCodeReason().empty()) << code;
        }
    }
}

TEST_P(HeaderCommitTest, FoldedLinesAreJoinedWithOneBlankEach) {
    LoopbackServer server(
        sendingThenClosing("HTTP/1.1 200 OK\r\nX-A: one\r\n two\r\n\t \tthree \r\nX-B:\r\n four\r\n"
                           "X-C: five\r\n\r\n"));
    const Outcome outcome = get(server.url());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.response.getHeaderValue("X-A"), "one two three");
    EXPECT_EQ(outcome.response.getHeaderValue("X-C"), "five");
    EXPECT_NE(outcome.response.getHeaderValue("X-B").find("four"), std::string::npos);
}

// Each answer follows a whole one, of which nothing may be touched any more: AddressSanitizer sees it.
TEST_P(HeaderCommitTest, FoldedLineInTheFirstPlaceContinuesNoFormerAnswer) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        const bool isWhole = request.number % 2 == 0;
        connection.send(std::string("HTTP/1.1 200 OK\r\n") +
                        (isWhole ? "" : " " + std::string(1000, 'f') + "\r\n") +
                        "X-A: one\r\nContent-Length: 5\r\n\r\nHello");
    });
    for (int i = 0; i < 20; ++i) {
        const Outcome whole = get(server.url());
        ASSERT_EQ(whole.error, nullptr) << whole.message();
        EXPECT_EQ(whole.response.getHeaderValue("X-A"), "one");
        const Outcome folded = get(server.url());
        EXPECT_TRUE(holds<HttpRequestFailedException>(folded.error) || folded.body() == "Hello")
            << folded.message();
    }
}

// In the first place, or behind a line that is no field, where it might be read as a field of its own, or
// its blanks as the end of the header.
TEST_P(HeaderCommitTest, FoldedLineThatContinuesNoFieldIsAFailure) {
    for (const std::string fields :
         {" Content-Length: 3\r\n", " \r\nContent-Length: 5\r\n",
          "nonsense\r\n Content-Length: 3\r\n", "nonsense\r\n \r\nContent-Length: 5\r\n"}) {
        LoopbackServer server(
            sendingThenClosing("HTTP/1.1 200 OK\r\n" + fields + "X-A: one\r\n\r\nHello"));
        const Outcome outcome = get(server.url());
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error)) << fields << outcome.body();
    }
}

TEST_P(HeaderCommitTest, FoldedLinesCountAsFields) {
    for (const int count : {998, 1000, 60000}) {
        std::string fields = "X-A: one\r\n";
        for (int i = 0; i < count; ++i) {
            fields += " f\r\n";
        }
        LoopbackServer server(sendingThenClosing("HTTP/1.1 200 OK\r\n" + fields + "X: y\r\n\r\n"));
        const Outcome outcome = get(server.url());
        EXPECT_EQ(outcome.message().find("The response has more than 1000 header fields") !=
                      std::string::npos,
                  count >= 1000)
            << outcome.message();
    }
}

TEST_P(HeaderCommitTest, EndlessLineIsAFailureAndNoLackOfMemory) {
    LoopbackServer server(
        sendingThenClosing("HTTP/1.1 200 OK\r\nX: " + std::string(150000, 'x') + "\r\n\r\n"));
    std::vector<Attempt> attempts;
    client_->setClientConfiguration(ClientConfiguration().withRetryStrategy(
        recordingStrategy(attempts, [](const Attempt&, int) { return false; })));
    EXPECT_TRUE(holds<HttpRequestFailedException>(get(server.url()).error));
    EXPECT_EQ(attempts, (std::vector<Attempt>{
                            {HttpResponseCode::ResponseNotReceived,
                             "GET " + server.url() + ": response header too long (libcurl 27)"}}));
}

TEST_P(HeaderCommitTest, ExpectationIsSentWhereTheCallerHasOne) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(200, "OK", {}, request.header("Expect") + " " + request.body);
    });
    HttpRequest request(HttpMethod::PUT, server.url(), {{"Expect", "100-continue"}});
    request.setRequestBody("body");
    request.setPreRespCodeAndHeadersCallback([this] { ++changes_; });
    EXPECT_EQ(client_.run(std::move(request), GetParam()).body(), "100-continue body");
    EXPECT_EQ(changes_, 2);
}

TEST_P(HeaderCommitTest, RefusedExpectationOfARequestWithoutBodyIsTheAnswer) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(417, "Never", {}, "no");
    });
    const Outcome outcome =
        client_.run(HttpRequest(HttpMethod::GET, server.url(), {{"Expect", "magic"}}), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.code(), HttpResponseCode::ExpectationFailed);
    EXPECT_EQ(outcome.body(), "no");
}

/// Refuses the expectation of the first request without reading its body, and accepts the next request.
class ExpectationRefuser {
public:
    explicit ExpectationRefuser(std::string answer)
        : answer_(std::move(answer)), peer_([this](RawSocket& socket, int) { serve(socket); }) {}

    std::string url() const { return peer_.url("http"); }

private:
    void serve(RawSocket& socket) {
        std::string input;
        while (requests_ < 2) {
            const std::string more = socket.receive();
            if (more.empty()) {
                return;
            }
            input += more;
            const std::size_t head = input.find("\r\n\r\n");
            if (head == std::string::npos) {
                continue;
            }
            if (requests_ == 0) {
                ++requests_;
                input.clear();
                socket.send(
                    "HTTP/1.1 417 Never\r\nX-No: 1\r\nTransfer-Encoding: "
                    "chunked\r\n\r\n2\r\nno\r\n0\r\n\r\n");
            } else if (input.substr(head + 4) == "body") {
                ++requests_;
                socket.send(answer_);
            }
        }
    }

    std::string answer_;
    std::atomic<int> requests_ = 0;  // Of whichever connection.
    RawPeer peer_;                   // Last: its threads use the rest.
};

TEST_P(HeaderCommitTest, RefusedExpectationThatIsRepeatedLeavesNoTrace) {
    const ExpectationRefuser server("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\ndone");
    HttpRequest request(HttpMethod::POST, server.url(), {{"Expect", "100-continue"}});
    request.setRequestBody("body");
    request.setPreRespCodeAndHeadersCallback([this] { ++changes_; });
    const Outcome outcome = client_.run(std::move(request), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.code(), HttpResponseCode::OK);
    EXPECT_EQ(outcome.body(), "done");
    EXPECT_FALSE(outcome.response.hasHeader("X-No"));
    EXPECT_EQ(changes_, 2);
}

TEST_P(HeaderCommitTest, ChunksOfTheAnswerAfterARefusedExpectationAreCheckedToo) {
    const ExpectationRefuser server(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4z\r\ndone\r\n0\r\n\r\n");
    HttpRequest request(HttpMethod::POST, server.url(), {{"Expect", "100-continue"}});
    request.setRequestBody("body");
    EXPECT_NE(
        client_.run(std::move(request), GetParam()).message().find("its chunks make no sense"),
        std::string::npos);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
