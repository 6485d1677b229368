#include "support/TestClient.h"

#include <atomic>
#include <ctime>
#include <dlfcn.h>

namespace foundation::httpclient_curl::testing {
namespace {

std::atomic<std::time_t> secondsAhead = 0;

class ConnectionAgeTest : public ::testing::Test {
protected:
    ConnectionAgeTest() { client_->setClientConfiguration(plainConfiguration()); }
    ~ConnectionAgeTest() override { secondsAhead = 0; }

    // Which connection the next request goes over. On this thread: the waits of others would last.
    int connectionAfter(std::time_t seconds) {
        secondsAhead += seconds;
        const Outcome outcome = client_.get(server_.url());
        EXPECT_EQ(outcome.error, nullptr) << outcome.message();
        return std::stoi(outcome.body());
    }

    LoopbackServer server_{[](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(200, "OK", {}, std::to_string(request.connectionNumber));
    }};
    TestClient client_;
};

// Servers and the boxes before them drop idle connections after a minute or more.
TEST_F(ConnectionAgeTest, ConnectionIsLeftAloneWhenItWasIdleForNearlyAMinute) {
    EXPECT_EQ(connectionAfter(0), 0);
    EXPECT_EQ(connectionAfter(0), 0);
    EXPECT_EQ(connectionAfter(54), 0);
    EXPECT_EQ(connectionAfter(54), 0) << "its age counts from its last use";
    EXPECT_EQ(connectionAfter(57), 1);
    EXPECT_EQ(connectionAfter(0), 1);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing

// Takes the place of the C library's, also for libcurl: a clock that a test can put forward.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
    using Function = int (*)(clockid_t, timespec*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(clock, time);
    time->tv_sec += foundation::httpclient_curl::testing::secondsAhead;
    return result;
}
