#include "tests/failures/ServerProcess.h"
#include "tests/failures/SystemCallFaults.h"
#include "transports/curl/tests/support/TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

// Each call that an exchange makes to the system fails once, with each of its usual errors. What comes is the
// exact body or one of the transport's errors that names the cause; never a hang, a descriptor that stays open,
// or a call that was interrupted.

namespace foundation::httpclient_curl::testing {
namespace {

using namespace system_call_faults;
using httpclient_core::testing::ServerProcess;
using Clock = std::chrono::steady_clock;

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

HttpRequest request(const std::string& url, HttpMethod method = HttpMethod::GET) {
    HttpRequest made(method, url, {});
    ClientConfiguration configuration = plainConfiguration();
    // Far beyond what an exchange takes, and far below what a test may take.
    Access::setConnectTimeoutMs(configuration, 4000);
    Access::setResponseTimeoutMs(configuration, 4000);
    Access::setIdleTimeoutMs(configuration, 4000);
    made.setClientConfiguration(std::move(configuration));
    return made;
}

struct Exchange {
    const char* label;
    Road road;
    bool onKeptConnection;
    HttpMethod method;
    bool intoFile;
    friend std::ostream& operator<<(std::ostream& os, const Exchange& exchange) {
        return os << exchange.label;
    }
};

struct Errors {
    Call call;
    std::vector<int> numbers;
};

const std::vector<Errors> errorsOfCalls{
    {Socket, {EMFILE, ENFILE, ENOBUFS, EACCES}},
    {SocketPair, {EMFILE, ENFILE}},
    // Without EINTR: that of a socket that does not block is never interrupted.
    {Connect, {ECONNREFUSED, ETIMEDOUT, ENETUNREACH, EADDRNOTAVAIL}},
    {Send, {EINTR, ECONNRESET, EPIPE, ENOBUFS, ETIMEDOUT}},
    {Receive, {EINTR, ECONNRESET, ETIMEDOUT, ENOTCONN}},
    {Poll, {EINTR, ENOMEM, EINVAL}},
    {Read, {EINTR, EIO}},
    {Write, {EINTR, EIO, EPIPE, ENOSPC}},
    {Open, {EMFILE, EACCES, ENOSPC}},
};

struct Case {
    Call call;
    int number;
    int error;
    friend std::ostream& operator<<(std::ostream& os, const Case& one) {
        return os << names[one.call] << " " << one.number << ": " << std::strerror(one.error);
    }
};

class TransportSystemCallTest : public ::testing::TestWithParam<Exchange> {
protected:
    TransportSystemCallTest() = default;
    TransportSystemCallTest(const TransportSystemCallTest&) = delete;
    TransportSystemCallTest& operator=(const TransportSystemCallTest&) = delete;
    static void SetUpTestSuite() { server_ = std::make_unique<ServerProcess>(); }
    static void TearDownTestSuite() { server_.reset(); }
    ~TransportSystemCallTest() override { std::remove(file_.c_str()); }

    // A client and one exchange of it, with one call that fails. Tells how often each call was made.
    Counts run(const Case& fault) {
        SCOPED_TRACE(fault);
        const std::size_t before = openDescriptors();
        const Clock::time_point start = Clock::now();
        const Counts counts = exchange(fault);
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
        return counts;
    }

    static std::unique_ptr<ServerProcess> server_;
    int cases_ = 0;

private:
    Counts exchange(const Case& fault) {
        const bool isKept = GetParam().onKeptConnection;
        if (!isKept) {
            arm(fault.call, fault.number, fault.error);
        }
        TestClient client;
        if (isKept) {
            EXPECT_EQ(client.run(request(server_->url()), GetParam().road).body(), body_);
            arm(fault.call, fault.number, fault.error);
        }
        HttpRequest sent = request(server_->url(), GetParam().method);
        if (GetParam().method == HttpMethod::PUT) {
            sent.setRequestBody(body_);
        }
        if (GetParam().intoFile) {
            sent.setResponseStreamFactory(
                [this](HttpResponseCode, const std::string&, const HttpHeaders&) {
                    return std::make_unique<std::fstream>(
                        file_, std::ios::in | std::ios::out | std::ios::trunc | std::ios::binary);
                });
        }
        const Outcome outcome = client.run(std::move(sent), GetParam().road);
        const bool failed = hasFailed();
        const Counts counts = disarm();
        check(fault, outcome, failed);
        // Whatever happened, the client is usable.
        EXPECT_EQ(client.run(request(server_->url()), GetParam().road).body(), body_);
        return counts;
    }

