// Cancelling: what is in flight ends as cancelled, and its id is remembered.
#include "tests/contract/TransportContract.h"

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

// A peer that lets a test in before it answers.
class Gate {
public:
    Peer peer() const {
        return [state = state_](const PeerRequest& request) -> PeerAnswer {
            state->arrived.give();
            state->open.wait();
            return {HttpResponseCode::ServiceUnavailable, "Busy", {}, "to " + request.path};
        };
    }
    bool waitForARequest() const { return state_->arrived.wait(); }
    void open() { state_->open.give(); }

private:
    struct State {
        Signal arrived;
        Signal open;
    };
    // Shared: the peer of a cancelled attempt may outlive the test's body.
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

void expectCancelled(std::future<Ended>& future) {
    ASSERT_EQ(future.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    const Ended ended = future.get();
    EXPECT_TRUE(ended.failedWith<HttpRequestCancelledException>()) << ended.message();
    EXPECT_EQ(ended.code(), HttpResponseCode::RequestNotMade);
}

struct Started {
    std::future<Ended> ended;
    unsigned long id;
};

Started startRequest(HttpClient& client, HttpRequest request) {
    auto promise = std::make_shared<std::promise<Ended>>();
    std::future<Ended> ended = promise->get_future();
    const unsigned long id = client.makeAsyncRequest(
        std::move(request),
        [promise](HttpRequest, HttpResponse response, std::exception_ptr error) {
            promise->set_value({std::move(response), std::move(error)});
        });
    return {std::move(ended), id};
}

TEST_P(TransportContract, CancelsAnAttemptUnderWay) {
    Gate gate;
    start(gate.peer());
    Started request = startRequest(client(), get());
    EXPECT_TRUE(gate.waitForARequest());
    EXPECT_TRUE(client().cancelRequest(request.id));
    gate.open();
    expectCancelled(request.ended);
}

TEST_P(TransportContract, CancelsEverythingInFlight) {
    Gate gate;
    start(gate.peer());
    std::vector<Started> requests;
    for (int i = 0; i < 20; ++i) {
        requests.push_back(startRequest(client(), get()));
    }
    EXPECT_TRUE(gate.waitForARequest());
    client().cancelAllRequests();
    gate.open();
    for (Started& request : requests) {
        expectCancelled(request.ended);
    }
    EXPECT_EQ(run(ContractRoad::Asynchronous, get("/later")).body(), "to /later");
}

TEST_P(TransportContract, CancelLeavesOthersAlone) {
    Gate gate;
    start(gate.peer());
    Started cancelled = startRequest(client(), get("/1"));
    Started kept = startRequest(client(), get("/2"));
    EXPECT_TRUE(client().cancelRequest(cancelled.id));
    gate.open();
    expectCancelled(cancelled.ended);
    ASSERT_EQ(kept.ended.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(kept.ended.get().body(), "to /2");
}

TEST_P(TransportContract, CancelIsRememberedForTheRetry) {
    answerAlways({HttpResponseCode::ServiceUnavailable, "Busy", {}, "busy"});
    std::promise<unsigned long> id;
    std::shared_future<unsigned long> known = id.get_future().share();
    bool wasInFlight = false;
    HttpRequest request = get();
    request.setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [&](const HttpRequest&, const HttpResponse&, const std::exception_ptr& error, int total,
            int) {
            if (total == 1) {
                wasInFlight = client().cancelRequest(known.get());
            }
            return error == nullptr && total < 5;
        }));
    Started started = startRequest(client(), std::move(request));
    id.set_value(started.id);
    expectCancelled(started.ended);
    EXPECT_TRUE(wasInFlight) << "it was between two attempts";
    EXPECT_EQ(received().size(), 1U) << "the retry was sent";
}

TEST_P(TransportContract, CancelKnowsWhatIsInFlight) {
    answerAlways({});
    EXPECT_FALSE(client().cancelRequest(17));
    Started request = startRequest(client(), get());
    ASSERT_EQ(request.ended.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    // The handler may be still on its way back.
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    bool isKnown = true;
    while (isKnown && std::chrono::steady_clock::now() < giveUp) {
        isKnown = client().cancelRequest(request.id);
    }
    EXPECT_FALSE(isKnown);
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
