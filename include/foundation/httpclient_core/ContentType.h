#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API ContentType {
public:
    ContentType(std::string type, NameValueCollection parameters);
    static ContentType parse(const std::string& text);
    std::string toString() const;
    std::string getType() const;
    NameValueCollection getParameters() const;
    bool operator==(const ContentType& other) const;

private:
    std::string type_;
    NameValueCollection parameters_;
};
}  // namespace foundation::httpclient_core
