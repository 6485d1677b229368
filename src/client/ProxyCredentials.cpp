#include <foundation/httpclient_core/ProxyCredentials.h>

#include <string>
#include <utility>

namespace foundation::httpclient_core {

ProxyCredentials::ProxyCredentials(std::string username, std::string password)
    : username_(std::move(username)), password_(std::move(password)) {}

ProxyCredentials::ProxyCredentials(const ProxyCredentials&) = default;
ProxyCredentials& ProxyCredentials::operator=(const ProxyCredentials&) = default;
ProxyCredentials::~ProxyCredentials() = default;

std::string ProxyCredentials::username() const {
    return username_;
}

std::string ProxyCredentials::password() const {
    return password_;
}

}  // namespace foundation::httpclient_core
