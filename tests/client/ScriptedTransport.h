#pragma once
#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <istream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

/// What the network does to one attempt.
struct Attempt {
    HttpResponseCode code = HttpResponseCode::OK;  ///< RequestNotMade: nothing is received.
    std::string reason = "OK";
    HttpHeaders headers = {};
    std::string body = {};
    std::exception_ptr error = nullptr;            ///< Thrown after all that was received.
    std::optional<TransactionReport> report = {};  ///< Else no redirect, and the request's URL.
};

/// An attempt that is answered.
inline Attempt answer(HttpResponseCode code, std::string body = "", HttpHeaders headers = {}) {
    return {.code = code,
            .reason = getReasonStringForCode(code),
            .headers = std::move(headers),
            .body = std::move(body)};
}

/// An attempt that is answered after a redirect.
inline Attempt answerFrom(const char* effectiveURL, HttpResponseCode code) {
    Attempt attempt = answer(code);
    attempt.report = TransactionReport(1, URL(effectiveURL));
    return attempt;
}

/// An attempt that fails before anything is received.
inline Attempt failure(std::exception_ptr error) {
    return {.code = HttpResponseCode::RequestNotMade, .error = std::move(error)};
}

inline Attempt failure(const std::string& message) {
    return failure(std::make_exception_ptr(HttpRequestFailedException(message)));
}

/// What a transport saw at one attempt.
struct Seen {
    bool asynchronous = false;  ///< sendAsyncRequest, not sendRequest.
    unsigned long requestId = 0;
    std::thread::id thread;
    HttpMethod method = HttpMethod::GET;
    std::string url;
    std::string queryParameters;
    HttpHeaders headers;
    std::optional<std::string> body;
    bool multipart = false;
    bool ownConfiguration = false;
    bool progress = false;
    HttpResponseCode codeAtEntry = HttpResponseCode::RequestNotMade;
    std::string reasonAtEntry;
    HttpHeaders responseHeadersAtEntry;
    std::optional<std::streamoff> bodyPosition;  ///< Where the body of the attempt was written.

    /// True where the request is sent again for a proxy after an answer.
    bool isProxyResend() const { return codeAtEntry != HttpResponseCode::RequestNotMade; }
};

/// A transport without a network: each attempt is decided by a script or a function. It keeps the
/// duties of a transport, so that a test through it tests what a caller sees.
///
/// Asynchronous attempts wait in a queue. They are made on the thread that calls pump(), or on worker
/// threads after startWorkers(). What is still queued at destruction without workers is dropped
/// uncalled.
class ScriptedTransport : public HttpClient {
public:
    using Answering = std::function<Attempt(const Seen& seen)>;

    /// Every attempt is answered with 200 and no body.
    ScriptedTransport() = default;

    /// Attempts end as listed, in order; a further one fails the test.
    explicit ScriptedTransport(std::vector<Attempt> attempts) { script(std::move(attempts)); }

    ScriptedTransport(const ScriptedTransport&) = delete;
    ScriptedTransport& operator=(const ScriptedTransport&) = delete;

    ~ScriptedTransport() override {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wakeUp_.notify_all();
        for (std::thread& worker : workers_) {
            worker.join();
        }
    }

    void script(std::vector<Attempt> attempts) {
        answerWith([remaining = std::deque<Attempt>(attempts.begin(), attempts.end())](
                       const Seen&) mutable {
            if (remaining.empty()) {
                ADD_FAILURE() << "an attempt more than the script has";
                return failure("The script is at its end.");
            }
            Attempt attempt = std::move(remaining.front());
            remaining.pop_front();
            return attempt;
        });
    }

    /// Called under no lock; with workers, from several threads at once.
    void answerWith(Answering answering) { answering_ = std::move(answering); }

    std::vector<Seen> seen() const {
        const std::lock_guard lock(mutex_);
        return {seen_.begin(), seen_.end()};
    }

    /// The one header of each attempt, "-" where it had none.
    std::vector<std::string> seenHeader(const std::string& name) const {
        std::vector<std::string> values;
        for (const Seen& attempt : seen()) {
            values.push_back(attempt.headers.getHeaderValueOr(name, "-"));
        }
        return values;
    }

    /// Makes every attempt that is queued, also those queued meanwhile. Returns how many.
    int pump() {
        int count = 0;
        while (std::optional<Queued> next = takeQueued()) {
            finish(std::move(*next));
            ++count;
        }
        return count;
    }

    void startWorkers(int count) {
        for (int i = 0; i < count; ++i) {
            workers_.emplace_back([this] { work(); });
        }
    }

    /// Spent handlers live as long as the transport, against its duties.
    void keepHandlers() { keepHandlers_ = true; }

    /// What sendAsyncRequest itself throws, against its duties.
    std::function<void(unsigned long requestId)> onSendAsync;

