#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API Cookie {
public:
    static NameValueCollection parse(const std::string& text);
    static std::string toString(const NameValueCollection& cookies);
};
}  // namespace foundation::httpclient_core
