#include "support/TestClient.h"

#include <sstream>

namespace foundation::httpclient_curl::testing {
namespace {

class RedirectTest : public BothRoads {
protected:
    RedirectTest() { client_->setClientConfiguration(plainConfiguration()); }
    TestClient client_;
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         RedirectTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

std::string nameOf(HttpMethod method) {
    std::ostringstream name;
    name << method;
    return name.str();
}

TEST_P(RedirectTest, FollowsEveryCodeWithTheRightMethodAndBody) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/end") {
            connection.sendResponse(200, "OK", {}, "end");
        } else {
            connection.sendResponse(std::stoi(request.target.substr(1)), "R",
                                    {{"Location", "/end"}}, "moved");
        }
    });
    const std::vector<HttpMethod> methods{HttpMethod::GET, HttpMethod::POST, HttpMethod::DELETE,
                                          HttpMethod::PUT, HttpMethod::HEAD, HttpMethod::PATCH};
    for (const int code : {301, 302, 303, 307, 308}) {
        for (const HttpMethod method : methods) {
            SCOPED_TRACE(std::to_string(code) + " " + nameOf(method));
            HttpRequest request(method, server.url("/" + std::to_string(code)), {});
            const bool hasBody = method == HttpMethod::POST || method == HttpMethod::PUT ||
                                 method == HttpMethod::PATCH;
            if (hasBody) {
                request.setRequestBody("body");
            }
            HttpMethod expected = method;
            if ((code == 303 && method != HttpMethod::HEAD) ||
                (code < 303 && method == HttpMethod::POST)) {
                expected = HttpMethod::GET;
            }
            const Outcome outcome = client_.run(std::move(request), GetParam());
            ASSERT_EQ(outcome.error, nullptr) << outcome.message();
            EXPECT_EQ(outcome.code(), HttpResponseCode::OK);
            EXPECT_EQ(outcome.body(), expected == HttpMethod::HEAD ? "" : "end");
            const TransactionReport report = outcome.response.getTransactionReport();
            EXPECT_EQ(report.redirectCount(), 1);
            EXPECT_EQ(report.effectiveURL(), URL(server.url("/end")));
            const ReceivedRequest last = server.requests().back();
            EXPECT_EQ(last.method, nameOf(expected));
            const bool keepsBody = hasBody && expected == method;
            EXPECT_EQ(last.body, keepsBody ? "body" : "");
            EXPECT_EQ(last.hasHeader("Content-Type"), keepsBody);
            EXPECT_EQ(last.hasHeader("Content-Length"), keepsBody);
        }
    }
}

TEST_P(RedirectTest, DropsCredentialsOnTheWayToAnotherOriginForGood) {
    LoopbackServer* first = nullptr;
    LoopbackServer second([&first](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(302, "R", {{"Location", first->url("/back")}});
    });
    LoopbackServer server([&second](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/same") {
            connection.sendResponse(302, "R", {{"Location", "/other"}});
        } else if (request.target == "/other") {
            connection.sendResponse(302, "R", {{"Location", second.url("/")}});
        } else {
            connection.sendResponse(200, "OK");
        }
    });
    first = &server;
    const Outcome outcome =
        client_.run(HttpRequest(HttpMethod::GET, server.url("/same"),
                                {{"Authorization", "secret"}, {"cookie", "a=b"}, {"X-A", "1"}}),
                    GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.response.getTransactionReport().redirectCount(), 3);
    const std::vector<ReceivedRequest> own = server.requests();
    ASSERT_EQ(own.size(), 3U);
    EXPECT_EQ(own[1].header("Authorization"), "secret");
    EXPECT_EQ(own[1].header("Cookie"), "a=b");
    for (const ReceivedRequest& request : {second.requests().front(), own[2]}) {
        EXPECT_FALSE(request.hasHeader("Authorization")) << request.target;
        EXPECT_FALSE(request.hasHeader("Cookie")) << request.target;
        EXPECT_EQ(request.header("X-A"), "1") << request.target;
    }
}

TEST_P(RedirectTest, StopsAtTheLimitWithTheLastAnswerInTheResponse) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(302, "Found", {{"Location", "/again"}}, "moved");
    });
    std::vector<Attempt> attempts;
    client_->setClientConfiguration(ClientConfiguration().withMaxRedirects(2).withRetryStrategy(
        recordingStrategy(attempts, [](const Attempt&, int) { return false; })));
    const Outcome outcome = client_.get(server.url("/?secret"), GetParam());
    EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error));
    EXPECT_EQ(outcome.message(),
              "GET " + server.url("/again") + ": Maximum number of redirects (2) reached");
    EXPECT_EQ(server.requestCount(), 3);
    ASSERT_EQ(attempts.size(), 1U);
    EXPECT_EQ(attempts[0].code, HttpResponseCode::Found);
}

