// A transport of your own: InMemoryTransport.h is the template to start from. This program shows that
// everything the library adds works over it: retries, futures, handlers, progress and cancelling.
#include "InMemoryTransport.h"
#include "Require.h"

#include <foundation/httpclient_core.h>

#include <atomic>
#include <future>
#include <iostream>

using namespace foundation::httpclient_core;
using examples::InMemoryTransport;
using examples::Reply;
using examples::require;

namespace {

// Fails the first attempt for "/busy", and says "Hello" to everything else.
Reply answer(const HttpRequest& request) {
    static std::atomic<int> busyAttempts{0};
    if (request.getURL().getPath() == "/busy" && busyAttempts++ == 0) {
        return {HttpResponseCode::ServiceUnavailable, "Service Unavailable", {}, "later"};
    }
    return {HttpResponseCode::OK, "OK", {{"Content-Type", "text/plain"}}, "Hello"};
}

HttpRequest get(const char* url) {
    return {HttpMethod::GET, url, HttpHeaders()};
}

void sendAndWait(InMemoryTransport& client) {
    const HttpResponse response = client.makeRequest(get("http://server.test/"));
    std::cout << "synchronous: " << response.getResponseCode() << " "
              << response.getResponseBodyString() << "\n";
    require(response.getResponseCode() == HttpResponseCode::OK, "the code");
}

void retry(InMemoryTransport& client) {
    const HttpResponse response = client.makeRequest(get("http://server.test/busy"));
    const std::string body = response.getResponseBodyString();
    std::cout << "after a retry: " << response.getResponseCode() << " " << body << "\n";
    require(body == "Hello", "the body holds the last attempt only");
}

void future(InMemoryTransport& client) {
    auto [response, requestId] = client.makeAsyncRequest(get("http://server.test/"));
    std::cout << "request " << requestId
              << " with a future: " << response.get().getResponseBodyString() << "\n";
}

void handlerAndProgress(InMemoryTransport& client) {
    std::promise<std::string> promise;
    std::future<std::string> result = promise.get_future();
    HttpRequest request = get("http://server.test/");
    request.setProgressCallback([](const Progress& progress) {
        std::cout << "received " << progress.downloaded << " of " << progress.downloadTotal
                  << " bytes\n";
        return ProgressResult::Continue;
    });
    // A handler may own what it needs: here the promise, which must live until set_value is done.
    client.makeAsyncRequest(std::move(request), [promise = std::move(promise)](
                                                    HttpRequest /*request*/, HttpResponse response,
                                                    std::exception_ptr error) mutable {
        promise.set_value(error != nullptr ? "failed" : response.getResponseBodyString());
    });
    const std::string body = result.get();
    std::cout << "with a handler: " << body << "\n";
    require(body == "Hello", "the body");
}

void cancel(InMemoryTransport& client) {
    // The transport has one thread. This handler keeps it busy, so that the next request waits.
    std::promise<void> entered;
    std::promise<void> letGo;
    const std::future<void> inside = entered.get_future();
    client.makeAsyncRequest(get("http://server.test/"),
                            [entered = std::move(entered), released = letGo.get_future()](
                                HttpRequest /*request*/, HttpResponse /*response*/,
                                std::exception_ptr /*error*/) mutable {
                                entered.set_value();
                                released.wait();
                            });
    inside.wait();
    auto [response, requestId] = client.makeAsyncRequest(get("http://server.test/"));
    const bool found = client.cancelRequest(requestId);
    letGo.set_value();
    try {
        response.get();
        require(false, "a cancelled request has no response");
    } catch (const HttpRequestCancelledException& error) {
        std::cout << "cancelled: " << error.what() << "\n";
    }
    require(found, "the request was in flight");
}

}  // namespace

int main() {
    coreChannel().set_filter_mask(0);  // This program shows results, not log records.
    try {
        InMemoryTransport client(answer);
        sendAndWait(client);
        retry(client);
        future(client);
        handlerAndProgress(client);
        cancel(client);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
