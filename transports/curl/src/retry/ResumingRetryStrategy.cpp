#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include "engine/RequestRecord.h"
#include "exchange/TransferError.h"
#include "retry/RetryAfter.h"
#include "retry/RetryClock.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

using namespace httpclient_core;
using std::chrono::milliseconds;

bool isIdempotent(HttpMethod method) {
    return method == HttpMethod::GET || method == HttpMethod::HEAD || method == HttpMethod::PUT ||
           method == HttpMethod::DELETE;
}

bool isPassing(HttpResponseCode code) {
    constexpr HttpResponseCode networkAuthenticationRequired{511};
    switch (code) {
        case HttpResponseCode::RequestTimeout:
        case HttpResponseCode::RangeNotSatisfiable:
        case HttpResponseCode::UpgradeRequired:
        case HttpResponseCode::TooManyRequests:
            return true;
        case HttpResponseCode::NotImplemented:
        case HttpResponseCode::HTTPVersionNotSupported:
        case HttpResponseCode::NotExtended:
        case networkAuthenticationRequired:
            return false;
        default:
            return isServerError(code);
    }
}

bool isBroken(HttpResponseCode code) {
    return code == HttpResponseCode::RequestNotMade ||
           code == HttpResponseCode::ResponseNotReceived || isSuccess(code) || isPassing(code);
}

struct Verdict {
    bool mayRetry = false;
    std::string reason;
};

Verdict judge(HttpResponseCode code,
              const std::exception_ptr& error,
              const std::exception_ptr& lastingFailure) {
    if (error == nullptr) {
        return {.mayRetry = isPassing(code), .reason = "HTTP status " + to_string(code)};
    }
    try {
        std::rethrow_exception(error);
    } catch (const HttpRequestCancelledException&) {
        return {};
    } catch (const HttpRequestTimeoutException& timeout) {
        return {.mayRetry = true, .reason = timeout.what()};
    } catch (const HttpRequestFailedException& failure) {
        const std::string text = failure.what();
        return {.mayRetry = isBroken(code) && error != lastingFailure && !saysLasting(text),
                .reason = text};
    } catch (...) {
        return {};
    }
}

/// When the requests of other transports began. Nothing in what a strategy is called with names the
/// request for certain, so method and URL stand for it.
class OtherRequests {
public:
    using Time = RequestHistory::Clock::time_point;

    Time begunAt(const HttpRequest& request, bool isFirstAttempt, Time now) {
        const std::lock_guard lock(mutex_);
        const auto [entry, isNew] = begun_.try_emplace(nameOf(request), now);
        if (isFirstAttempt) {
            entry->second = now;
        }
        const Time begun = entry->second;
        // Requests that were given up without another call leave theirs behind.
        constexpr std::size_t most = 4096;
        if (begun_.size() > most) {
            begun_.erase(std::min_element(
                begun_.begin(), begun_.end(),
                [](const auto& one, const auto& other) { return one.second < other.second; }));
        }
        return begun;
    }

    void forget(const HttpRequest& request) {
        const std::lock_guard lock(mutex_);
        begun_.erase(nameOf(request));
    }

private:
    static std::string nameOf(const HttpRequest& request) {
        return std::to_string(static_cast<int>(request.getHttpMethod())) + ' ' +
               request.getURL().toAsciiString();
    }

    std::mutex mutex_;
    std::unordered_map<std::string, Time> begun_;
};

struct Wait {
    milliseconds time{0};
    WaitSource source = WaitSource::Backoff;
};

class ResumingRetry {
public:
    explicit ResumingRetry(ResumingRetryOptions options)
        : options_(std::make_shared<const ResumingRetryOptions>(std::move(options))) {}

    bool operator()(const HttpRequest& request,
                    const HttpResponse& response,
                    const std::exception_ptr& error,
                    int totalAttempts,
                    int /*consecutiveAttempts*/) const {
        RequestHistory* history = RequestScope::history();
        if (decide(request, response, error, totalAttempts, history)) {
            return true;
        }
        if (history == nullptr && hasDeadline()) {
            others_->forget(request);
        }
        return false;
    }

private:
    bool decide(const HttpRequest& request,
                const HttpResponse& response,
                const std::exception_ptr& error,
                int totalAttempts,
                RequestHistory* history) const {
        const RetryClock clock = retryClock();
        const auto now = clock.now();
        RequestHistory::Clock::time_point begun = now;
        if (history != nullptr) {
            begun = history->begun;
        } else if (hasDeadline()) {
            begun = others_->begunAt(request, totalAttempts == 1, now);
        }
        const Verdict verdict = judge(response.getResponseCode(), error,
                                      history != nullptr ? history->lastingFailure : nullptr);
        if (!verdict.mayRetry || !isIdempotent(request.getHttpMethod()) ||
            totalAttempts > options_->maxRetries) {
            return false;
        }
        const Wait wait = waitAfter(response, waitsWithoutProgress(history, totalAttempts), clock);
        if (hasDeadline() && now - begun + wait.time >= std::min(options_->deadline, longestWait)) {
            return false;
        }
        if (options_->onRetry) {
            options_->onRetry({.retry = totalAttempts,
                               .wait = wait.time,
                               .source = wait.source,
                               .reason = verdict.reason});
        }
        httpclient_core::detail::backoffWait(wait.time);
        return true;
    }

    bool hasDeadline() const { return options_->deadline > milliseconds::zero(); }

    // The library's count of attempts since the last success is of no use here: it starts again at every
    // success code, also when only the head of the answer came, and a server that breaks off each body at
    // its first byte would never be waited for.
    static int waitsWithoutProgress(RequestHistory* history, int totalAttempts) {
        if (history == nullptr) {
            return totalAttempts - 1;
        }
        RequestHistory::Retries& retries = history->retries;
        if (history->mostHeld > retries.mostHeld) {
            retries.mostHeld = history->mostHeld;
            retries.withoutProgress = 0;
        }
        return retries.withoutProgress++;
    }

    Wait waitAfter(const HttpResponse& response, int earlierWaits, const RetryClock& clock) const {
        const milliseconds longest =
            std::clamp(options_->maxWait, milliseconds::zero(), longestWait);
        milliseconds limit = std::clamp(options_->firstWait, milliseconds::zero(), longest);
        for (int i = 0; i < earlierWaits && limit < longest && limit.count() > 0; ++i) {
            limit = limit > longest / 2 ? longest : limit * 2;
        }
        Wait wait{.time = milliseconds(clock.randomUpTo(limit.count()))};
        const std::optional<RetryAfter> asked = RetryAfter::of(response, clock.date());
        if (asked.has_value() && asked->wait > wait.time) {
            wait.time = std::min(asked->wait, longest);
            wait.source =
                asked->isDate ? WaitSource::RetryAfterDate : WaitSource::RetryAfterSeconds;
        }
        return wait;
    }

    // Shared by the copies that configurations hand out.
    std::shared_ptr<const ResumingRetryOptions> options_;
    std::shared_ptr<OtherRequests> others_ = std::make_shared<OtherRequests>();
};

}  // namespace

RetryStrategy resumingRetryStrategy(ResumingRetryOptions options) {
    return ResumingRetry(std::move(options));
}

}  // namespace foundation::httpclient_curl
