#pragma once
#include "benchmarks/support/Row.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/HttpClient.h>

#include <boost/log/core/core.hpp>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

/// What a request costs in the library itself, without any network.
namespace foundation::httpclient_core::benchmarks {

/// Answers at once with 200, 14 header fields and a short body. An asynchronous attempt ends when the
/// benchmark calls endAttempt, on the same thread: what is measured is the library, not a hand-over.
class AtOnceTransport final : public HttpClient {
public:
    AtOnceTransport() {
        // A program without a sink would get every record on its standard output.
        boost::log::core::get()->set_logging_enabled(false);
        samples::Fields fields = samples::headers(18);
        fields.resize(14);
        for (const auto& [name, value] : fields) {
            headers_.add(name, value);
        }
    }

    std::string transportName() const override { return "AtOnceTransport"; }
    void closeIdleConnections() override {}
    std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const override { return nullptr; }
    std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse& /*response*/,
        const std::exception_ptr& /*error*/) const override {
        return nullptr;
    }
    bool cancelRequest(unsigned long /*requestId*/) override { return false; }
    void cancelAllRequests() override {}

    void sendRequest(HttpRequest& request, HttpResponse& response) const override {
        response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
        response.setHeaders(headers_);
        response.getResponseBody() << "Hello";
        response.setTransactionReport(TransactionReport(0, request.getURL()));
    }

    void sendAsyncRequest(HttpRequest request,
                          HttpResponse response,
                          unsigned long /*requestId*/,
                          CompletionHandler handler) const override {
        attempt_.emplace(std::move(request), std::move(response), std::move(handler));
    }

    void endAttempt() {
        Attempt attempt = std::move(*attempt_);
        attempt_.reset();
        sendRequest(attempt.request, attempt.response);
        attempt.handler(std::move(attempt.request), std::move(attempt.response), nullptr);
    }

private:
    struct Attempt {
        Attempt(HttpRequest sent, HttpResponse filled, CompletionHandler done)
            : request(std::move(sent)), response(std::move(filled)), handler(std::move(done)) {}

        HttpRequest request;
        HttpResponse response;
        CompletionHandler handler;
    };

    HttpHeaders headers_;
    mutable std::optional<Attempt> attempt_;
};

/// A client and what a caller has ready for its requests: a URL and three header fields.
class Exchange {
public:
    HttpRequest request() const { return {HttpMethod::GET, url_, headers_}; }
    AtOnceTransport& client() const { return *client_; }

private:
    URL url_{samples::url(85)};
    HttpHeaders headers_{{"Accept", samples::accept()},
                         {"User-Agent", "benchmark/1.0"},
                         {"Cookie", samples::cookie()}};
    std::unique_ptr<AtOnceTransport> client_ = std::make_unique<AtOnceTransport>();
};

template <class Visit>
void exchangeWorkloads(const Visit& visit) {
    visit(Row{"Build a request"},
          [] { return [exchange = Exchange()] { return exchange.request(); }; });
    visit(Row{"makeRequest"}, [] {
        return
            [exchange = Exchange()] { return exchange.client().makeRequest(exchange.request()); };
    });
    visit(Row{"makeAsyncRequest with a handler"}, [] {
        return [exchange = Exchange()] {
            HttpResponseCode code = HttpResponseCode::RequestNotMade;
            exchange.client().makeAsyncRequest(
                exchange.request(),
                [&code](HttpRequest /*request*/, HttpResponse response,
                        std::exception_ptr /*error*/) { code = response.getResponseCode(); });
            exchange.client().endAttempt();
            return code;
        };
    });
    visit(Row{"makeAsyncRequest with a future"}, [] {
        return [exchange = Exchange()] {
            auto [response, requestId] = exchange.client().makeAsyncRequest(exchange.request());
            exchange.client().endAttempt();
            return response.get();
        };
    });
}

}  // namespace foundation::httpclient_core::benchmarks