TEST_P(RedirectTest, NegativeLimitCountsAsNone) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(302, "Found", {{"Location", "/again"}});
    });
    client_->setClientConfiguration(plainConfiguration().withMaxRedirects(-3));
    EXPECT_NE(client_.get(server.url(), GetParam()).message().find("redirects (0) reached"),
              std::string::npos);
    EXPECT_EQ(server.requestCount(), 1);
}

TEST_P(RedirectTest, DeliversRedirectsThatAreNotFollowed) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(
            request.target == "/bare" ? 301 : 302, "R",
            request.target == "/bare" ? HeaderList{} : HeaderList{{"Location", "/x"}}, "moved");
    });
    EXPECT_EQ(client_.get(server.url("/bare"), GetParam()).body(), "moved");
    client_->setClientConfiguration(plainConfiguration().withFollowRedirects(false));
    const Outcome outcome = client_.get(server.url(), GetParam());
    EXPECT_EQ(outcome.error, nullptr);
    EXPECT_EQ(outcome.code(), HttpResponseCode::Found);
    EXPECT_EQ(outcome.body(), "moved");
    EXPECT_EQ(outcome.response.getTransactionReport().redirectCount(), 0);
}

TEST_P(RedirectTest, ReachesTheLimitExactly) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number < 2) {
            connection.sendResponse(302, "Found", {{"Location", "/again"}}, "moved");
        } else {
            connection.sendResponse(200, "OK", {}, "end");
        }
    });
    client_->setClientConfiguration(plainConfiguration().withMaxRedirects(2));
    const Outcome outcome = client_.get(server.url(), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "end");
    EXPECT_EQ(outcome.response.getTransactionReport().redirectCount(), 2);
}

TEST_P(RedirectTest, ReportOfTooManyNamesTheLastHop) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(302, "Found",
                                {{"Location", "/" + std::to_string(request.number + 1)}}, "moved");
    });
    TransactionReport report(0, URL(""));
    std::string body;
    client_->setClientConfiguration(ClientConfiguration().withMaxRedirects(3).withRetryStrategy(
        [&](const HttpRequest&, const HttpResponse& response, const std::exception_ptr&, int, int) {
            report = response.getTransactionReport();
            body = response.getResponseBodyString();
            return false;
        }));
    EXPECT_NE(client_.get(server.url(), GetParam()).error, nullptr);
    EXPECT_EQ(report.redirectCount(), 3);
    EXPECT_EQ(report.effectiveURL(), URL(server.url("/3")));
    EXPECT_EQ(body, "moved");
}

TEST_P(RedirectTest, OtherCodesWithALocationAreAnswers) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(std::stoi(request.target.substr(1)), "R", {{"Location", "/200"}});
    });
    for (const int code : {201, 300, 304, 305, 306, 309, 404}) {
        const Outcome outcome = client_.get(server.url("/" + std::to_string(code)), GetParam());
        EXPECT_EQ(outcome.error, nullptr) << outcome.message();
        EXPECT_EQ(outcome.code(), HttpResponseCode{code});
        EXPECT_EQ(outcome.response.getTransactionReport().redirectCount(), 0);
    }
}

TEST_P(RedirectTest, GetAfterABodyHasNoFieldOfIt) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/end") {
            connection.sendResponse(200, "OK");
        } else {
            connection.sendResponse(303, "R", {{"Location", "/end"}});
        }
    });
    const HttpHeaders fields{{"Transfer-Encoding", "chunked"}, {"Content-Type", "text/x"},
                             {"Content-Encoding", "gzip"},     {"Content-Language", "en"},
                             {"Content-Location", "/x"},       {"X-A", "1"}};
    HttpRequest request(HttpMethod::PUT, server.url(), fields);
    request.setRequestBody(std::make_unique<std::istringstream>("body"));
    const Outcome outcome = client_.run(std::move(request), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    const ReceivedRequest last = server.requests().back();
    EXPECT_EQ(last.method, "GET");
    for (const auto& [name, value] : fields) {
        EXPECT_EQ(last.hasHeader(name), name == "X-A") << name;
    }
    EXPECT_EQ(server.requests().front().body, "body");
}

TEST_P(RedirectTest, MultipartBodyIsSentAgainOrDropped) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/end") {
            connection.sendResponse(200, "OK");
        } else {
            connection.sendResponse(std::stoi(request.target.substr(1)), "R",
                                    {{"Location", "/end"}});
        }
    });
    for (const int code : {303, 307, 308}) {
        HttpRequest request(HttpMethod::POST, server.url("/" + std::to_string(code)), {});
        request.setMultipartBody(MultipartBody().withPart(DataPart(PartHeader("n"), "data")));
        const Outcome outcome = client_.run(std::move(request), GetParam());
        ASSERT_EQ(outcome.error, nullptr) << outcome.message();
        const ReceivedRequest last = server.requests().back();
        EXPECT_EQ(last.target, "/end");
        EXPECT_EQ(last.method, code == 303 ? "GET" : "POST");
        EXPECT_EQ(last.body.find("\r\n\r\ndata\r\n") != std::string::npos, code != 303)
            << last.body;
        EXPECT_EQ(last.hasHeader("Content-Type"), code != 303);
    }
}

