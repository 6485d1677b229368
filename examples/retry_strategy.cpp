// How a client decides whether to send a request again: the ready-made strategy with its settings, and
// one of your own.
#include "InMemoryTransport.h"
#include "Require.h"

#include <foundation/httpclient_core.h>

#include <exception>
#include <iostream>

using namespace foundation::httpclient_core;
using examples::InMemoryTransport;
using examples::Reply;
using examples::require;

namespace {

// Refuses so many attempts, then accepts. Counts what it sees.
struct BusyServer {
    int refusals = 0;
    int attempts = 0;

    Reply answer() {
        ++attempts;
        if (attempts <= refusals) {
            return {HttpResponseCode::ServiceUnavailable, "Service Unavailable", {}, ""};
        }
        return {HttpResponseCode::OK, "OK", {}, "accepted"};
    }
};

HttpResponse send(BusyServer& server, RetryStrategy strategy, HttpRequest request) {
    InMemoryTransport client([&server](const HttpRequest&) { return server.answer(); });
    ClientConfiguration configuration;
    configuration.setRetryStrategy(std::move(strategy));
    client.setClientConfiguration(configuration);
    return client.makeRequest(std::move(request));
}

HttpRequest request(HttpMethod method) {
    HttpRequest request(method, "http://server.test/orders", HttpHeaders());
    if (method == HttpMethod::POST) {
        request.setRequestBody("one book");
    }
    return request;
}

// The ready-made strategy: up to 4 attempts, waits of 1, 2, 4 ms and at most 3 ms more at random, and
// never sooner than the server asks in "Retry-After".
void backOff() {
    RetryBackoffOptions options;
    options.backoffBase = 1;
    options.maxJitter = 3;
    BusyServer server{2};
    const HttpResponse response =
        send(server, defaultRetryStrategy(4, defaultIsRetriable(), 4, options),
             request(HttpMethod::GET));
    std::cout << "GET with back-off: " << response.getResponseCode() << " after " << server.attempts
              << " attempts\n";
    require(response.getResponseCode() == HttpResponseCode::OK && server.attempts == 3, "GET");
}

// The ready-made strategy sends nothing but GET again. A predicate of your own decides otherwise.
void retryAnyMethod() {
    const IsRetriable onServerErrors = [](HttpMethod, bool timedOut, HttpResponseCode code) {
        return timedOut || isServerError(code);
    };
    BusyServer server{1};
    send(server, defaultRetryStrategy(2, 0, std::chrono::seconds(1), onServerErrors),
         request(HttpMethod::POST));
    std::cout << "POST with a predicate: " << server.attempts << " attempts\n";
    require(server.attempts == 2, "POST is sent again");

    BusyServer strict{1};
    const HttpResponse refused =
        send(strict, defaultRetryStrategy(2, 0, std::chrono::seconds(1), defaultIsRetriable()),
             request(HttpMethod::POST));
    require(strict.attempts == 1, "the default predicate leaves POST alone");
    require(refused.getResponseCode() == HttpResponseCode::ServiceUnavailable, "the last response");
}

// A strategy of your own: any callable of this form. It sees what the attempt sent and got, and how many
// attempts there were. It may wait before it answers true: it runs on the thread of the request.
void ownStrategy() {
    const RetryStrategy ifMarked = [](const HttpRequest& request, const HttpResponse& response,
                                      const std::exception_ptr& error, int totalAttempts,
                                      int /*consecutiveAttempts*/) {
        const bool failed = error != nullptr || isServerError(response);
        std::cout << "  attempt " << totalAttempts << (failed ? " failed\n" : " succeeded\n");
        return failed && totalAttempts < 5 && request.hasHeader("Idempotency-Key");
    };
    BusyServer server{2};
    HttpRequest order = request(HttpMethod::POST);
    order.setHeaderValue("Idempotency-Key", "7f3e");
    const HttpResponse response = send(server, ifMarked, std::move(order));
    std::cout << "POST with a key: " << response.getResponseCode() << "\n";
    require(server.attempts == 3, "a marked request is sent again");

    BusyServer unmarked{1};
    send(unmarked, ifMarked, request(HttpMethod::POST));
    require(unmarked.attempts == 1, "an unmarked one is not");
}

// One request differs from all others of its client: it carries a configuration of its own.
void oneRequestOnly() {
    BusyServer server{1};
    HttpRequest once = request(HttpMethod::GET);
    once.setClientConfiguration(ClientConfiguration().withRetryStrategy(noRetriesStrategy()));
    const HttpResponse response =
        send(server, defaultRetryStrategy(5, 0, std::chrono::seconds(1), defaultIsRetriable()),
             std::move(once));
    std::cout << "GET without retries: " << response.getResponseCode() << "\n";
    require(server.attempts == 1, "the request's own configuration holds");
}

}  // namespace

int main() {
    coreChannel().set_filter_mask(0);  // This program shows results, not log records.
    try {
        backOff();
        retryAnyMethod();
        ownStrategy();
        oneRequestOnly();
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
