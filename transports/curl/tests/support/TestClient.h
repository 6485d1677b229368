#pragma once
#include "tests/support/LoopbackServer.h"
#include "tests/support/RawPeer.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <future>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_curl::testing {

using namespace httpclient_core;
using httpclient_core::testing::Connection;
using httpclient_core::testing::HeaderList;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::RawPeer;
using httpclient_core::testing::RawSocket;
using httpclient_core::testing::ReceivedRequest;
using Access = httpclient_core::detail::ClientConfigurationAccess;

/// The two ways through the client.
enum class Road { Synchronous, Asynchronous };

inline std::ostream& operator<<(std::ostream& os, Road road) {
    return os << (road == Road::Synchronous ? "Synchronous" : "Asynchronous");
}

/// What the retry strategy saw of one attempt.
struct Attempt {
    HttpResponseCode code;
    std::string error;  ///< Empty for none.

    bool operator==(const Attempt&) const = default;
    friend std::ostream& operator<<(std::ostream& os, const Attempt& attempt) {
        return os << "{" << attempt.code << ", \"" << attempt.error << "\"}";
    }
};

inline std::string messageOf(const std::exception_ptr& error) {
    if (error == nullptr) {
        return {};
    }
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "no std::exception";
    }
}

/// Whether the pointer holds exactly this type.
template <class Exception>
bool holds(const std::exception_ptr& error) {
    try {
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    } catch (const std::exception& exception) {
        return typeid(exception) == typeid(Exception);
    } catch (...) {
    }
    return false;
}

/// A count that another thread waits for.
class Counter {
public:
    void add() {
        const std::lock_guard lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    int value() const {
        const std::lock_guard lock(mutex_);
        return count_;
    }
    /// False when it takes longer than ten seconds.
    bool waitFor(int count) const {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return count_ >= count; });
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    int count_ = 0;
};

struct Outcome {
    HttpResponse response;
    std::exception_ptr error;
    int calls = 1;  ///< Of the handler, on the asynchronous road.

    HttpResponseCode code() const { return response.getResponseCode(); }
    std::string body() const { return response.getResponseBodyString(); }
    std::string message() const { return messageOf(error); }
};

/// A retry strategy that writes down each attempt and says yes while `again` does.
inline RetryStrategy recordingStrategy(std::vector<Attempt>& attempts,
                                       std::function<bool(const Attempt&, int)> again) {
    return [&attempts, again = std::move(again)](const HttpRequest&, const HttpResponse& response,
                                                 const std::exception_ptr& error, int total, int) {
        attempts.push_back({response.getResponseCode(), messageOf(error)});
        return again(attempts.back(), total);
    };
}

/// Silences the log, which otherwise goes to the terminal, and runs requests on either road.
class TestClient {
public:
    TestClient() : TestClient(CurlClientOptions()) {}
    explicit TestClient(CurlClientOptions options) : client_(std::move(options)) {
        boost::log::core::get()->set_logging_enabled(false);
    }
    explicit TestClient(std::shared_ptr<ProxyCredentialPrompt> prompt)
        : client_(std::move(prompt)) {
        boost::log::core::get()->set_logging_enabled(false);
    }

    CurlHttpClient& operator*() { return client_; }
    CurlHttpClient* operator->() { return &client_; }

    Outcome run(HttpRequest request, Road road = Road::Synchronous) {
        if (road == Road::Synchronous) {
            try {
                return {client_.makeRequest(std::move(request)), nullptr};
            } catch (...) {
                return {HttpResponse(), std::current_exception()};
            }
        }
        std::promise<Outcome> promise;
        client_.makeAsyncRequest(std::move(request), [&promise](HttpRequest, HttpResponse response,
                                                                std::exception_ptr error) {
            promise.set_value({std::move(response), std::move(error)});
        });
        return promise.get_future().get();
    }

    Outcome get(const std::string& url, Road road = Road::Synchronous) {
        return run(HttpRequest(HttpMethod::GET, url, {}), road);
    }

private:
    CurlHttpClient client_;
};

/// A configuration without retries.
inline ClientConfiguration plainConfiguration() {
    return ClientConfiguration().withRetryStrategy(noRetriesStrategy());
}

/// The resuming strategy without its waits.
inline RetryStrategy immediateRetries(int maxRetries = 10) {
    ResumingRetryOptions options;
    options.maxRetries = maxRetries;
    options.maxWait = std::chrono::milliseconds(0);
    return resumingRetryStrategy(std::move(options));
}

/// A configuration that retries at once, each time from the beginning.
inline ClientConfiguration retryingConfiguration() {
    return ClientConfiguration().withRetryStrategy(immediateRetries());
}

/// A configuration that retries at once from where the last attempt ended.
inline ClientConfiguration resumingConfiguration(int maxRetries = 10) {
    return ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
        immediateRetries(maxRetries));
}

class BothRoads : public ::testing::TestWithParam<Road> {};

inline std::string roadName(const ::testing::TestParamInfo<Road>& road) {
    return ::testing::PrintToString(road.param);
}

}  // namespace foundation::httpclient_curl::testing
