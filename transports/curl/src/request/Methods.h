#pragma once
#include <foundation/httpclient_core/HttpMethod.h>

namespace foundation::httpclient_curl {

/// The method as it stands in a request line.
constexpr const char* wireName(httpclient_core::HttpMethod method) {
    switch (method) {
        case httpclient_core::HttpMethod::GET:
            return "GET";
        case httpclient_core::HttpMethod::HEAD:
            return "HEAD";
        case httpclient_core::HttpMethod::POST:
            return "POST";
        case httpclient_core::HttpMethod::PUT:
            return "PUT";
        case httpclient_core::HttpMethod::DELETE:
            return "DELETE";
        case httpclient_core::HttpMethod::PATCH:
            return "PATCH";
    }
    return "UNKNOWN";
}

/// Whether a second request of that kind may do something a second time (RFC 9110, 9.2.2).
constexpr bool mayHaveSideEffects(httpclient_core::HttpMethod method) {
    return method == httpclient_core::HttpMethod::POST ||
           method == httpclient_core::HttpMethod::PATCH;
}

}  // namespace foundation::httpclient_curl
