#pragma once
#include "tests/client/ScriptedTransport.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <exception>
#include <future>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

/// The two ways to run a request.
enum class Road { Synchronous, Asynchronous };

inline std::ostream& operator<<(std::ostream& os, Road road) {
    return os << (road == Road::Synchronous ? "Synchronous" : "Asynchronous");
}

inline std::string roadName(const ::testing::TestParamInfo<Road>& row) {
    return ::testing::PrintToString(row.param);
}

/// Tests that hold on both roads.
class RoadTest : public ::testing::TestWithParam<Road> {
protected:
    /// Runs the request to its end on this thread; throws what the caller gets.
    static HttpResponse run(ScriptedTransport& client, HttpRequest request) {
        if (GetParam() == Road::Synchronous) {
            return client.makeRequest(std::move(request));
        }
        std::future<HttpResponse> response = client.makeAsyncRequest(std::move(request)).first;
        client.pump();
        return response.get();
    }

    static bool synchronous() { return GetParam() == Road::Synchronous; }

    LogCapture log;
};

inline HttpRequest getRequest(const char* url = "http://host/file") {
    return {HttpMethod::GET, URL(url), HttpHeaders()};
}

/// A POST with a body and its length.
inline HttpRequest postRequest(const std::string& text = "abc") {
    HttpRequest request(HttpMethod::POST, URL("http://host/form"), HttpHeaders());
    request.setRequestBody(text);
    return request;
}

inline RetryStrategy retryUpTo(int attempts) {
    return [attempts](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int total,
                      int) { return total < attempts; };
}

inline ProxyAuthenticationStrategy neverAuthenticate() {
    return [](const HttpResponse&, const std::exception_ptr&, int) { return false; };
}

/// A configuration with this retry strategy that leaves proxies alone.
inline ClientConfiguration retrying(RetryStrategy strategy) {
    return ClientConfiguration()
        .withRetryStrategy(std::move(strategy))
        .withProxyAuthenticationStrategy(neverAuthenticate());
}

/// "what" of the exception, "none" for a null pointer.
inline std::string textOf(const std::exception_ptr& error) {
    if (error == nullptr) {
        return "none";
    }
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

}  // namespace foundation::httpclient_core::testing
