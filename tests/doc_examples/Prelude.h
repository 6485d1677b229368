#pragma once
/// @file
/// What every example of the documentation finds in scope: the library, its names without their
/// namespace, the usual standard headers, and ExampleTransport.
#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>
#include <foundation/log/basic_diagnostic_logger.h>
#include <foundation/log/exception_chain.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace foundation::httpclient_core::testing {

/// Answers every request with 200 "OK", Content-Type: text/plain and the body "Hello". Asynchronous
/// attempts end one after the other on a thread of its own. Must not be destroyed inside a handler.
class ExampleTransport final : public HttpClient {
public:
    ExampleTransport() : worker_([this] { work(); }) {}
    ExampleTransport(const ExampleTransport&) = delete;
    ExampleTransport& operator=(const ExampleTransport&) = delete;
    /// Ends what is still waiting as cancelled, then returns.
    ~ExampleTransport() override {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wakeUp_.notify_one();
        worker_.join();
    }

    std::string transportName() const override { return "ExampleTransport"; }
    void closeIdleConnections() override {}
    std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const override { return nullptr; }
    std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse& /*response*/,
        const std::exception_ptr& /*error*/) const override {
        return nullptr;
    }

    void sendRequest(HttpRequest& request, HttpResponse& response) const override {
        if (response.getResponseCode() != HttpResponseCode::RequestNotMade) {
            clearForProxyResend(request, response);
        }
        answer(request, response);
    }

    void sendAsyncRequest(HttpRequest request,
                          HttpResponse response,
                          unsigned long requestId,
                          CompletionHandler handler) const override {
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(
                {std::move(request), std::move(response), requestId, std::move(handler)});
        }
        wakeUp_.notify_one();
    }

    bool cancelRequest(unsigned long requestId) override {
        const std::lock_guard lock(mutex_);
        const bool found = std::any_of(
            waiting_.begin(), waiting_.end(),
            [requestId](const Attempt& attempt) { return attempt.requestId == requestId; });
        if (found) {
            cancelled_.insert(requestId);
        }
        return found;
    }

    void cancelAllRequests() override {
        const std::lock_guard lock(mutex_);
        for (const Attempt& attempt : waiting_) {
            cancelled_.insert(attempt.requestId);
        }
    }

private:
    struct Attempt {
        HttpRequest request;
        HttpResponse response;
        unsigned long requestId;
        CompletionHandler handler;
    };

    static void clearForProxyResend(HttpRequest& request, HttpResponse& response) {
        response.setResponseCodeAndReason(HttpResponseCode::RequestNotMade, "Request Not Made");
        response.setHeaders(HttpHeaders());
        response.resetResponseBody();
        if (request.hasRequestBody()) {
            request.getRequestBody().clear();
            request.getRequestBody().seekg(0);
        }
    }

    static std::int64_t drain(std::istream& body) {
        if (!body) {
            throw HttpRequestFailedException("The request body cannot be read.");
        }
        return std::distance(std::istreambuf_iterator<char>(body.rdbuf()),
                             std::istreambuf_iterator<char>());
    }

    static void answer(HttpRequest& request, HttpResponse& response) {
        constexpr std::string_view text = "Hello";
        Progress progress;
        progress.downloadTotal = progress.downloaded = text.size();
        if (request.hasRequestBody()) {
            progress.uploadTotal = progress.uploaded = drain(request.getRequestBody());
        }
        if (request.hasProgressCallback() &&
            request.getProgressCallback()(progress) == ProgressResult::Abort) {
            throw HttpRequestCancelledException();
        }
        response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
        response.setHeaders({{"Content-Type", "text/plain"}});
        if (request.hasHeader("Range")) {
            response.resetResponseBody();  // A 200 carries the whole text, not the missing rest.
        }
        std::iostream& body = response.getResponseBody();
        body.clear();
        body.write(text.data(), text.size());
        body.flush();
        response.setTransactionReport(TransactionReport(0, request.getURL()));
    }

    bool isCancelled(unsigned long requestId) const {
        const std::lock_guard lock(mutex_);
        return stopping_ || cancelled_.contains(requestId);
    }

    void work() const {
        for (;;) {
            std::unique_lock lock(mutex_);
            wakeUp_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
            if (waiting_.empty()) {
                return;
            }
            Attempt attempt = std::move(waiting_.front());
            waiting_.pop_front();
            lock.unlock();
            finish(std::move(attempt));
        }
    }

    void finish(Attempt attempt) const {
        std::exception_ptr error;
        try {
            if (isCancelled(attempt.requestId)) {
                throw HttpRequestCancelledException();
            }
            sendRequest(attempt.request, attempt.response);
        } catch (...) {
            error = std::current_exception();
        }
        attempt.handler(std::move(attempt.request), std::move(attempt.response), error);
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable wakeUp_;
    mutable std::deque<Attempt> waiting_;
    std::set<unsigned long> cancelled_;
    bool stopping_ = false;
    std::thread worker_;  // Last: it uses all of the above.
};

}  // namespace foundation::httpclient_core::testing

// Examples are written as inside a function of a program that uses the library's names directly.
using namespace foundation::
    httpclient_core;  // NOLINT(google-global-names-in-headers): examples only.
using foundation::httpclient_core::testing::ExampleTransport;
