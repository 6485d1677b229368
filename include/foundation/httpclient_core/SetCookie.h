#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
#include <vector>
namespace foundation::httpclient_core {
class HttpResponse;
struct FOUNDATION_HTTPCLIENT_CORE_API SetCookie {
    std::string name;
    std::string value;
    NameValueCollection attributes;
    static SetCookie parse(const std::string& text);
};
FOUNDATION_HTTPCLIENT_CORE_API std::vector<SetCookie> getSetCookies(const HttpResponse& response);
}  // namespace foundation::httpclient_core
