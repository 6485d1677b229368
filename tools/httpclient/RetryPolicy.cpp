#include "tools/httpclient/RetryPolicy.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpMethod;
using httpclient_core::HttpRequest;
using httpclient_core::HttpRequestCancelledException;
using httpclient_core::HttpRequestFailedException;
using httpclient_core::HttpResponse;
using httpclient_core::HttpResponseCode;
using httpclient_core::RetryStrategy;

// The transport ends the text of a failure that libcurl found with "(libcurl N)". These cannot change
// from one attempt to the next: 1 unsupported protocol, 3 malformed URL, 60 peer certificate not
// verified, 77 unreadable CA file, 83 wrong issuer, 91 invalid certificate status.
bool saysPermanent(std::string_view text) {
    constexpr std::array<std::string_view, 6> endings = {"(libcurl 1)",  "(libcurl 3)",
                                                         "(libcurl 60)", "(libcurl 77)",
                                                         "(libcurl 83)", "(libcurl 91)"};
    return std::any_of(endings.begin(), endings.end(),
                       [text](std::string_view ending) { return text.ends_with(ending); });
}

struct Verdict {
    bool mayRetry = true;
    std::string reason;
};

Verdict judge(const HttpResponse& response, const std::exception_ptr& error) {
    if (error == nullptr) {
        return {.mayRetry = true, .reason = "HTTP status " + to_string(response.getResponseCode())};
    }
    try {
        std::rethrow_exception(error);
    } catch (const HttpRequestCancelledException& cancelled) {
        return {.mayRetry = false, .reason = cancelled.what()};
    } catch (const HttpRequestFailedException& failure) {
        return {.mayRetry = !saysPermanent(failure.what()), .reason = failure.what()};
    } catch (...) {
        return {.mayRetry = false, .reason = "unexpected error"};
    }
}

// A code of a success is asked about only when an error came with it: the body broke off.
bool isRetriable(HttpMethod method, bool timedOut, HttpResponseCode code) {
    static const httpclient_core::IsRetriable usual = httpclient_core::defaultIsRetriable();
    const bool broke = code == HttpResponseCode::RequestNotMade ||
                       code == HttpResponseCode::ResponseNotReceived || isSuccess(code);
    return usual(method, timedOut, code) || (method == HttpMethod::GET && broke);
}

RetryStrategy waitingStrategy(int retries) {
    httpclient_core::RetryBackoffOptions backoff;
    backoff.backoffBase = 100;
    backoff.maxBackoff = 120;
    backoff.minJitter = 0;
    backoff.maxJitter = 100;
    backoff.useRetryAfter = true;
    // The number of attempts limits; the other count only sets the wait.
    return httpclient_core::defaultRetryStrategy(retries + 1, isRetriable,
                                                 std::numeric_limits<int>::max(), backoff);
}

struct Progress {
    std::int64_t mostBytes = 0;
    int fruitlessAttempts = 0;
};

class DownloadRetry {
public:
    explicit DownloadRetry(RetryPolicy policy)
        : policy_(std::move(policy)), waiting_(waitingStrategy(policy_.retries)) {}

    bool operator()(const HttpRequest& request,
                    const HttpResponse& response,
                    const std::exception_ptr& error,
                    int totalAttempts,
                    int /*consecutiveAttempts*/) const {
        const bool finished = error == nullptr && isSuccess(response);
        const Verdict verdict = judge(response, error);
        if (!finished && (!verdict.mayRetry || policy_.isHopeless())) {
            return false;
        }
        countFruitless(response);
        // The base wait doubles with each count from 2 on: 200 ms for the first.
        if (!waiting_(request, response, error, totalAttempts, progress_->fruitlessAttempts + 2)) {
            return false;
        }
        policy_.onRetry(totalAttempts, verdict.reason);
        return true;
    }

private:
    // The library's own count starts again at every success code, also when only the head of the answer
    // came; a server that breaks off each body at its first byte would never be waited for.
    void countFruitless(const HttpResponse& response) const {
        const std::int64_t size = isSuccess(response) ? policy_.bodySize() : 0;
        if (size > progress_->mostBytes) {
            progress_->mostBytes = size;
            progress_->fruitlessAttempts = 0;
        } else {
            ++progress_->fruitlessAttempts;
        }
    }

    RetryPolicy policy_;
    RetryStrategy waiting_;
    // Shared, because the configuration hands out copies of the strategy. The attempts of a request
    // follow each other, so nothing guards it.
    std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
};

}  // namespace

RetryStrategy downloadRetryStrategy(RetryPolicy policy) {
    return DownloadRetry(std::move(policy));
}

}  // namespace foundation::httpclient_tool
