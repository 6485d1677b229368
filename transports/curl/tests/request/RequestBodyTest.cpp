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

// Whatever the caller names, the last coding is the one that tells where the body ends.
TEST_P(RequestBodyTest, EveryCodingEndsInChunks) {
    struct Row {
        HttpHeaders fields;
        std::vector<std::string> sent;
    };
    const std::vector<Row> rows{
        {{{"Transfer-Encoding", "identity"}}, {"chunked"}},
        {{{"Transfer-Encoding", "Chunked"}}, {"chunked"}},
        {{{"Transfer-Encoding", "gzip"}}, {"gzip, chunked"}},
        {{{"Transfer-Encoding", "gzip, chunked"}}, {"gzip, chunked"}},
        {{{"Transfer-Encoding", "gzip"}, {"Transfer-Encoding", "chunked"}}, {"gzip, chunked"}},
        {{{"Transfer-Encoding", "deflate"}, {"transfer-encoding", "gzip"}},
         {"deflate, gzip, chunked"}},
    };
    for (const Row& row : rows) {
        const Outcome outcome =
            send(row.fields, std::make_unique<std::istringstream>("body"), HttpMethod::PUT);
        ASSERT_EQ(outcome.error, nullptr) << outcome.message();
        EXPECT_EQ(outcome.body(), "body");
        const ReceivedRequest received = server_.requests().back();
        EXPECT_EQ(received.headersNamed("Transfer-Encoding"), row.sent);
        EXPECT_FALSE(received.hasHeader("Content-Length"));
    }
}

TEST_P(RequestBodyTest, CodingsOfNoBodyAreNotSent) {
    for (const HttpMethod method : {HttpMethod::GET, HttpMethod::POST}) {
        const Outcome outcome = client_.run(
            HttpRequest(method, server_.url(), {{"Transfer-Encoding", "gzip, chunked"}}),
            GetParam());
        ASSERT_EQ(outcome.error, nullptr) << outcome.message();
        EXPECT_FALSE(server_.requests().back().hasHeader("Transfer-Encoding")) << method;
    }
    HttpRequest form(HttpMethod::POST, server_.url(), {{"Transfer-Encoding", "gzip"}});
    form.setMultipartBody(MultipartBody().withPart(DataPart(PartHeader("n"), "data")));
    ASSERT_EQ(client_.run(std::move(form), GetParam()).error, nullptr);
    EXPECT_FALSE(server_.requests().back().hasHeader("Transfer-Encoding"));
    EXPECT_TRUE(server_.requests().back().hasHeader("Content-Length"));
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

TEST_P(RequestBodyTest, MissingBodyOfAMethodThatHasOneHasLengthZero) {
    for (const HttpMethod method : {HttpMethod::POST, HttpMethod::PUT, HttpMethod::PATCH}) {
        ASSERT_EQ(client_.run(HttpRequest(method, server_.url(), {}), GetParam()).error, nullptr);
        EXPECT_EQ(server_.requests().back().headersNamed("Content-Length"),
                  std::vector<std::string>{"0"})
            << method;
        EXPECT_FALSE(server_.requests().back().hasHeader("Transfer-Encoding")) << method;
    }
}

TEST_P(RequestBodyTest, SendsTheStreamFromWhereItStands) {
    auto body = std::make_unique<std::istringstream>("0123456789");
    body->seekg(4);
    EXPECT_EQ(send({{"Content-Length", "6"}}, std::move(body), HttpMethod::PUT).body(), "456789");
}

TEST_P(RequestBodyTest, WhatTheStreamThrowsReachesTheCaller) {
    class Throwing : public std::streambuf {
        int_type underflow() override { throw std::domain_error("mine"); }
        std::streamsize xsgetn(char*, std::streamsize) override { throw std::domain_error("mine"); }
        pos_type seekoff(off_type, std::ios::seekdir, std::ios::openmode) override { return 0; }
        pos_type seekpos(pos_type, std::ios::openmode) override { return 0; }
    };
    Throwing buffer;
    const Outcome outcome =
        send({{"Content-Length", "4"}}, std::make_unique<std::istream>(&buffer));
    EXPECT_TRUE(holds<std::domain_error>(outcome.error));
    EXPECT_EQ(outcome.message(), "mine");
}

TEST_P(RequestBodyTest, RetrySendsTheWholeMultipartBodyAgain) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("httpclient_curl_retried." + std::to_string(::getpid()));
    std::ofstream(path) << "file text";
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(request.number == 0 ? 503 : 200, "R");
    });
    std::vector<Attempt> attempts;
    client_->setClientConfiguration(ClientConfiguration().withRetryStrategy(recordingStrategy(
        attempts, [](const Attempt& attempt, int) { return isServerError(attempt.code); })));
    HttpRequest request(HttpMethod::PATCH, server.url(), {});
    request.setMultipartBody(MultipartBody()
                                 .withPart(DataPart(PartHeader("a"), "data"))
                                 .withPart(FilePart(PartHeader("b"), path)));
    const Outcome outcome = client_.run(std::move(request), GetParam());
    std::filesystem::remove(path);
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    ASSERT_EQ(server.requestCount(), 2);
    for (const ReceivedRequest& received : server.requests()) {
        EXPECT_EQ(received.method, "PATCH");
        EXPECT_EQ(received.header("Content-Type").rfind("multipart/form-data; boundary=", 0), 0U);
        EXPECT_NE(received.body.find("\r\n\r\ndata\r\n"), std::string::npos);
        EXPECT_NE(received.body.find("\r\n\r\nfile text\r\n"), std::string::npos);
    }
}

