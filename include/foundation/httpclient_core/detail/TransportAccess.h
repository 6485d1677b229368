#pragma once
// For authors of transports only: the settings of the two configuration types that have no public accessor.
#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/WebSocketClientConfiguration.h>
namespace foundation::httpclient_core::detail {
struct ClientConfigurationAccess {
    using C = ClientConfiguration;
    static std::int64_t connectTimeoutMs(const C& c) noexcept { return c.connectTimeoutMs_; }
    static void setConnectTimeoutMs(C& c, std::int64_t v) noexcept { c.connectTimeoutMs_ = v; }
    static std::int64_t responseTimeoutMs(const C& c) noexcept { return c.responseTimeoutMs_; }
    static void setResponseTimeoutMs(C& c, std::int64_t v) noexcept { c.responseTimeoutMs_ = v; }
    static std::int64_t idleTimeoutMs(const C& c) noexcept { return c.idleTimeoutMs_; }
    static void setIdleTimeoutMs(C& c, std::int64_t v) noexcept { c.idleTimeoutMs_ = v; }
    static const std::string& proxyUrl(const C& c) noexcept { return c.proxyUrl_; }
    static void setProxyUrl(C& c, std::string v) { c.proxyUrl_ = std::move(v); }
    static std::int64_t credentialPromptTimeoutMs(const C& c) noexcept {
        return c.credentialPromptTimeoutMs_;
    }
    static void setCredentialPromptTimeoutMs(C& c, std::int64_t v) noexcept {
        c.credentialPromptTimeoutMs_ = v;
    }
};
struct WebSocketClientConfigurationAccess {
    using C = WebSocketClientConfiguration;
    static std::int32_t tlsVerifyMode(const C& c) noexcept { return c.tlsVerifyMode_; }
    static void setTlsVerifyMode(C& c, std::int32_t v) noexcept { c.tlsVerifyMode_ = v; }
    static std::int64_t connectTimeoutMs(const C& c) noexcept { return c.connectTimeoutMs_; }
    static void setConnectTimeoutMs(C& c, std::int64_t v) noexcept { c.connectTimeoutMs_ = v; }
    static std::int64_t pingIntervalMs(const C& c) noexcept { return c.pingIntervalMs_; }
    static void setPingIntervalMs(C& c, std::int64_t v) noexcept { c.pingIntervalMs_ = v; }
};
}  // namespace foundation::httpclient_core::detail