    /// Called by configurationChanged, so under the client's mutex.
    std::function<void(const ClientConfiguration&)> onConfigurationChanged;

    std::function<std::shared_ptr<ProxyCredentialPrompt>(const HttpResponse&,
                                                         const std::exception_ptr&)>
        makePrompt;
    std::function<std::shared_ptr<ProxyCredentialStore>()> makeStore;

    /// Changes the request as a transport may while it sends it.
    std::function<void(HttpRequest&)> onSend;

    /// Called when an attempt begins, and when it has ended, with its error.
    std::function<void(const Seen&)> onBegin;
    std::function<void(const Seen&, const std::exception_ptr&)> onEnd;

    using HttpClient::useProxyCredentialProvider;

    std::string transportName() const override { return "scripted"; }
    void closeIdleConnections() override {}

    std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const override {
        return makeStore ? makeStore() : nullptr;
    }

    std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse& response,
        const std::exception_ptr& error) const override {
        return makePrompt ? makePrompt(response, error) : nullptr;
    }

    void sendRequest(HttpRequest& request, HttpResponse& response) const override {
        perform(request, response, Seen{});
    }

    void sendAsyncRequest(HttpRequest request,
                          HttpResponse response,
                          unsigned long requestId,
                          CompletionHandler handler) const override {
        if (onSendAsync) {
            onSendAsync(requestId);
        }
        {
            const std::lock_guard lock(mutex_);
            inFlight_.insert(requestId);
            queue_.push_back(
                {std::move(request), std::move(response), requestId, std::move(handler)});
        }
        wakeUp_.notify_one();
    }

    bool cancelRequest(unsigned long requestId) override {
        const std::lock_guard lock(mutex_);
        cancelled_.insert(requestId);  // Remembered also between two attempts.
        return inFlight_.contains(requestId);
    }

    void cancelAllRequests() override {
        const std::lock_guard lock(mutex_);
        cancelled_.insert(inFlight_.begin(), inFlight_.end());
    }

protected:
    void configurationChanged(const ClientConfiguration& newConfiguration) override {
        HttpClient::configurationChanged(newConfiguration);
        if (onConfigurationChanged) {
            onConfigurationChanged(newConfiguration);
        }
    }