TEST_P(RedirectTest, AnotherNameOrPortIsAnotherOrigin) {
    LoopbackServer other(
        [](const ReceivedRequest&, Connection& connection) { connection.sendResponse(200, "OK"); });
    LoopbackServer server([&other](const ReceivedRequest& request, Connection& connection) {
        const std::string host = request.target == "/name" ? "localhost" : "127.0.0.1";
        const std::string port = request.header("X-Port");
        if (request.target == "/end") {
            connection.sendResponse(200, "OK");
        } else if (request.target == "/port") {
            connection.sendResponse(302, "R", {{"Location", other.url("/end")}});
        } else {
            connection.sendResponse(302, "R", {{"Location", "//" + host + ":" + port + "/end"}});
        }
    });
    for (const char* path : {"/name", "/port", "/same"}) {
        HttpRequest request(HttpMethod::GET, server.url(path),
                            {{"Authorization", "secret"},
                             {"Host", "virtual.test"},
                             {"X-Port", std::to_string(server.port())}});
        const Outcome outcome = client_.run(std::move(request), GetParam());
        ASSERT_EQ(outcome.error, nullptr) << path << outcome.message();
        const bool isSame = std::string_view(path) == "/same";
        const ReceivedRequest last =
            std::string_view(path) == "/port" ? other.requests().back() : server.requests().back();
        EXPECT_EQ(last.target, "/end");
        EXPECT_EQ(last.hasHeader("Authorization"), isSame) << path;
        // The caller's name for the first server is none of another one.
        EXPECT_EQ(last.header("Host") == "virtual.test", isSame) << path << last.header("Host");
    }
}

TEST_P(RedirectTest, RefusesOtherProtocols) {
    for (const char* location : {"file:///etc/hostname", "ftp://127.0.0.1/", "gopher://x/"}) {
        LoopbackServer server([location](const ReceivedRequest&, Connection& connection) {
            connection.sendResponse(302, "R", {{"Location", location}});
        });
        const Outcome outcome = client_.get(server.url(), GetParam());
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error)) << location;
    }
}

TEST_P(RedirectTest, ResolvesRelativeLocationsAndDropsUserInformation) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/a/b/c") {
            connection.sendResponse(302, "R", {{"Location", "../d e?q={1}#part"}});
        } else if (request.target == "/a/d%20e?q=%7B1%7D") {
            connection.sendResponse(
                302, "R", {{"Location", "http://user:word@" + request.header("Host") + "/end"}});
        } else {
            connection.sendResponse(200, "OK");
        }
    });
    const Outcome outcome = client_.get(server.url("/a/b/c"), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(server.requests().back().target, "/end");
    EXPECT_FALSE(server.requests().back().hasHeader("Authorization"));
    EXPECT_EQ(outcome.response.getTransactionReport().effectiveURL(), URL(server.url("/end")));
}

TEST_P(RedirectTest, GivesUpTheBodyOfARedirectThatIsLong) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/end") {
            connection.sendResponse(200, "OK", {}, "end");
        } else {
            connection.sendResponse(302, "R", {{"Location", "/end"}},
                                    std::string(4 * 1024 * 1024, 'x'));
        }
    });
    const Outcome outcome = client_.get(server.url(), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "end");
}

TEST_P(RedirectTest, DoesNotReadABodyWithoutEnd) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/end") {
            connection.sendResponse(200, "OK", {}, "end");
            return;
        }
        connection.send("HTTP/1.1 302 R\r\nLocation: /end\r\n\r\n");
        while (connection.send(std::string(65536, 'x'))) {
        }
    });
    EXPECT_EQ(client_.get(server.url(), GetParam()).body(), "end");
}

TEST_P(RedirectTest, KeepsTheConnectionWhereTheBodyIsShort) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/end") {
            connection.sendResponse(200, "OK", {}, "end");
        } else {
            connection.sendResponse(302, "R", {{"Location", "/end"}}, std::string(60000, 'x'));
        }
    });
    EXPECT_EQ(client_.get(server.url(), GetParam()).body(), "end");
    EXPECT_EQ(server.connectionCount(), 1);
}

TEST_P(RedirectTest, FailsWhereTheBodyCannotBeSentAgain) {
    class Pipe : public std::stringbuf {
    public:
        using std::stringbuf::stringbuf;

    private:
        pos_type seekoff(off_type, std::ios::seekdir, std::ios::openmode) override {
            return pos_type(off_type(-1));
        }
        pos_type seekpos(pos_type, std::ios::openmode) override { return pos_type(off_type(-1)); }
    };
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(307, "R", {{"Location", "/end"}});
    });
    Pipe pipe("body");
    HttpRequest request(HttpMethod::POST, server.url(), {{"Content-Length", "4"}});
    request.setRequestBody(std::make_unique<std::istream>(&pipe));
    EXPECT_EQ(client_.run(std::move(request), GetParam()).message(),
              "The request body cannot be sent a second time");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
