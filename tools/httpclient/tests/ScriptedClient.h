#pragma once
#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>
#include <foundation/httpclient_curl/AttemptReport.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_tool::testing {

/// What happens in the attempts of one request, and what was seen of them. Outlives the client.
struct Script {
    /// One attempt: fills the response or throws.
    using Step = std::function<void(httpclient_core::HttpRequest&, httpclient_core::HttpResponse&)>;

    std::deque<Step> steps;
    std::function<void()> onWait = [] {};  ///< Called when the strategy waits.

    std::vector<std::string> ranges;  ///< Of each attempt; empty without a Range header.
    std::vector<httpclient_core::HttpHeaders> headers;  ///< Of each attempt.
    std::vector<httpclient_core::ClientConfiguration> configurations;
    std::vector<std::chrono::milliseconds> waits;  ///< Taken over from the strategy, never slept.

    std::mutex mutex;  ///< Guards what follows.
    std::condition_variable changed;
    bool cancelled = false;

    /// For a step: does not return before the request is cancelled, then ends it so.
    [[noreturn]] void waitForCancel() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return cancelled; });
        throw httpclient_core::HttpRequestCancelledException();
    }
};

/// Writes to the body as a transport does.
inline void writeBody(httpclient_core::HttpResponse& response, const std::string& bytes) {
    std::iostream& stream = response.getResponseBody();
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw httpclient_core::HttpRequestFailedException("The response body stream refused data");
    }
}

/// Sets the head of an answer as a transport does: a body of an earlier answer is not continued.
inline void beginAnswer(httpclient_core::HttpResponse& response,
                        int code,
                        const std::string& reason,
                        const httpclient_core::HttpHeaders& headers) {
    response.setResponseCodeAndReason(httpclient_core::HttpResponseCode{code}, reason);
    response.setHeaders(headers);
    response.resetResponseBody();
}

/// An answer with these parts.
inline Script::Step answer(int code,
                           const std::string& reason,
                           const std::string& body,
                           const httpclient_core::HttpHeaders& headers = {}) {
    return [=](httpclient_core::HttpRequest&, httpclient_core::HttpResponse& response) {
        beginAnswer(response, code, reason, headers);
        if (!body.empty()) {
            writeBody(response, body);
        }
    };
}

/// A file server that knows ranges and breaks off after `count` bytes of body. With an `etag` it sends that
/// and heeds If-Range.
inline Script::Step serveThenBreak(const std::string& content,
                                   std::size_t count,
                                   const std::string& etag = "") {
    return [=](httpclient_core::HttpRequest& request, httpclient_core::HttpResponse& response) {
        using namespace httpclient_core;
        const std::string condition = request.getHeaders().getHeaderValueOr("If-Range", etag);
        const std::string range =
            condition == etag ? request.getHeaders().getHeaderValueOr("Range", "") : "";
        const std::size_t first = range.empty() ? 0 : std::stoul(range.substr(6));
        const std::string body = content.substr(first);
        HttpHeaders headers{{"Accept-Ranges", "bytes"},
                            {"Content-Length", std::to_string(body.size())}};
        if (!range.empty()) {
            headers.addHeaderValue("Content-Range", "bytes " + std::to_string(first) + "-" +
                                                        std::to_string(content.size() - 1) + "/" +
                                                        std::to_string(content.size()));
        }
        if (!etag.empty()) {
            headers.addHeaderValue("ETag", etag);
        }
        if (range.empty()) {
            beginAnswer(response, 200, "", headers);
        } else {
            response.setResponseCodeAndReason(HttpResponseCode::PartialContent, "");
            response.setHeaders(headers);
        }
        writeBody(response, body.substr(0, count));
        if (request.hasProgressCallback()) {
            request.getProgressCallback()({static_cast<std::int64_t>(body.size()),
                                           static_cast<std::int64_t>(std::min(count, body.size())),
                                           0, 0});
        }
        if (count < body.size()) {
            throw HttpRequestFailedException("GET http://example.test: transfer closed");
        }
    };
}

inline Script::Step serve(const std::string& content, const std::string& etag = "") {
    return serveThenBreak(content, content.size(), etag);
}

