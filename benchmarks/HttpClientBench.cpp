#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/HttpClient.h>

#include <boost/log/core/core.hpp>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace foundation::httpclient_core::benchmarks {
namespace {

/// Answers at once with 200, 14 header fields and a short body. An asynchronous attempt ends when the
/// benchmark calls endAttempt, on the same thread: what is measured is the library, not a hand-over.
class AtOnceTransport final : public HttpClient {
public:
    AtOnceTransport() {
        // A program without a sink would get every record on its standard output.
        boost::log::core::get()->set_logging_enabled(false);
        for (const auto& [name, value] : samples::headers(14)) {
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

class Workload {
public:
    /// A request as a caller has it ready: a copy of the URL and of three header fields.
    HttpRequest request() const { return {HttpMethod::GET, url_, headers_}; }

private:
    URL url_{samples::url(85)};
    HttpHeaders headers_{{"Accept", samples::accept()},
                         {"User-Agent", "benchmark/1.0"},
                         {"Cookie", samples::cookie()}};
};

void buildRequest(benchmark::State& state) {
    const Workload workload;
    measure(state, [&] { return workload.request(); });
}

void makeRequest(benchmark::State& state) {
    const Workload workload;
    AtOnceTransport client;
    measure(state, [&] { return client.makeRequest(workload.request()); });
}

void makeAsyncRequestWithHandler(benchmark::State& state) {
    const Workload workload;
    AtOnceTransport client;
    measure(state, [&] {
        HttpResponseCode code = HttpResponseCode::RequestNotMade;
        client.makeAsyncRequest(
            workload.request(),
            [&code](HttpRequest /*request*/, HttpResponse response, std::exception_ptr /*error*/) {
                code = response.getResponseCode();
            });
        client.endAttempt();
        return code;
    });
}

void makeAsyncRequestWithFuture(benchmark::State& state) {
    const Workload workload;
    AtOnceTransport client;
    measure(state, [&] {
        auto [response, requestId] = client.makeAsyncRequest(workload.request());
        client.endAttempt();
        return response.get();
    });
}

BENCHMARK(buildRequest)->Name("HttpRequest.build/library");
BENCHMARK(makeRequest)->Name("HttpClient.makeRequest/library");
BENCHMARK(makeAsyncRequestWithHandler)->Name("HttpClient.makeAsyncRequest, handler/library");
BENCHMARK(makeAsyncRequestWithFuture)->Name("HttpClient.makeAsyncRequest, future/library");

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
