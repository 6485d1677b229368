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

/// How a client, or a single request, behaves: redirects, retries, proxy authentication,
/// resumption, limits, certificates. A client holds one; one on a request replaces it altogether
/// for that request, field by field nothing is merged.
///
/// | Property | Default |
/// |---|---|
/// | certificateFile, domainSocketPath | empty: not set |
/// | followRedirects, maxRedirects | true, 5 |
/// | retryStrategy | `defaultRetryStrategy(5, 0, 120 s, defaultIsRetriable())` |
/// | proxyAuthenticationStrategy | `defaultProxyAuthenticationStrategy()` |
/// | proxyCredentialPromptNumRetries | 3 |
/// | resumeOnRetry | false |
/// | idleSpeed | 1 |
/// | maxThreads, maxRequestsPerThread | 4, 2 |
/// | hstsEnabled | true |
///
/// A passive value: no setter checks its argument, so negative counts, 0 threads and empty
/// functions are stored as given. The core itself uses the two strategies, resumeOnRetry and
/// proxyCredentialPromptNumRetries; everything else is for the transport, which may narrow odd
/// values. Five further settings (timeouts and the URL of a proxy) have no accessor here; they are
/// copied with the rest.
///
/// Copying copies the two strategies, so that each configuration has strategies with a state of its
/// own. The getters return copies too: what a strategy changes in itself while it runs does not
/// come back. Each `with...` function does what its `set...` does and returns the configuration
/// itself. A configuration that was moved from may only be assigned to or destroyed.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Built by chaining, and given to a request:
/// @code{.cpp}
/// const ClientConfiguration configuration =
///     ClientConfiguration().withMaxThreads(8).withMaxRedirects(0).withResumeOnRetry(true);
/// assert(configuration.maxThreads() == 8 && configuration.maxRedirects() == 0);
/// HttpRequest request(HttpMethod::GET, "http://example.com/", {});
/// request.setClientConfiguration(configuration);
/// assert(request.getClientConfiguration().resumeOnRetry());
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API ClientConfiguration {
public:
    /// Makes a configuration with the defaults above.
    ClientConfiguration();
    /// Copies or moves every setting, also those without an accessor.
    /// @{
    ClientConfiguration(const ClientConfiguration&);
    ClientConfiguration(ClientConfiguration&&);
    ClientConfiguration& operator=(const ClientConfiguration&);
    ClientConfiguration& operator=(ClientConfiguration&&);
    /// @}
    /// Destroys the configuration with its strategies.
    ~ClientConfiguration();

    /// Returns a copy of the path of the file with the certificates to trust (PEM); empty: those of
    /// the platform.
    std::filesystem::path certificateFile() const;
    /// Returns a copy of the path of the local domain socket to connect to in place of the host of
    /// the URL; empty: none.
    std::filesystem::path domainSocketPath() const;
    /// Returns whether redirects are followed; else the redirecting response is the answer.
    bool followRedirects() const noexcept;
    /// Returns whether HTTP Strict Transport Security is heeded (RFC 6797).
    bool hstsEnabled() const noexcept;
    /// Returns the rate in bytes per second below which a transfer counts as idle.
    std::int32_t idleSpeed() const noexcept;
    /// Returns how many redirects of one exchange are followed.
    std::int32_t maxRedirects() const noexcept;
    /// Returns how many asynchronous requests a thread of the transport works on at once.
    std::int32_t maxRequestsPerThread() const noexcept;
    /// Returns how many threads the transport uses for asynchronous requests.
    std::int32_t maxThreads() const noexcept;
    /// Returns a copy of the proxy authentication strategy, with a state of its own.
    ProxyAuthenticationStrategy proxyAuthenticationStrategy() const;
    /// Returns how often the user is asked for proxy credentials within one handling of a 407. That
    /// of the client counts, never that of a request.
    std::int32_t proxyCredentialPromptNumRetries() const noexcept;
    /// Returns whether a retry asks for the rest of a body that was cut short, provided that the
    /// server sent "Accept-Ranges: bytes"; else the body starts over.
    bool resumeOnRetry() const noexcept;
    /// Returns a copy of the retry strategy, with a state of its own.
    RetryStrategy retryStrategy() const;

    /// Sets the file with the certificates to trust. Whether it exists is for the transport to find
    /// out.
    /// @{
    void setCertificateFile(std::filesystem::path file);
    ClientConfiguration& withCertificateFile(std::filesystem::path file);
    /// @}
    /// Sets the path of the local domain socket.
    /// @{
    void setDomainSocketPath(std::filesystem::path path);
    ClientConfiguration& withDomainSocketPath(std::filesystem::path path);
    /// @}
    /// Sets whether redirects are followed.
    /// @{
    void setFollowRedirects(bool follow) noexcept;
    ClientConfiguration& withFollowRedirects(bool follow) noexcept;
    /// @}
    /// Sets whether HTTP Strict Transport Security is heeded.
    /// @{
    void setHstsEnabled(bool enabled) noexcept;
    ClientConfiguration& withHstsEnabled(bool enabled) noexcept;
    /// @}
    /// Sets the rate in bytes per second below which a transfer counts as idle.
    /// @{
    void setIdleSpeed(std::int32_t speed) noexcept;
    ClientConfiguration& withIdleSpeed(std::int32_t speed) noexcept;
    /// @}
    /// Sets how many redirects of one exchange are followed.
    /// @{
    void setMaxRedirects(std::int32_t count) noexcept;
    ClientConfiguration& withMaxRedirects(std::int32_t count) noexcept;
    /// @}
    /// Sets how many asynchronous requests a thread of the transport works on at once.
    /// @{
    void setMaxRequestsPerThread(std::int32_t count) noexcept;
    ClientConfiguration& withMaxRequestsPerThread(std::int32_t count) noexcept;
    /// @}
    /// Sets how many threads the transport uses for asynchronous requests.
    /// @{
    void setMaxThreads(std::int32_t count) noexcept;
    ClientConfiguration& withMaxThreads(std::int32_t count) noexcept;
    /// @}
    /// Sets the proxy authentication strategy. An empty one fails with std::bad_function_call after
    /// the first attempt of a request.
    /// @{
    void setProxyAuthenticationStrategy(ProxyAuthenticationStrategy strategy);
    ClientConfiguration& withProxyAuthenticationStrategy(ProxyAuthenticationStrategy strategy);
    /// @}
    /// Sets how often the user is asked for proxy credentials; 0 or less: never.
    /// @{
    void setProxyCredentialPromptNumRetries(std::int32_t count) noexcept;
    ClientConfiguration& withProxyCredentialPromptNumRetries(std::int32_t count) noexcept;
    /// @}
    /// Sets whether a retry asks for the rest of a body.
    /// @{
    void setResumeOnRetry(bool resume) noexcept;
    ClientConfiguration& withResumeOnRetry(bool resume) noexcept;
    /// @}
    /// Sets the retry strategy. An empty one fails with std::bad_function_call after the first
    /// attempt of a request.
    /// @{
    void setRetryStrategy(RetryStrategy strategy);
    ClientConfiguration& withRetryStrategy(RetryStrategy strategy);
    /// @}

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