/// An attempt that ends with this error before any answer.
template <class Exception, class... Arguments>
Script::Step failWith(const Arguments&... arguments) {
    return [=](httpclient_core::HttpRequest&, httpclient_core::HttpResponse&) {
        throw Exception(arguments...);
    };
}

/// A client whose attempts follow a script, on a thread of its own.
class ScriptedClient final : public httpclient_core::HttpClient {
public:
    explicit ScriptedClient(Script& script, httpclient_curl::AttemptObserver observer = {})
        : script_(script), observer_(std::move(observer)), worker_([this] { work(); }) {}
    ~ScriptedClient() override {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_one();
        worker_.join();
    }

    std::string transportName() const override { return "scripted"; }
    void closeIdleConnections() override {}
    std::shared_ptr<httpclient_core::ProxyCredentialStore> proxyCredentialStore() const override {
        return nullptr;
    }
    std::shared_ptr<httpclient_core::ProxyCredentialPrompt> proxyCredentialPrompt(
        const httpclient_core::HttpResponse&,
        const std::exception_ptr&) const override {
        return nullptr;
    }
    void sendRequest(httpclient_core::HttpRequest&, httpclient_core::HttpResponse&) const override {
        ADD_FAILURE() << "the synchronous road cannot be cancelled";
    }
    void sendAsyncRequest(httpclient_core::HttpRequest request,
                          httpclient_core::HttpResponse response,
                          unsigned long requestId,
                          CompletionHandler handler) const override {
        {
            const std::lock_guard lock(mutex_);
            attempts_.push_back(
                {std::move(request), std::move(response), requestId, std::move(handler)});
        }
        changed_.notify_one();
    }
    bool cancelRequest(unsigned long /*requestId*/) override { return false; }
    void cancelAllRequests() override {
        {
            const std::lock_guard lock(script_.mutex);
            script_.cancelled = true;
        }
        script_.changed.notify_all();
    }

private:
    struct Attempt {
        httpclient_core::HttpRequest request;
        httpclient_core::HttpResponse response;
        unsigned long id;
        CompletionHandler handler;
    };

    void work() {
        for (;;) {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return stopping_ || !attempts_.empty(); });
            if (attempts_.empty()) {
                return;
            }
            Attempt attempt = std::move(attempts_.front());
            attempts_.pop_front();
            lock.unlock();
            perform(std::move(attempt));
        }
    }

    void perform(Attempt attempt) {
        script_.headers.push_back(attempt.request.getHeaders());
        script_.ranges.push_back(attempt.request.getHeaders().getHeaderValueOr("Range", ""));
        script_.configurations.push_back(attempt.request.getClientConfiguration());
        std::exception_ptr error;
        try {
            nextStep()(attempt.request, attempt.response);
        } catch (...) {
            error = std::current_exception();
        }
        tell(attempt, error);
        const httpclient_core::detail::BackoffScope scope([this](std::chrono::milliseconds delay) {
            script_.waits.push_back(delay);
            script_.onWait();
            return true;
        });
        attempt.handler(std::move(attempt.request), std::move(attempt.response), error);
    }

    void tell(const Attempt& attempt, const std::exception_ptr& error) {
        if (observer_) {
            httpclient_curl::AttemptReport report;
            report.requestId = attempt.id;
            report.attempt = ++attemptsOf_[attempt.id];
            report.method = attempt.request.getHttpMethod();
            report.url = "http://example.test/f";
            report.code = attempt.response.getResponseCode();
            report.error = error;
            observer_(report);
        }
    }

    Script::Step nextStep() {
        {
            const std::lock_guard lock(script_.mutex);
            if (script_.cancelled) {
                return failWith<httpclient_core::HttpRequestCancelledException>();
            }
        }
        if (script_.steps.empty()) {
            ADD_FAILURE() << "more attempts than the script has";
            return failWith<std::logic_error>("no step left");
        }
        Script::Step step = std::move(script_.steps.front());
        script_.steps.pop_front();
        return step;
    }

    Script& script_;
    httpclient_curl::AttemptObserver observer_;
    std::map<unsigned long, int> attemptsOf_;
    mutable std::mutex mutex_;  // guards what follows
    mutable std::condition_variable changed_;
    mutable std::deque<Attempt> attempts_;
    bool stopping_ = false;
    std::thread worker_;
};

}  // namespace foundation::httpclient_tool::testing