private:
    struct Queued {
        HttpRequest request;
        HttpResponse response;
        unsigned long requestId;
        CompletionHandler handler;
    };

    static std::string readBody(std::istream& body) {
        if (!body) {
            throw HttpRequestFailedException("The request body cannot be read.");
        }
        // Read as most transports do, to the end, which leaves eofbit and failbit behind.
        std::string text;
        char c = '\0';
        while (body.get(c)) {
            text += c;
        }
        return text;
    }

    static void markAsNotMade(HttpResponse& response) {
        response.setResponseCodeAndReason(HttpResponseCode::RequestNotMade, "Request Not Made");
        response.setHeaders({});
    }

    /// Back to the state in which a first attempt finds them.
    static void clearForProxyResend(HttpRequest& request, HttpResponse& response) {
        markAsNotMade(response);
        response.resetResponseBody();
        if (request.hasRequestBody()) {
            request.getRequestBody().clear();
            request.getRequestBody().seekg(0);
        }
    }

    void perform(HttpRequest& request, HttpResponse& response, Seen seen) const {
        seen.thread = std::this_thread::get_id();
        seen.method = request.getHttpMethod();
        seen.url = request.getURL().toAsciiString();
        seen.queryParameters = request.getQueryParameters().toString();
        seen.headers = request.getHeaders();
        seen.multipart = request.hasMultipartBody();
        seen.ownConfiguration = request.hasClientConfiguration();
        seen.progress = request.hasProgressCallback();
        seen.codeAtEntry = response.getResponseCode();
        seen.reasonAtEntry = response.getResponseCodeReason();
        seen.responseHeadersAtEntry = response.getHeaders();
        const std::size_t index = note(seen);
        if (onBegin) {
            onBegin(seen);
        }
        std::exception_ptr error;
        try {
            attempt(request, response, seen, index);
        } catch (...) {
            error = std::current_exception();
        }
        if (onEnd) {
            onEnd(seenAt(index), error);
        }
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    }

    void attempt(HttpRequest& request,
                 HttpResponse& response,
                 Seen& seen,
                 std::size_t index) const {
        if (seen.isProxyResend()) {
            clearForProxyResend(request, response);
        }
        if (seen.asynchronous && isCancelled(seen.requestId)) {
            throw HttpRequestCancelledException();
        }
        if (onSend) {
            onSend(request);
        }
        if (request.hasRequestBody()) {
            seen.body = readBody(request.getRequestBody());
            change(index, [&seen](Seen& noted) { noted.body = seen.body; });
        }
        const Attempt script = answering_ ? answering_(seen) : Attempt{};
        if (script.code != HttpResponseCode::RequestNotMade) {
            receive(script, request, response, index);
        }
        if (seen.asynchronous && isCancelled(seen.requestId)) {
            markAsNotMade(response);
            throw HttpRequestCancelledException();
        }
        if (script.error != nullptr) {
            std::rethrow_exception(script.error);
        }
    }

    static std::string firstByte(const std::string& range, char behind) {
        const std::size_t begin = range.find(behind) + 1;
        return range.substr(begin, range.find('-') - begin);
    }

    void receive(const Attempt& attempt,
                 HttpRequest& request,
                 HttpResponse& response,
                 std::size_t index) const {
        response.setResponseCodeAndReason(attempt.code, attempt.reason);
        response.setHeaders(attempt.headers);
        // Scripts may leave Content-Range out.
        if (attempt.code == HttpResponseCode::PartialContent &&
            attempt.headers.hasHeader("Content-Range") && request.hasHeader("Range") &&
            firstByte(attempt.headers.getHeaderValue("Content-Range"), ' ') !=
                firstByte(request.getHeaderValue("Range"), '=')) {
            throw HttpRequestFailedException("The part does not continue the body.");
        }
        if (request.hasHeader("Range") && attempt.code == HttpResponseCode::OK) {
            response.resetResponseBody();  // It carries the whole text, not the missing rest.
        }
        if (!attempt.body.empty()) {
            std::iostream& body = response.getResponseBody();
            body.clear();
            const std::streamoff position = body.tellp();
            change(index, [position](Seen& noted) { noted.bodyPosition = position; });
            body << attempt.body;
        }
        if (request.hasProgressCallback()) {
            const auto size = static_cast<std::int64_t>(attempt.body.size());
            const Progress progress{
                .downloadTotal = size, .downloaded = size, .uploadTotal = 7, .uploaded = 5};
            if (request.getProgressCallback()(progress) == ProgressResult::Abort) {
                markAsNotMade(response);
                throw HttpRequestCancelledException();
            }
        }
        response.setTransactionReport(
            attempt.report.value_or(TransactionReport(0, request.getURL())));
    }

    std::size_t note(const Seen& seen) const {
        const std::lock_guard lock(mutex_);
        seen_.push_back(seen);
        return seen_.size() - 1;
    }

    Seen seenAt(std::size_t index) const {
        const std::lock_guard lock(mutex_);
        return seen_[index];
    }

    void change(std::size_t index, const std::function<void(Seen&)>& edit) const {
        const std::lock_guard lock(mutex_);
        edit(seen_[index]);
    }

    bool isCancelled(unsigned long requestId) const {
        const std::lock_guard lock(mutex_);
        return cancelled_.contains(requestId);
    }

    std::optional<Queued> takeQueued() {
        const std::lock_guard lock(mutex_);
        if (queue_.empty()) {
            return std::nullopt;
        }
        std::optional<Queued> next = std::move(queue_.front());
        queue_.pop_front();
        return next;
    }

    void work() {
        for (;;) {
            {
                std::unique_lock lock(mutex_);
                wakeUp_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
            }
            std::optional<Queued> next = takeQueued();
            if (next.has_value()) {
                finish(std::move(*next));
            } else if (isStopping()) {
                return;
            }
        }
    }

    void leaveFlight(unsigned long requestId) {
        const std::lock_guard lock(mutex_);
        inFlight_.erase(inFlight_.find(requestId));
    }

    bool isStopping() const {
        const std::lock_guard lock(mutex_);
        return stopping_;
    }

    void finish(Queued queued) {
        std::exception_ptr error;
        try {
            Seen seen;
            seen.asynchronous = true;
            seen.requestId = queued.requestId;
            perform(queued.request, queued.response, std::move(seen));
        } catch (...) {
            error = std::current_exception();
        }
        CompletionHandler handler = std::move(queued.handler);
        handler(std::move(queued.request), std::move(queued.response), std::move(error));
        leaveFlight(queued.requestId);
        const std::lock_guard lock(mutex_);
        if (keepHandlers_) {
            kept_.push_back(std::move(handler));
        }
    }

    Answering answering_;
    bool keepHandlers_ = false;

    mutable std::mutex mutex_;
    mutable std::condition_variable wakeUp_;
    mutable std::deque<Queued> queue_;
    mutable std::deque<Seen> seen_;
    mutable std::multiset<unsigned long>
        inFlight_;  ///< Once for each attempt; until its handler returned.
    std::set<unsigned long> cancelled_;
    std::vector<CompletionHandler> kept_;
    bool stopping_ = false;
    std::vector<std::thread> workers_;
};

}  // namespace foundation::httpclient_core::testing