    void check(const Case& fault, const Outcome& outcome, bool failed) {
        cases_ += failed ? 1 : 0;
        if (outcome.error == nullptr) {
            EXPECT_EQ(outcome.code(), HttpResponseCode::OK);
            if (GetParam().intoFile) {
                outcome.response.getResponseBody().seekg(0);
            }
            EXPECT_TRUE(outcome.body() == body_) << "another body";
            return;
        }
        const std::string message = outcome.message();
        EXPECT_TRUE(failed) << message;
        EXPECT_NE(fault.error, EINTR) << message;
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error) ||
                    holds<HttpRequestTimeoutException>(outcome.error))
            << message;
        // Of a wait that fails libcurl keeps no reason, and a stream none of what it does to a file.
        if (fault.call != Poll && !GetParam().intoFile &&
            !holds<HttpRequestTimeoutException>(outcome.error)) {
            EXPECT_THAT(message, ::testing::HasSubstr(std::strerror(fault.error)));
        }
    }

    const std::string file_ =
        ::testing::TempDir() + "system-call-test-" + std::to_string(::getpid());
    const std::string body_ = ServerProcess::content();
};

std::unique_ptr<ServerProcess> TransportSystemCallTest::server_;

TEST_P(TransportSystemCallTest, EndsInTheBodyOrAnErrorThatNamesTheCause) {
    const Counts counts = run({Socket, 0, 0});
    for (const auto& [call, numbers] : errorsOfCalls) {
        for (int number = 1; number <= std::min(counts[call], 12); ++number) {
            for (const int error : numbers) {
                run({call, number, error});
            }
        }
    }
    std::cout << cases_ << " calls failed\n";
}

// What is closed is gone, whatever the system says to it.
TEST_P(TransportSystemCallTest, ClosesEachDescriptorOnce) {
    for (int number = 1; number <= 6; ++number) {
        for (const int error : {EINTR, EIO}) {
            const std::size_t before = openDescriptors();
            auto client = std::make_unique<TestClient>();
            client->run(request(server_->url()), GetParam().road);
            arm(Close, number, error);
            client.reset();
            disarm();
            EXPECT_EQ(openDescriptors(), before) << number;
        }
    }
}

// A worker that waits is called by a byte through a pair of sockets.
TEST(WorkerCallTest, IsRepeatedWhenTheSystemRefusesIt) {
    const ServerProcess server;
    TestClient client;
    EXPECT_EQ(client.run(request(server.url()), Road::Asynchronous).error, nullptr);
    const Clock::time_point start = Clock::now();
    arm(Send, 1, ENOBUFS);
    const Outcome outcome = client.run(request(server.url()), Road::Asynchronous);
    disarm();
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
}

TEST(WorkerCallTest, IsNotWaitedForWithoutSuchAPair) {
    const ServerProcess server;
    // UndefinedBehaviorSanitizer asks the system for such a pair as well, when it first meets a type.
    EXPECT_EQ(TestClient().run(request(server.url()), Road::Asynchronous).error, nullptr);
    const Clock::time_point start = Clock::now();
    {
        TestClient client;
        arm(SocketPair, 1, EMFILE);
        for (int i = 0; i < 5; ++i) {
            const Outcome outcome = client.run(request(server.url()), Road::Asynchronous);
            EXPECT_EQ(outcome.error, nullptr) << outcome.message();
        }
        EXPECT_TRUE(hasFailed());
        disarm();
    }
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
}

TEST(ConnectErrorTest, NamesWhatTheSystemSaid) {
    const ServerProcess server;
    TestClient client;
    for (const auto& [call, error] : {std::pair(Socket, EMFILE), std::pair(Connect, ENETUNREACH)}) {
        arm(call, 1, error);
        const Outcome outcome = client.run(request(server.url()));
        disarm();
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error));
        EXPECT_THAT(outcome.message(),
                    ::testing::EndsWith(std::string(": ") + std::strerror(error) + " (libcurl 7)"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Exchanges,
    TransportSystemCallTest,
    ::testing::Values(Exchange{"Get", Road::Synchronous, false, HttpMethod::GET, false},
                      Exchange{"AsyncGet", Road::Asynchronous, false, HttpMethod::GET, false},
                      Exchange{"KeptGet", Road::Synchronous, true, HttpMethod::GET, false},
                      Exchange{"AsyncKeptGet", Road::Asynchronous, true, HttpMethod::GET, false},
                      Exchange{"Put", Road::Synchronous, false, HttpMethod::PUT, false},
                      Exchange{"AsyncPut", Road::Asynchronous, false, HttpMethod::PUT, false},
                      Exchange{"GetIntoFile", Road::Synchronous, true, HttpMethod::GET, true},
                      Exchange{"AsyncGetIntoFile", Road::Asynchronous, true, HttpMethod::GET,
                               true}),
    [](const auto& exchange) { return exchange.param.label; });

}  // namespace
}  // namespace foundation::httpclient_curl::testing
