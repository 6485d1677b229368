#include "tests/support/LoopbackServer.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace httpclient_core;
using httpclient_core::testing::Connection;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;

const std::string forged = "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged";

// The head goes out alone, so that what lies behind the body is not read together with it.
void answerWithBytesBehind(Connection& connection,
                           const std::string& head,
                           const std::string& body) {
    connection.send(head);
    connection.pause(std::chrono::milliseconds(20));
    connection.send(body + forged);
}

class ConnectionReuseTest : public ::testing::TestWithParam<HttpMethod> {};

INSTANTIATE_TEST_SUITE_P(Methods,
                         ConnectionReuseTest,
                         ::testing::Values(HttpMethod::GET, HttpMethod::POST, HttpMethod::DELETE),
                         [](const auto& method) {
                             return method.param == HttpMethod::GET    ? "GET"
                                    : method.param == HttpMethod::POST ? "POST"
                                                                       : "DELETE";
                         });

TEST_P(ConnectionReuseTest, BytesBehindAnAnswerAreNotTheNextAnswer) {
    boost::log::core::get()->set_logging_enabled(false);
    for (const std::string framing : {"Content-Length: 5", "Transfer-Encoding: chunked"}) {
        LoopbackServer server([&framing](const ReceivedRequest& request, Connection& connection) {
            if (request.target == "/first") {
                answerWithBytesBehind(connection, "HTTP/1.1 200 OK\r\n" + framing + "\r\n\r\n",
                                      framing.ends_with('5') ? "first" : "5\r\nfirst\r\n0\r\n\r\n");
            } else {
                connection.sendResponse(200, "OK", {}, "second");
            }
        });
        CurlHttpClient client;
        HttpRequest first(HttpMethod::GET, URL(server.url("/first")), {});
        EXPECT_EQ(client.makeRequest(std::move(first)).getResponseBodyString(), "first");
        HttpRequest second(GetParam(), URL(server.url("/second")), {});
        EXPECT_EQ(client.makeRequest(std::move(second)).getResponseBodyString(), "second");
        EXPECT_EQ(server.requestCount(), 2) << "a request was sent twice";
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
