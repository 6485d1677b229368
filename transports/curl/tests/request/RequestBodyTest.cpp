#include "support/TestClient.h"

#include <fstream>
#include <sstream>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

// A stream without positions, such as a pipe.
class UnseekableBuffer : public std::streambuf {
public:
    explicit UnseekableBuffer(std::string text) : text_(std::move(text)) {
        setg(text_.data(), text_.data(), text_.data() + text_.size());
    }

private:
    std::string text_;
};

class UnseekableStream : private UnseekableBuffer, public std::istream {
public:
    explicit UnseekableStream(std::string text)
        : UnseekableBuffer(std::move(text)), std::istream(this) {}
};

class RequestBodyTest : public BothRoads {
protected:
    RequestBodyTest()
        : server_([](const ReceivedRequest& request, Connection& connection) {
              connection.sendResponse(200, "OK", {}, request.body);
          }) {
        client_->setClientConfiguration(plainConfiguration());
    }

    Outcome send(HttpHeaders headers,
                 std::unique_ptr<std::istream> body,
                 HttpMethod method = HttpMethod::POST) {
        HttpRequest request(method, server_.url(), std::move(headers));
        request.setRequestBody(std::move(body));
        return client_.run(std::move(request), GetParam());
    }

    LoopbackServer server_;
    TestClient client_;
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         RequestBodyTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(RequestBodyTest, SendsTextWithItsLength) {
    HttpRequest request(HttpMethod::POST, server_.url(), {});
    request.setRequestBody("Hello");
    const Outcome outcome = client_.run(std::move(request), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "Hello");
    const ReceivedRequest received = server_.requests().front();
    EXPECT_EQ(received.headersNamed("Content-Length"), std::vector<std::string>{"5"});
    EXPECT_EQ(received.headersNamed("Content-Type"), std::vector<std::string>{"text/plain"});
    EXPECT_FALSE(received.hasHeader("Expect"));
}

TEST_P(RequestBodyTest, SendsAStreamInChunks) {
    const std::string body(300000, 'x');
    const Outcome outcome = send({{"Transfer-Encoding", "chunked"}},
                                 std::make_unique<UnseekableStream>(body), HttpMethod::PUT);
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_TRUE(outcome.body() == body);
    const ReceivedRequest received = server_.requests().front();
    EXPECT_EQ(received.headersNamed("Transfer-Encoding"), std::vector<std::string>{"chunked"});
    EXPECT_FALSE(received.hasHeader("Content-Length"));
}

TEST_P(RequestBodyTest, SendsALengthOnceAlsoBesideIdentity) {
    const Outcome outcome = send({{"Content-Length", "3"}, {"Transfer-Encoding", "identity"}},
                                 std::make_unique<std::istringstream>("abc"));
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(server_.requests().front().headersNamed("Content-Length"),
              std::vector<std::string>{"3"});
    EXPECT_FALSE(server_.requests().front().hasHeader("Transfer-Encoding"));
}

TEST_P(RequestBodyTest, StreamShorterThanItsLengthFails) {
    const Outcome outcome =
        send({{"Content-Length", "20"}}, std::make_unique<std::istringstream>("0123456789abcdef"));
    EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error));
    EXPECT_EQ(outcome.message(), "Request body ended after 16 of 20 bytes");
}

TEST_P(RequestBodyTest, StreamLongerThanItsLengthIsCut) {
    const Outcome outcome =
        send({{"Content-Length", "4"}}, std::make_unique<std::istringstream>("0123456789"));
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "0123");
}

TEST_P(RequestBodyTest, EmptyBodyHasLengthZero) {
    HttpRequest request(HttpMethod::PUT, server_.url(), {});
    request.setRequestBody("");
    ASSERT_EQ(client_.run(std::move(request), GetParam()).error, nullptr);
    EXPECT_EQ(server_.requests().front().header("Content-Length"), "0");
}

TEST_P(RequestBodyTest, SendsBodiesOfGetAndDelete) {
    for (const HttpMethod method : {HttpMethod::GET, HttpMethod::DELETE}) {
        const Outcome outcome =
            send({{"Content-Length", "3"}}, std::make_unique<std::istringstream>("abc"), method);
        ASSERT_EQ(outcome.error, nullptr) << outcome.message();
        EXPECT_EQ(outcome.body(), "abc") << method;
    }
}

