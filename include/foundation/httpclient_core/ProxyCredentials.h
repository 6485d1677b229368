#pragma once
#include <foundation/httpclient_core/Export.h>

#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API ProxyCredentials {  // concrete; a value
public:
    ProxyCredentials(std::string username, std::string password);
    ProxyCredentials(const ProxyCredentials&);
    ProxyCredentials& operator=(const ProxyCredentials&);
    virtual std::string username() const;
    virtual std::string password() const;
    virtual ~ProxyCredentials();

private:
    std::string username_;
    std::string password_;
};
}  // namespace foundation::httpclient_core
