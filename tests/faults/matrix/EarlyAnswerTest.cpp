#include "tests/faults/matrix/Wire.h"
#include "tests/support/RawPeer.h"

#include <atomic>

namespace foundation::httpclient_curl::testing {
namespace {

class EarlyAnswerTest : public BothRoads {};

INSTANTIATE_TEST_SUITE_P(Roads,
                         EarlyAnswerTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

// A server that refuses after the head, and goes on to read, so that its answer is not lost.
TEST_P(EarlyAnswerTest, EndsAnUploadThatTheServerRefuses) {
    std::atomic<std::size_t> taken = 0;
    RawPeer peer([&taken](RawSocket& socket, int) {
        socket.receiveUntil("\r\n\r\n", 4096);
        socket.send(headOf(413, "Connection: close\r\n" + lengthField(4)) + "page");
        for (std::string bytes = socket.receive(); !bytes.empty(); bytes = socket.receive()) {
            taken += bytes.size();
        }
    });
    constexpr std::size_t size = 64 * 1024 * 1024;
    for (const HttpMethod method : {HttpMethod::PUT, HttpMethod::POST}) {
        for (const bool isChunked : {false, true}) {
            TestClient client;
            client->setClientConfiguration(plainConfiguration());
            HttpRequest request(method, peer.url("http"), {});
            request.setRequestBody(std::string(size, 'b'));
            if (isChunked) {
                request.removeHeader("Content-Length");
                request.setHeaderValue("Transfer-Encoding", "chunked");
            }
            taken = 0;
            const Outcome outcome = client.run(std::move(request), GetParam());
            ASSERT_EQ(outcome.error, nullptr) << outcome.message();
            EXPECT_EQ(outcome.code(), HttpResponseCode::PayloadTooLarge);
            EXPECT_EQ(outcome.body(), "page");
            EXPECT_LT(taken, size) << "the body was sent to its end";
        }
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
