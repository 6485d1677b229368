// A request through the installed transport, to a port of this machine that nobody listens on.
#include <foundation/httpclient_core.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <iostream>

using namespace foundation::httpclient_core;

int main() {
    coreChannel().set_filter_mask(0);
    foundation::httpclient_curl::CurlHttpClient client;
    client.setClientConfiguration(ClientConfiguration().withRetryStrategy(noRetriesStrategy()));
    try {
        client.makeRequest(HttpRequest(HttpMethod::GET, URL("http://127.0.0.1:1/"), {}));
    } catch (const HttpRequestFailedException& failure) {
        std::cout << "curl consumer: refused as expected (" << failure.what() << ")\n";
        return 0;
    }
    std::cout << "curl consumer: port 1 answered\n";
    return 1;
}
