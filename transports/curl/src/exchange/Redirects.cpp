#include "exchange/Redirects.h"

namespace foundation::httpclient_curl {

using httpclient_core::HttpMethod;
using httpclient_core::HttpResponseCode;

bool isRedirect(HttpResponseCode code) {
    switch (code) {
        case HttpResponseCode::MovedPermanently:
        case HttpResponseCode::Found:
        case HttpResponseCode::SeeOther:
        case HttpResponseCode::TemporaryRedirect:
        case HttpResponseCode::PermanentRedirect:
            return true;
        default:
            return false;
    }
}

HttpMethod methodAfter(HttpResponseCode code, HttpMethod method) {
    if (code == HttpResponseCode::SeeOther) {
        return method == HttpMethod::HEAD ? method : HttpMethod::GET;
    }
    const bool isOldForm =
        code == HttpResponseCode::MovedPermanently || code == HttpResponseCode::Found;
    return isOldForm && method == HttpMethod::POST ? HttpMethod::GET : method;
}

}  // namespace foundation::httpclient_curl
