#include "support/GeneratedBody.h"
#include "support/HangingResolver.h"
#include "support/SilentPeer.h"
#include "support/TestClient.h"

#include <atomic>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>
#include <thread>
#include <tuple>

namespace foundation::httpclient_curl::testing {
namespace {

using Clock = std::chrono::steady_clock;

/// Where a request is when it is cancelled.
enum class State {
    Queued,
    Resolving,
    Connecting,
    TlsHandshake,
    ProxyConnect,
    Uploading,
    AwaitingAnswer,
    Downloading,
    AwaitingRetry,
    InStrategy,
};

constexpr std::array stateNames{
    "Queued",    "Resolving",      "Connecting",  "TlsHandshake",  "ProxyConnect",
    "Uploading", "AwaitingAnswer", "Downloading", "AwaitingRetry", "InStrategy",
};

std::ostream& operator<<(std::ostream& os, State state) {
    return os << stateNames.at(static_cast<std::size_t>(state));
}

// Whether the system waits for the answer to a SYN sent to that port.
bool isConnectingTo(const std::string& authority) {
    std::ostringstream wanted;
    wanted << ":" << std::uppercase << std::hex << std::setw(4) << std::setfill('0')
           << std::stoi(authority.substr(authority.find(':') + 1)) << " 02 ";
    std::ifstream table("/proc/net/tcp");
    int connecting = 0;
    for (std::string line; std::getline(table, line);) {
        connecting += line.find(wanted.str()) != std::string::npos ? 1 : 0;
    }
    // Two of those that fill the queue wait as well.
    return connecting > 2;
}

/// One client with one request on its way into a state.
class Scene {
public:
    explicit Scene(State state)
        : state_(state),
          peer_(state == State::Connecting ? SilentPeer::Queue::Full : SilentPeer::Queue::Open),
          server_([this](const ReceivedRequest&, Connection& connection) { answer(connection); }) {
        client_.emplace();
        (*client_)->setClientConfiguration(configuration());
    }

    CurlHttpClient& client() { return **client_; }
    void destroyClient() { client_.reset(); }

    HttpRequest request() {
        switch (state_) {
            case State::Resolving:
                return {HttpMethod::GET, "http://" + resolver_.host() + "/", {}};
            case State::Connecting:
                return {HttpMethod::GET, "http://" + peer_.authority() + "/", {}};
            case State::TlsHandshake:
                return {HttpMethod::GET, "https://" + peer_.authority() + "/", {}};
            case State::ProxyConnect:
                return {HttpMethod::GET, "https://origin.test/", {}};
            case State::Uploading: {
                constexpr std::int64_t size = std::int64_t{1} << 30;
                HttpRequest request(HttpMethod::PUT, "http://" + peer_.authority() + "/", {});
                request.setRequestBody(std::make_unique<StreamOver<GeneratedBuffer>>(size));
                request.setHeaderValue("Content-Length", std::to_string(size));
                return request;
            }
            default:
                return {HttpMethod::GET, server_.url(), {}};
        }
    }

    // Keeps the only place busy.
    void beginOthers() {
        if (state_ == State::Queued) {
            client().makeAsyncRequest(HttpRequest(HttpMethod::GET, server_.url(), {}),
                                      [](HttpRequest, HttpResponse, std::exception_ptr) {});
            arrived_.waitFor(1);
        }
    }

    bool awaitState() {
        switch (state_) {
            case State::Queued:
                return true;
            case State::Resolving:
                return resolver_.awaitLookUp();
            case State::Connecting:
                for (int i = 0; i < 10000 && !isConnectingTo(peer_.authority()); ++i) {
                    std::this_thread::yield();
                }
                return isConnectingTo(peer_.authority());
            case State::TlsHandshake:
            case State::ProxyConnect:
            case State::Uploading:
                return peer_.awaitBytes();
            case State::AwaitingAnswer:
            case State::Downloading:
                return arrived_.waitFor(1);
            case State::AwaitingRetry:
            case State::InStrategy:
                return asked_.waitFor(1);
        }
        return false;
    }

    // Lets go what the request itself holds up.
    void release() { released_.add(); }

private:
    void answer(Connection& connection) {
        if (state_ == State::AwaitingRetry || state_ == State::InStrategy) {
            connection.sendResponse(503, "Busy");
            return;
        }
        if (state_ == State::Downloading) {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
        }
        arrived_.add();
        connection.waitForPeerToClose();
    }

