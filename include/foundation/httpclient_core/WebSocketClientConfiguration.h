#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <utility>
namespace foundation::httpclient_core {
namespace detail {
struct WebSocketClientConfigurationAccess;
}
class FOUNDATION_HTTPCLIENT_CORE_API WebSocketClientConfiguration {
public:
    using OnRecoverableConnectError = std::function<bool(HttpResponse, std::uint64_t)>;
    using OnReconnected = std::function<void(HttpResponse)>;
    using OnReconnectAborted = std::function<void()>;
    using ReconnectBackoffFcn = std::function<std::pair<std::chrono::milliseconds, bool>(
        std::chrono::milliseconds previousDelay,
        std::uint32_t attempt)>;

    WebSocketClientConfiguration();
    std::filesystem::path certificateFile() const;
    void setCertificateFile(std::filesystem::path file);
    WebSocketClientConfiguration& withCertificateFile(std::filesystem::path file);
    HttpHeaders customHandshakeHeaders() const;
    void setCustomHandshakeHeaders(HttpHeaders headers);
    WebSocketClientConfiguration& withCustomHandshakeHeaders(HttpHeaders headers);
    OnRecoverableConnectError onRecoverableConnectError() const;
    void setConnectErrorRecovery(OnRecoverableConnectError callback);
    WebSocketClientConfiguration& withConnectErrorRecovery(OnRecoverableConnectError callback);
    bool connectErrorRecoveryEnabled() const noexcept;
    std::set<HttpResponseCode> recoverableConnectErrorCodes() const;
    void setRecoverableConnectErrorRespCodes(std::set<HttpResponseCode> codes);
    WebSocketClientConfiguration& withRecoverableConnectErrorCodes(
        std::set<HttpResponseCode> codes);
    OnReconnected onReconnected() const;
    void setReconnectEnabled(OnReconnected callback);
    WebSocketClientConfiguration& withReconnectEnabled(OnReconnected callback);
    bool reconnectEnabled() const noexcept;
    ReconnectBackoffFcn reconnectBackoffFcn() const;
    void setCustomReconnectBackoffFcn(ReconnectBackoffFcn callback);
    WebSocketClientConfiguration& withCustomReconnectBackoffFcn(ReconnectBackoffFcn callback);
    OnReconnectAborted onReconnectAborted() const;
    void setOnReconnectAborted(OnReconnectAborted callback);
    WebSocketClientConfiguration& withOnReconnectAborted(OnReconnectAborted callback);
    bool hasOnReconnectAborted() const noexcept;
    std::uint64_t maxReadFrameSize() const noexcept;
    void setMaxReadFrameSize(std::uint64_t bytes) noexcept;
    WebSocketClientConfiguration& withMaxReadFrameSize(std::uint64_t bytes) noexcept;
    std::uint64_t maxWriteFrameSize() const noexcept;
    void setMaxWriteFrameSize(std::uint64_t bytes) noexcept;
    WebSocketClientConfiguration& withMaxWriteFrameSize(std::uint64_t bytes) noexcept;

private:
    friend struct detail::WebSocketClientConfigurationAccess;
    std::filesystem::path certificateFile_;
    std::int32_t tlsVerifyMode_ = 1;  // no accessor
    HttpHeaders customHandshakeHeaders_;
    std::int64_t connectTimeoutMs_ = 5000;  // no accessor
    std::int64_t pingIntervalMs_ = 0;       // no accessor
    std::optional<OnRecoverableConnectError> onRecoverableConnectError_;
    std::set<HttpResponseCode> recoverableConnectErrorCodes_{
        HttpResponseCode::ProxyAuthenticationRequired};
    std::optional<OnReconnected> onReconnected_;
    std::optional<ReconnectBackoffFcn> reconnectBackoffFcn_;
    std::optional<OnReconnectAborted> onReconnectAborted_;
    std::uint64_t maxReadFrameSize_ = 16384;
    std::uint64_t maxWriteFrameSize_ = 4096;
};
}  // namespace foundation::httpclient_core
