#pragma once
#include <foundation/httpclient_core/QueryParameters.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API URL {
public:
    URL(const std::string& text);  // implicit on purpose; no default constructor
    URL(const char* text);
    std::string toAsciiString() const;
    bool operator==(const URL& other) const;
    std::string getProtocol() const;
    void setProtocol(std::string protocol);
    std::string getDomain() const;
    void setDomain(std::string domain);
    std::uint16_t getPort() const noexcept;
    void setPort(std::uint16_t port) noexcept;
    std::string getPath() const;
    void setPath(std::string path);
    QueryParameters getQueryParameters() const;
    void setQueryParameters(QueryParameters queryParameters);
    std::string getFragment() const;
    void setFragment(std::string fragment);
    bool hasFragment() const noexcept;

private:
    void parse(std::string_view text);

    std::string protocol_;
    std::string domain_;
    std::uint16_t port_ = 0;
    std::string path_;
    QueryParameters queryParameters_;
    std::string fragment_;
};
FOUNDATION_HTTPCLIENT_CORE_API std::ostream& operator<<(std::ostream& os, const URL& url);
}  // namespace foundation::httpclient_core