    ClientConfiguration configuration() {
        ClientConfiguration configuration = plainConfiguration();
        if (state_ == State::Queued) {
            configuration.setMaxThreads(1);
            configuration.setMaxRequestsPerThread(1);
        }
        if (state_ == State::ProxyConnect) {
            Access::setProxyUrl(configuration, "http://" + peer_.authority());
        }
        if (state_ == State::AwaitingRetry) {
            const RetryStrategy backoff = defaultRetryStrategy(9, defaultIsRetriable(), 9,
                                                               {.backoffBase = 0,
                                                                .maxBackoff = 120,
                                                                .minJitter = 60000,
                                                                .maxJitter = 60000,
                                                                .useRetryAfter = false});
            configuration.setRetryStrategy(
                [this, backoff](const HttpRequest& request, const HttpResponse& response,
                                const std::exception_ptr& error, int total, int consecutive) {
                    // The wait of the synchronous road is inside the strategy.
                    asked_.add();
                    return backoff(request, response, error, total, consecutive);
                });
        }
        if (state_ == State::InStrategy) {
            configuration.setRetryStrategy([this](const HttpRequest&, const HttpResponse&,
                                                  const std::exception_ptr& error, int, int) {
                asked_.add();
                released_.waitFor(1);
                return error == nullptr;
            });
        }
        return configuration;
    }

    State state_;
    HangingResolver resolver_;
    SilentPeer peer_;
    Counter arrived_;
    Counter asked_;
    Counter released_;
    LoopbackServer server_;
    std::optional<TestClient> client_;
};

class CancellationStatesTest : public ::testing::TestWithParam<std::tuple<State, Road>> {
protected:
    // The bar is 50 ms; machines that test may be busy.
    static constexpr std::chrono::milliseconds wideMargin{10000};

    static State state() { return std::get<State>(GetParam()); }
    static Road road() { return std::get<Road>(GetParam()); }

    // Runs the request and tells how long it took from `end` to its ending.
    static Clock::duration timeToEnd(Scene& scene, const std::function<void(unsigned long)>& end) {
        std::promise<std::pair<HttpResponseCode, std::exception_ptr>> ending;
        std::atomic<int> calls = 0;
        Clock::time_point ended;
        scene.beginOthers();
        HttpRequest request = scene.request();
        unsigned long id = 0;
        std::thread caller;
        if (road() == Road::Asynchronous) {
            id = scene.client().makeAsyncRequest(
                std::move(request),
                [&](HttpRequest, HttpResponse response, std::exception_ptr error) {
                    ended = Clock::now();
                    if (++calls == 1) {
                        ending.set_value({response.getResponseCode(), std::move(error)});
                    }
                });
        } else {
            caller = std::thread([&, &client = scene.client()] {
                std::exception_ptr error;
                try {
                    client.makeRequest(std::move(request));
                } catch (...) {
                    error = std::current_exception();
                }
                ended = Clock::now();
                ++calls;
                ending.set_value({HttpResponseCode::RequestNotMade, std::move(error)});
            });
        }
        EXPECT_TRUE(scene.awaitState());
        const Clock::time_point begin = Clock::now();
        end(id);
        scene.release();
        auto [code, error] = ending.get_future().get();
        if (caller.joinable()) {
            caller.join();
        }
        EXPECT_TRUE(holds<HttpRequestCancelledException>(error)) << messageOf(error);
        EXPECT_EQ(code, HttpResponseCode::RequestNotMade);
        const Clock::duration taken = ended - begin;
        scene.destroyClient();
        EXPECT_EQ(calls, 1);
        return taken;
    }

    static void report(const char* what, Clock::duration longest) {
        const double milliseconds = std::chrono::duration<double, std::milli>(longest).count();
        std::ostringstream text;
        text << std::fixed << std::setprecision(2) << milliseconds << " ms";
        RecordProperty(what, text.str());
        std::cout << what << " while " << state() << ", " << road() << ": at most " << text.str()
                  << '\n';
        EXPECT_LT(longest, wideMargin);
    }
};

std::vector<std::tuple<State, Road>> statesOfBothRoads() {
    std::vector<std::tuple<State, Road>> all;
    for (std::size_t i = 0; i < stateNames.size(); ++i) {
        const State state{static_cast<int>(i)};
        all.emplace_back(state, Road::Asynchronous);
        // Nothing queues on the synchronous road.
        if (state != State::Queued) {
            all.emplace_back(state, Road::Synchronous);
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(States,
                         CancellationStatesTest,
                         ::testing::ValuesIn(statesOfBothRoads()),
                         [](const auto& row) {
                             return ::testing::PrintToString(std::get<0>(row.param)) +
                                    ::testing::PrintToString(std::get<1>(row.param));
                         });

TEST_P(CancellationStatesTest, EndsAtOnce) {
    constexpr int rounds = 5;
    Clock::duration longest{};
    for (int round = 0; round < rounds; ++round) {
        Scene scene(state());
        longest = std::max(longest, timeToEnd(scene, [&scene](unsigned long id) {
                               if (road() == Road::Asynchronous) {
                                   EXPECT_TRUE(scene.client().cancelRequest(id));
                               } else {
                                   scene.client().cancelAllRequests();
                               }
                           }));
    }
    report("cancelled", longest);
}

TEST_P(CancellationStatesTest, EndsWithItsClient) {
    Scene scene(state());
    report("destroyed", timeToEnd(scene, [&scene](unsigned long) {
               // The destructor waits for a strategy that runs.
               scene.release();
               scene.destroyClient();
           }));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
