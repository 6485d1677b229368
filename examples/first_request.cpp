// A first real request: CurlHttpClient sends it over the network. So that the program can run anywhere,
// the server is a thread of this program; any other URL works the same.
#include "Require.h"
#include "tests/support/LoopbackServer.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <exception>
#include <future>
#include <iostream>
#include <string>
#include <utility>

using namespace foundation::httpclient_core;
using examples::require;
using foundation::httpclient_core::testing::Connection;
using foundation::httpclient_core::testing::LoopbackServer;
using foundation::httpclient_core::testing::ReceivedRequest;
using foundation::httpclient_curl::CurlHttpClient;

namespace {

void serve(const ReceivedRequest& request, Connection& connection) {
    if (request.target.starts_with("/greeting")) {
        connection.sendResponse(200, "OK", {{"Content-Type", "text/plain; charset=utf-8"}},
                                "Hello " + request.header("X-Name") + ", target " + request.target);
    } else {
        connection.sendResponse(404, "Not Found");
    }
}

void get(CurlHttpClient& client, const std::string& url) {
    HttpRequest request(HttpMethod::GET, url, {{"X-Name", "reader"}});
    request.setQueryParameters({{"language", "en"}, {"words", "two words"}});

    const HttpResponse response = client.makeRequest(std::move(request));

    const std::string body = response.getResponseBodyString();
    std::cout << response.getResponseCode() << " " << response.getResponseCodeReason() << "\n"
              << "type: " << response.getContentType().getType() << "\n"
              << body << "\n";
    require(isSuccess(response), "the code");
    require(body == "Hello reader, target /greeting?language=en&words=two%20words", "the body");
}

// A status is no error: it is in the response. Errors are exceptions.
void statusAndError(CurlHttpClient& client, const std::string& url) {
    const HttpResponse response = client.makeRequest(HttpRequest(HttpMethod::GET, url, {}));
    std::cout << response.getResponseCode() << " " << response.getResponseCodeReason() << "\n";
    require(response.getResponseCode() == HttpResponseCode::NotFound, "the code");
    try {
        client.makeRequest(HttpRequest(HttpMethod::GET, "gopher://127.0.0.1/", {}));
        require(false, "only http and https are spoken");
    } catch (const HttpRequestFailedException& error) {
        std::cout << "failed: " << error.what() << "\n";
    }
}

// Two requests at once; neither blocks this thread before its result is asked for.
void getBoth(CurlHttpClient& client, const std::string& url) {
    auto [first, firstId] = client.makeAsyncRequest(HttpRequest(HttpMethod::GET, url, {}));
    auto [second, secondId] = client.makeAsyncRequest(HttpRequest(HttpMethod::GET, url, {}));
    std::cout << "requests " << firstId << " and " << secondId << ": "
              << first.get().getResponseCode() << " and " << second.get().getResponseCode() << "\n";
}

}  // namespace

int main() {
    coreChannel().set_filter_mask(0);  // This program shows results, not log records.
    try {
        const LoopbackServer server(serve);
        CurlHttpClient client;
        get(client, server.url("/greeting"));
        statusAndError(client, server.url("/elsewhere"));
        getBoth(client, server.url("/greeting"));
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
