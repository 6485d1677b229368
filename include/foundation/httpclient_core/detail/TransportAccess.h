#pragma once
/// @file
/// For authors of transports only: the settings of the two configuration types that have no public
/// accessor. Nothing is validated; all are part of the value and are copied with it.
#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/WebSocketClientConfiguration.h>

#include <cstdint>
#include <string>
#include <utility>
namespace foundation::httpclient_core::detail {

/// Reads and sets the settings of a ClientConfiguration that have no accessor of their own.
///
/// @par Thread safety
/// thread-compatible, as the configuration is
///
/// @par Example
/// A setting that is copied with its configuration:
/// @code{.cpp}
/// using Access = detail::ClientConfigurationAccess;
/// ClientConfiguration configuration;
/// assert(Access::connectTimeoutMs(configuration) == 5000);
/// Access::setProxyUrl(configuration, "http://proxy.example:3128");
/// const ClientConfiguration copy = configuration;
/// assert(Access::proxyUrl(copy) == "http://proxy.example:3128");
/// @endcode
struct ClientConfigurationAccess {
    /// The type whose settings these are.
    using C = ClientConfiguration;

    /// Milliseconds until a connection must stand; 5000 by default.
    /// @{
    static std::int64_t connectTimeoutMs(const C& c) noexcept { return c.connectTimeoutMs_; }
    static void setConnectTimeoutMs(C& c, std::int64_t v) noexcept { c.connectTimeoutMs_ = v; }
    /// @}
    /// Milliseconds of silence before the status line that are put up with; 30000 by default.
    /// @{
    static std::int64_t responseTimeoutMs(const C& c) noexcept { return c.responseTimeoutMs_; }
    static void setResponseTimeoutMs(C& c, std::int64_t v) noexcept { c.responseTimeoutMs_ = v; }
    /// @}
    /// Milliseconds within which ClientConfiguration::idleSpeed() must be reached; 30000 by
    /// default.
    /// @{
    static std::int64_t idleTimeoutMs(const C& c) noexcept { return c.idleTimeoutMs_; }
    static void setIdleTimeoutMs(C& c, std::int64_t v) noexcept { c.idleTimeoutMs_ = v; }
    /// @}
    /// The URL of the proxy to use; empty, the default, if none was given. The reference is valid
    /// until the configuration changes.
    /// @{
    static const std::string& proxyUrl(const C& c) noexcept { return c.proxyUrl_; }
    static void setProxyUrl(C& c, std::string v) { c.proxyUrl_ = std::move(v); }
    /// @}
    /// Milliseconds that a prompt for proxy credentials may take, handed to the prompt as its third
    /// argument; 120000 by default. That of the client counts, never that of a request.
    /// @{
    static std::int64_t credentialPromptTimeoutMs(const C& c) noexcept {
        return c.credentialPromptTimeoutMs_;
    }
    static void setCredentialPromptTimeoutMs(C& c, std::int64_t v) noexcept {
        c.credentialPromptTimeoutMs_ = v;
    }
    /// @}
};

/// Reads and sets the settings of a WebSocketClientConfiguration that have no accessor of their
/// own.
///
/// @par Thread safety
/// thread-compatible, as the configuration is
struct WebSocketClientConfigurationAccess {
    /// The type whose settings these are.
    using C = WebSocketClientConfiguration;

    /// Whether the certificate of the server is verified: 1, the default, for yes.
    /// @{
    static std::int32_t tlsVerifyMode(const C& c) noexcept { return c.tlsVerifyMode_; }
    static void setTlsVerifyMode(C& c, std::int32_t v) noexcept { c.tlsVerifyMode_ = v; }
    /// @}
    /// Milliseconds until a connection must stand; 5000 by default.
    /// @{
    static std::int64_t connectTimeoutMs(const C& c) noexcept { return c.connectTimeoutMs_; }
    static void setConnectTimeoutMs(C& c, std::int64_t v) noexcept { c.connectTimeoutMs_ = v; }
    /// @}
    /// Milliseconds between pings; 0, the default, for none.
    /// @{
    static std::int64_t pingIntervalMs(const C& c) noexcept { return c.pingIntervalMs_; }
    static void setPingIntervalMs(C& c, std::int64_t v) noexcept { c.pingIntervalMs_ = v; }
    /// @}
};

}  // namespace foundation::httpclient_core::detail