TEST_P(RequestBodyTest, RefusesTwoBodiesAndAFormOfHead) {
    HttpRequest both(HttpMethod::POST, server_.url(), {});
    both.setRequestBody("text");
    both.setMultipartBody(MultipartBody().withPart(DataPart(PartHeader("n"), "data")));
    EXPECT_EQ(client_.run(std::move(both), GetParam()).message(),
              "The request has both a body and a multipart body");
    HttpRequest head(HttpMethod::HEAD, server_.url(), {});
    head.setMultipartBody(MultipartBody().withPart(DataPart(PartHeader("n"), "data")));
    EXPECT_EQ(client_.run(std::move(head), GetParam()).message(),
              "A HEAD request cannot have a body");
    EXPECT_EQ(server_.requestCount(), 0);
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
    enum class Body { Text, None, Form };
    for (const HttpMethod method : {HttpMethod::POST, HttpMethod::PATCH}) {
        for (const Body body : {Body::Text, Body::None, Body::Form}) {
            LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
                if (request.number == 0) {
                    connection.sendResponse(200, "OK");
                } else {
                    connection.close();
                }
            });
            ASSERT_EQ(client_.get(server.url(), GetParam()).error, nullptr);
            HttpRequest request(method, server.url(), {});
            if (body == Body::Text) {
                request.setRequestBody("order");
            } else if (body == Body::Form) {
                request.setMultipartBody(
                    MultipartBody().withPart(DataPart(PartHeader("n"), "order")));
            }
            EXPECT_TRUE(holds<HttpRequestFailedException>(
                client_.run(std::move(request), GetParam()).error));
            EXPECT_EQ(server.requestCount(), 2) << method << " " << static_cast<int>(body);
        }
    }
}

// Nothing happens when these arrive twice.
TEST_P(RequestBodyTest, PutIsRepeatedWhenItsReusedConnectionDies) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 1) {
            connection.close();
        } else {
            connection.sendResponse(200, "OK", {}, request.body);
        }
    });
    ASSERT_EQ(client_.get(server.url(), GetParam()).error, nullptr);
    HttpRequest request(HttpMethod::PUT, server.url(), {});
    request.setRequestBody("state");
    const Outcome outcome = client_.run(std::move(request), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "state");
    EXPECT_EQ(server.requestCount(), 3);
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
