#pragma once
#include <foundation/httpclient_core/ProxyAuthenticationStrategy.h>
#include <foundation/httpclient_core/RetryStrategy.h>

#include <cstdint>
#include <filesystem>
#include <string>
namespace foundation::httpclient_core {
class HttpClient;
namespace detail {
struct ClientConfigurationAccess;
}
class FOUNDATION_HTTPCLIENT_CORE_API ClientConfiguration {
public:
    ClientConfiguration();
    ClientConfiguration(const ClientConfiguration&);
    ClientConfiguration(ClientConfiguration&&);
    ClientConfiguration& operator=(const ClientConfiguration&);
    ClientConfiguration& operator=(ClientConfiguration&&);
    ~ClientConfiguration();

    std::filesystem::path certificateFile() const;
    void setCertificateFile(std::filesystem::path file);
    ClientConfiguration& withCertificateFile(std::filesystem::path file);
    std::filesystem::path domainSocketPath() const;
    void setDomainSocketPath(std::filesystem::path path);
    ClientConfiguration& withDomainSocketPath(std::filesystem::path path);
    bool followRedirects() const noexcept;
    void setFollowRedirects(bool follow) noexcept;
    ClientConfiguration& withFollowRedirects(bool follow) noexcept;
    bool hstsEnabled() const noexcept;
    void setHstsEnabled(bool enabled) noexcept;
    ClientConfiguration& withHstsEnabled(bool enabled) noexcept;
    std::int32_t idleSpeed() const noexcept;
    void setIdleSpeed(std::int32_t speed) noexcept;
    ClientConfiguration& withIdleSpeed(std::int32_t speed) noexcept;
    std::int32_t maxRedirects() const noexcept;
    void setMaxRedirects(std::int32_t count) noexcept;
    ClientConfiguration& withMaxRedirects(std::int32_t count) noexcept;
    std::int32_t maxRequestsPerThread() const noexcept;
    void setMaxRequestsPerThread(std::int32_t count) noexcept;
    ClientConfiguration& withMaxRequestsPerThread(std::int32_t count) noexcept;
    std::int32_t maxThreads() const noexcept;
    void setMaxThreads(std::int32_t count) noexcept;
    ClientConfiguration& withMaxThreads(std::int32_t count) noexcept;
    ProxyAuthenticationStrategy proxyAuthenticationStrategy() const;
    void setProxyAuthenticationStrategy(ProxyAuthenticationStrategy strategy);
    ClientConfiguration& withProxyAuthenticationStrategy(ProxyAuthenticationStrategy strategy);
    std::int32_t proxyCredentialPromptNumRetries() const noexcept;
    void setProxyCredentialPromptNumRetries(std::int32_t count) noexcept;
    ClientConfiguration& withProxyCredentialPromptNumRetries(std::int32_t count) noexcept;
    bool resumeOnRetry() const noexcept;
    void setResumeOnRetry(bool resume) noexcept;
    ClientConfiguration& withResumeOnRetry(bool resume) noexcept;
    RetryStrategy retryStrategy() const;
    void setRetryStrategy(RetryStrategy strategy);
    ClientConfiguration& withRetryStrategy(RetryStrategy strategy);

private:
    friend class HttpClient;
    friend struct detail::ClientConfigurationAccess;
    std::filesystem::path certificateFile_;                    // 1
    bool followRedirects_ = true;                              // 2
    std::int32_t maxRedirects_ = 5;                            // 3
    RetryStrategy retryStrategy_;                              // 4
    ProxyAuthenticationStrategy proxyAuthenticationStrategy_;  // 5
    bool resumeOnRetry_ = false;                               // 6
    std::int64_t connectTimeoutMs_ = 5000;                     // 7  no accessor
    std::int64_t responseTimeoutMs_ = 30000;                   // 8  no accessor
    std::int64_t idleTimeoutMs_ = 30000;                       // 9  no accessor
    std::int32_t idleSpeed_ = 1;                               // 10
    std::int32_t maxThreads_ = 4;                              // 11
    std::int32_t maxRequestsPerThread_ = 2;                    // 12
    std::string proxyUrl_;                                     // 13 no accessor
    std::filesystem::path domainSocketPath_;                   // 14
    bool hstsEnabled_ = true;                                  // 15
    std::int32_t proxyCredentialPromptNumRetries_ = 3;         // 16
    std::int64_t credentialPromptTimeoutMs_ = 120000;          // 17 no accessor
};
}  // namespace foundation::httpclient_core
