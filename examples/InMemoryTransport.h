#pragma once
#include <foundation/httpclient_core.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace examples {

namespace core = foundation::httpclient_core;

/// What the other side answers to one attempt.
struct Reply {
    core::HttpResponseCode code = core::HttpResponseCode::OK;
    std::string reason = "OK";
    core::HttpHeaders headers;
    std::string body;
};

/// The other side: answers an attempt, or throws what the attempt shall fail with. Called from the
/// threads of synchronous callers and from the transport's own thread.
using Server = std::function<Reply(const core::HttpRequest& request)>;

/// A whole transport that reaches a function instead of a network. It obeys every duty of a transport
/// and is meant to be copied: the I/O goes where `exchange` calls `server_`.
///
/// Not to be destroyed inside a completion handler: its thread would wait for itself.
class InMemoryTransport : public core::HttpClient {
public:
    explicit InMemoryTransport(Server server)
        : server_(std::move(server)), worker_([this] { work(); }) {}
    InMemoryTransport(const InMemoryTransport&) = delete;
    InMemoryTransport& operator=(const InMemoryTransport&) = delete;

    /// Ends what is still waiting as cancelled. Every handler has been called when this returns.
    ~InMemoryTransport() override {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wakeUp_.notify_one();
        worker_.join();
    }

    std::string transportName() const override { return "InMemoryTransport"; }
    void closeIdleConnections() override {}

    // Without a store and a prompt, a 407 is delivered like any other response.
    std::shared_ptr<core::ProxyCredentialStore> proxyCredentialStore() const override {
        return nullptr;
    }
    std::shared_ptr<core::ProxyCredentialPrompt> proxyCredentialPrompt(
        const core::HttpResponse& /*response*/,
        const std::exception_ptr& /*error*/) const override {
        return nullptr;
    }

    /// Runs one attempt on the calling thread. Failure is an exception.
    void sendRequest(core::HttpRequest& request, core::HttpResponse& response) const override {
        exchange(request, response);
    }

    /// Starts one attempt. The handler runs later and elsewhere: never inside this function, without any
    /// lock held, on a thread that may block (retry strategies sleep, users are asked for passwords).
    void sendAsyncRequest(core::HttpRequest request,
                          core::HttpResponse response,
                          unsigned long requestId,
                          core::CompletionHandler handler) const override {
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(
                {std::move(request), std::move(response), requestId, std::move(handler)});
        }
        wakeUp_.notify_one();
    }

    bool cancelRequest(unsigned long requestId) override {
        const std::lock_guard lock(mutex_);
        if (running_ != requestId && !isWaiting(requestId)) {
            return false;
        }
        // Remembered, because a retry sends the same id again: that attempt ends at once as well.
        cancelled_.insert(requestId);
        return true;
    }

    void cancelAllRequests() override {
        const std::lock_guard lock(mutex_);
        for (const Attempt& attempt : waiting_) {
            cancelled_.insert(attempt.requestId);
        }
        if (running_.has_value()) {
            cancelled_.insert(*running_);
        }
    }