TEST_P(RequestBodyTest, RefusesWhatCannotBeSent) {
    EXPECT_EQ(send({{"Content-Length", "3"}}, std::make_unique<std::istringstream>("abc"),
                   HttpMethod::HEAD)
                  .message(),
              "A HEAD request cannot have a body");
    EXPECT_EQ(
        send({{"Content-Length", "3x"}}, std::make_unique<std::istringstream>("abc")).message(),
        "Content-Length of the request is no length");
    EXPECT_EQ(send({{"Content-Length", "3"}, {"Content-Length", "4"}},
                   std::make_unique<std::istringstream>("abc"))
                  .message(),
              "The request has two different Content-Length headers");
    auto failed = std::make_unique<std::istringstream>("abc");
    failed->setstate(std::ios::failbit);
    EXPECT_EQ(send({{"Content-Length", "3"}}, std::move(failed)).message(),
              "The request body stream has failed");
    EXPECT_EQ(server_.requestCount(), 0);
}

TEST_P(RequestBodyTest, RetrySendsTheWholeBodyAgain) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(request.number == 0 ? 503 : 200, "R", {}, request.body);
    });
    std::vector<Attempt> attempts;
    client_->setClientConfiguration(ClientConfiguration().withRetryStrategy(recordingStrategy(
        attempts, [](const Attempt& attempt, int) { return isServerError(attempt.code); })));
    HttpRequest request(HttpMethod::POST, server.url(), {});
    request.setRequestBody("payload");
    EXPECT_EQ(client_.run(std::move(request), GetParam()).body(), "payload");
    EXPECT_EQ(server.requestCount(), 2);
}

TEST_P(RequestBodyTest, PostIsNotRepeatedWhenItsReusedConnectionDies) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 0) {
            connection.sendResponse(200, "OK");
        } else {
            connection.close();
        }
    });
    for (const bool hasBody : {true, false}) {
        const int before = server.requestCount();
        ASSERT_EQ(client_.get(server.url(), GetParam()).error == nullptr, hasBody);
        HttpRequest request(HttpMethod::POST, server.url(), {});
        if (hasBody) {
            request.setRequestBody("order");
        }
        EXPECT_TRUE(
            holds<HttpRequestFailedException>(client_.run(std::move(request), GetParam()).error));
        int posts = 0;
        const std::vector<ReceivedRequest> requests = server.requests();
        for (std::size_t i = static_cast<std::size_t>(before); i < requests.size(); ++i) {
            posts += requests[i].method == "POST" ? 1 : 0;
        }
        EXPECT_EQ(posts, 1);
    }
}

TEST_P(RequestBodyTest, SendsMultipartBodies) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("httpclient_curl_part." + std::to_string(::getpid()) + ".txt");
    std::ofstream(path) << "file text";
    HttpRequest request(HttpMethod::PUT, server_.url(), {{"Content-Type", "text/wrong"}});
    request.setMultipartBody(MultipartBody()
                                 .withPart(DataPart(PartHeader("field", "text/x"), "data")
                                               .withCustomHeaderValue("X-Part", "1"))
                                 .withPart(FilePart(PartHeader("upload"), path)));
    const Outcome outcome = client_.run(std::move(request), GetParam());
    std::filesystem::remove(path);
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    const ReceivedRequest received = server_.requests().front();
    EXPECT_EQ(received.method, "PUT");
    const std::string type = received.header("Content-Type");
    const std::string marker = "multipart/form-data; boundary=";
    ASSERT_EQ(type.substr(0, marker.size()), marker);
    const std::string boundary = "--" + type.substr(marker.size());
    EXPECT_EQ(received.body, boundary +
                                 "\r\nContent-Disposition: form-data; name=\"field\"\r\n"
                                 "Content-Type: text/x\r\nX-Part: 1\r\n\r\ndata\r\n" +
                                 boundary +
                                 "\r\nContent-Disposition: form-data; name=\"upload\"; "
                                 "filename=\"" +
                                 path.filename().string() +
                                 "\"\r\nContent-Type: text/plain\r\n\r\nfile text\r\n" + boundary +
                                 "--\r\n");
}

TEST_P(RequestBodyTest, RefusesPartsThatCannotBeSent) {
    const auto sendPart = [this](MultipartBody body) {
        HttpRequest request(HttpMethod::POST, server_.url(), {});
        request.setMultipartBody(std::move(body));
        return client_.run(std::move(request), GetParam()).message();
    };
    EXPECT_EQ(sendPart(MultipartBody().withPart(FilePart("/nowhere/file"))),
              "Cannot read the file part /nowhere/file");
    EXPECT_EQ(sendPart(MultipartBody().withPart(FilePart("/tmp"))),
              "Cannot read the file part /tmp");
    EXPECT_EQ(sendPart(MultipartBody().withPart(
                  DataPart(PartHeader("n", "text/plain\r\nX-Injected: 1"), "d"))),
              "The request header Content-Type holds a line break or a NUL");
    EXPECT_EQ(sendPart(MultipartBody().withPart(
                  DataPart(PartHeader("n"), "d").withCustomHeaderValue("X", "a\nb"))),
              "The request header X holds a line break or a NUL");
    EXPECT_EQ(server_.requestCount(), 0);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
