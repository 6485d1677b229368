#include "tests/contract/TransportContract.h"

#include <boost/log/core/core.hpp>

#include <chrono>
#include <future>
#include <utility>

namespace foundation::httpclient_core::testing {

// An author may run the first suite only.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TransportContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetworkTransportContract);

namespace {

constexpr std::chrono::seconds patience(10);

// Greater than zero inside sendAsyncRequest() on this thread.
thread_local int sending = 0;

}  // namespace

TransportSubject::~TransportSubject() = default;

std::string transportName(const ::testing::TestParamInfo<TransportFactory>& factory) {
    return factory.param.name;
}

std::string Ended::message() const {
    try {
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "no std::exception";
    }
    return {};
}

void Signal::give() {
    const std::lock_guard lock(mutex_);
    ++count_;
    given_.notify_all();
}

bool Signal::wait(int count) const {
    std::unique_lock lock(mutex_);
    return given_.wait_for(lock, patience, [&] { return count_ >= count; });
}

int Signal::count() const {
    const std::lock_guard lock(mutex_);
    return count_;
}

TransportContract::TransportContract() {
    boost::log::core::get()->set_logging_enabled(false);
}

TransportContract::~TransportContract() = default;

void TransportContract::start(Peer peer, std::shared_ptr<ProxyCredentialPrompt> prompt) {
    subject_ = GetParam().make(
        [this, peer = std::move(peer)](const PeerRequest& request) {
            {
                const std::lock_guard lock(mutex_);
                received_.push_back(request);
            }
            return peer(request);
        },
        std::move(prompt));
    client().setClientConfiguration(ClientConfiguration().withRetryStrategy(noRetriesStrategy()));
}

void TransportContract::answerAlways(PeerAnswer answer) {
    start([answer = std::move(answer)](const PeerRequest&) { return answer; });
}

HttpRequest TransportContract::get(const std::string& path) const {
    return {HttpMethod::GET, URL(subject_->url(path)), HttpHeaders()};
}

HttpRequest TransportContract::post(const std::string& body, const std::string& path) const {
    HttpRequest request(HttpMethod::POST, URL(subject_->url(path)), HttpHeaders());
    request.setRequestBody(body);
    return request;
}

Ended TransportContract::attempt(ContractRoad road, HttpRequest request) {
    HttpResponse response(request);
    return attempt(road, std::move(request), std::move(response));
}

HttpResponse TransportContract::holdingResponse(const HttpRequest& request,
                                                const std::string& body) {
    HttpResponse response(request);
    response.getResponseBody() << body;
    return response;
}

Ended TransportContract::attemptAfter(const std::string& body, ContractRoad road) {
    HttpRequest request = get();
    request.setHeaderValue("Range", "bytes=" + std::to_string(body.size()) + "-");
    HttpResponse response = holdingResponse(request, body);
    return attempt(road, std::move(request), std::move(response));
}

Ended TransportContract::attempt(ContractRoad road, HttpRequest request, HttpResponse response) {
    if (road == ContractRoad::Synchronous) {
        std::exception_ptr error;
        try {
            client().sendRequest(request, response);
        } catch (...) {
            error = std::current_exception();
        }
        return {std::move(response), error};
    }
    auto promise = std::make_shared<std::promise<Ended>>();
    auto calls = std::make_shared<std::atomic<int>>(0);
    const std::weak_ptr<std::promise<Ended>> handlerLives = promise;
    std::future<Ended> ended = promise->get_future();
    CompletionHandler handler([promise = std::move(promise), calls, url = request.getURL()](
                                  HttpRequest sent, HttpResponse filled, std::exception_ptr error) {
        EXPECT_EQ(sending, 0) << "the handler was called inside sendAsyncRequest()";
        EXPECT_EQ(++*calls, 1) << "the handler was called more than once";
        EXPECT_EQ(sent.getURL(), url) << "the handler got another request";
        promise->set_value({std::move(filled), std::move(error)});
    });
    ++sending;
    EXPECT_NO_THROW(client().sendAsyncRequest(std::move(request), std::move(response), nextId_++,
                                              std::move(handler)));
    --sending;
    if (ended.wait_for(patience) != std::future_status::ready) {
        ADD_FAILURE() << "the handler was not called";
        return {HttpResponse(), nullptr};
    }
    const auto giveUp = std::chrono::steady_clock::now() + patience;
    while (!handlerLives.expired() && std::chrono::steady_clock::now() < giveUp) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(handlerLives.expired()) << "the handler was not destroyed";
    return ended.get();
}

Ended TransportContract::run(ContractRoad road, HttpRequest request) {
    if (road == ContractRoad::Synchronous) {
        try {
            return {client().makeRequest(std::move(request)), nullptr};
        } catch (...) {
            return {HttpResponse(), std::current_exception()};
        }
    }
    auto promise = std::make_shared<std::promise<Ended>>();
    std::future<Ended> ended = promise->get_future();
    client().makeAsyncRequest(std::move(request), [promise](HttpRequest, HttpResponse response,
                                                            std::exception_ptr error) {
        promise->set_value({std::move(response), std::move(error)});
    });
    if (ended.wait_for(patience) != std::future_status::ready) {
        ADD_FAILURE() << "the request did not end";
        return {HttpResponse(), nullptr};
    }
    return ended.get();
}

std::vector<PeerRequest> TransportContract::received() const {
    const std::lock_guard lock(mutex_);
    return received_;
}

PeerRequest TransportContract::lastReceived() const {
    const std::lock_guard lock(mutex_);
    if (received_.empty()) {
        ADD_FAILURE() << "nothing reached the peer";
        return {};
    }
    return received_.back();
}

}  // namespace foundation::httpclient_core::testing