private:
    struct Attempt {
        core::HttpRequest request;
        core::HttpResponse response;
        unsigned long requestId;
        core::CompletionHandler handler;
    };

    void exchange(core::HttpRequest& request, core::HttpResponse& response) const {
        // A response that carries a code already is one that a proxy refused, sent again with
        // credentials. Only then is clearing it the transport's business: otherwise the body may hold
        // the first part of a download, which this attempt continues.
        if (response.getResponseCode() != core::HttpResponseCode::RequestNotMade) {
            startOver(request, response);
        }
        core::Progress progress;
        if (request.hasRequestBody()) {
            progress.uploadTotal = progress.uploaded = sendBody(request.getRequestBody());
        }

        const Reply reply = server_(request);

        // First the code and its reason, then the headers, then the body, then the report.
        response.setResponseCodeAndReason(reply.code, reply.reason);
        response.setHeaders(reply.headers);
        if (request.hasHeader("Range") && reply.code == core::HttpResponseCode::OK) {
            response.resetResponseBody();  // The whole text comes, not the rest that was asked for.
        }
        if (reply.code == core::HttpResponseCode::PartialContent) {
            requireAskedPart(request, reply);
        }
        std::iostream& body = response.getResponseBody();
        body.clear(body.rdstate() & std::ios::badbit);  // A reader may have met the end.
        body.write(reply.body.data(), static_cast<std::streamsize>(reply.body.size()));
        body.flush();
        if (!body) {
            throw core::HttpRequestFailedException("The response body cannot be written.");
        }
        response.setTransactionReport(core::TransactionReport(0, request.getURL()));

        progress.downloadTotal = progress.downloaded = static_cast<std::int64_t>(reply.body.size());
        if (request.hasProgressCallback() &&
            request.getProgressCallback()(progress) == core::ProgressResult::Abort) {
            // With the code of the received response this could be retried.
            response.setResponseCodeAndReason(core::HttpResponseCode::RequestNotMade,
                                              "Request Not Made");
            throw core::HttpRequestCancelledException();
        }
    }

    /// What comes is appended to what is held, so it must begin where the request says: of "bytes=3-" and
    /// "bytes 3-5/6" the text up to the dash.
    static void requireAskedPart(const core::HttpRequest& request, const Reply& reply) {
        std::string asked =
            request.hasHeader("Range") ? request.getHeaderValue("Range") : "bytes=0-";
        std::string sent = reply.headers.getHeaderValueOr("Content-Range", "");
        asked = asked.substr(asked.find('=') + 1);
        sent = sent.substr(std::min(sent.size(), sent.find(' ') + 1));
        if (asked.substr(0, asked.find('-')) != sent.substr(0, sent.find('-'))) {
            throw core::HttpRequestFailedException(
                "The server sent another part than the one asked for.");
        }
    }

    static void startOver(core::HttpRequest& request, core::HttpResponse& response) {
        response.setResponseCodeAndReason(core::HttpResponseCode::RequestNotMade,
                                          "Request Not Made");
        response.setHeaders(core::HttpHeaders());
        response.resetResponseBody();
        if (request.hasRequestBody()) {
            request.getRequestBody().clear();
            request.getRequestBody().seekg(0);
        }
    }

    /// Reads the body to its end; the number of its bytes. One that cannot be read, because it could not
    /// be rewound for a retry, must not be sent as an empty one.
    static std::int64_t sendBody(std::istream& body) {
        if (!body) {
            throw core::HttpRequestFailedException("The request body cannot be read.");
        }
        return std::distance(std::istreambuf_iterator<char>(body.rdbuf()),
                             std::istreambuf_iterator<char>());
    }

    void work() const {
        std::unique_lock lock(mutex_);
        for (;;) {
            wakeUp_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
            if (waiting_.empty()) {
                return;
            }
            Attempt attempt = std::move(waiting_.front());
            waiting_.pop_front();
            const unsigned long requestId = attempt.requestId;
            running_ = requestId;
            const bool cancelled = stopping_ || cancelled_.contains(requestId);
            lock.unlock();
            finish(std::move(attempt), cancelled);
            lock.lock();
            running_.reset();
            if (!isWaiting(requestId)) {
                cancelled_.erase(requestId);
            }
        }
    }

    /// Calls the handler exactly once, whatever the outcome is, and destroys it.
    void finish(Attempt attempt, bool cancelled) const {
        std::exception_ptr error;
        try {
            if (cancelled) {
                throw core::HttpRequestCancelledException();
            }
            exchange(attempt.request, attempt.response);
            if (isCancelled(attempt.requestId)) {
                throw core::HttpRequestCancelledException();
            }
        } catch (const core::HttpRequestCancelledException&) {
            // With the code of an answer it could be retried.
            attempt.response.setResponseCodeAndReason(core::HttpResponseCode::RequestNotMade,
                                                      "Request Not Made");
            error = std::current_exception();
        } catch (...) {
            error = std::current_exception();
        }
        attempt.handler(std::move(attempt.request), std::move(attempt.response), std::move(error));
    }

    bool isCancelled(unsigned long requestId) const {
        const std::lock_guard lock(mutex_);
        return cancelled_.contains(requestId);
    }

    bool isWaiting(unsigned long requestId) const {
        return std::any_of(waiting_.begin(), waiting_.end(), [requestId](const Attempt& attempt) {
            return attempt.requestId == requestId;
        });
    }

    Server server_;
    mutable std::mutex mutex_;  ///< Guards what follows.
    mutable std::condition_variable wakeUp_;
    mutable std::deque<Attempt> waiting_;
    mutable std::optional<unsigned long> running_;
    mutable std::set<unsigned long> cancelled_;
    bool stopping_ = false;
    std::thread worker_;  // Last: it uses all of the above.
};

}  // namespace examples
