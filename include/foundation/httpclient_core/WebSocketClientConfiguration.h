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

/// How a WebSocket client built on this library behaves: certificates, headers of the handshake,
/// limits of frames, and when and how it connects again. The library stores the settings and brings
/// the default backoff; the client that uses them is elsewhere.
///
/// | Property | Default |
/// |---|---|
/// | certificateFile | empty: not set |
/// | customHandshakeHeaders | none |
/// | recoverableConnectErrorCodes | 407 alone |
/// | maxReadFrameSize, maxWriteFrameSize | 16384, 4096 bytes |
/// | the four functions | not installed; without a backoff of its own the default one is used |
///
/// To install a function is what turns its feature on: setReconnectEnabled() takes the function
/// that is told of a reconnection, and setConnectErrorRecovery() the one that is asked after a
/// failure to connect. There is no way to take one out again. An *empty* function counts as
/// installed too: its getter returns it, and the feature reads as enabled.
///
/// A passive value: no setter checks its argument, and nothing is logged. Getters return copies.
/// Copying copies the functions with their state. Three further settings have no accessor here;
/// they are copied with the rest. A configuration that was moved from may only be assigned to or
/// destroyed.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Reconnection turned on, and the default backoff:
/// @code{.cpp}
/// WebSocketClientConfiguration configuration;
/// assert(!configuration.reconnectEnabled());
/// configuration.withMaxReadFrameSize(65536).setReconnectEnabled([](HttpResponse) {});
/// assert(configuration.reconnectEnabled() && configuration.maxReadFrameSize() == 65536);
/// const std::chrono::milliseconds before(30);
/// const auto [delay, goOn] = configuration.reconnectBackoffFcn()(before, 2);
/// assert(delay == 2 * before && goOn);
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API WebSocketClientConfiguration {
public:
    /// Asked after a failure to connect that counts as recoverable. Gets the response of the
    /// server, moved in, and a number from the client; true lets it try again.
    using OnRecoverableConnectError = std::function<bool(HttpResponse, std::uint64_t)>;
    /// Told of each reconnection, with the response to the handshake moved in.
    using OnReconnected = std::function<void(HttpResponse)>;
    /// Told that the client gives up reconnecting.
    using OnReconnectAborted = std::function<void()>;
    /// Gives the delay before the attempt of this number, from the delay before the last one, and
    /// whether to go on at all.
    using ReconnectBackoffFcn = std::function<std::pair<std::chrono::milliseconds, bool>(
        std::chrono::milliseconds previousDelay,
        std::uint32_t attempt)>;

    /// Makes a configuration with the defaults above.
    WebSocketClientConfiguration();

    /// Returns a copy of the path of the file with the certificates to trust; empty: those of the
    /// platform.
    std::filesystem::path certificateFile() const;
    /// Returns a copy of the headers that are added to the handshake.
    HttpHeaders customHandshakeHeaders() const;
    /// Returns a copy of the function set by setConnectErrorRecovery().
    /// @throws std::logic_error "OnRecoverableConnectError not set." if none was set.
    OnRecoverableConnectError onRecoverableConnectError() const;
    /// Returns true once setConnectErrorRecovery() was called.
    bool connectErrorRecoveryEnabled() const noexcept;
    /// Returns a copy of the codes with which a failed handshake counts as recoverable.
    std::set<HttpResponseCode> recoverableConnectErrorCodes() const;
    /// Returns a copy of the function set by setReconnectEnabled().
    /// @throws std::logic_error "OnReconnected not set." if none was set.
    OnReconnected onReconnected() const;
    /// Returns true once setReconnectEnabled() was called.
    bool reconnectEnabled() const noexcept;
    /// Returns a copy of the function set by setCustomReconnectBackoffFcn(), and the default
    /// backoff if none was set.
    ///
    /// The default gives 30 ms for the attempts 0 and 1, and after that twice the previous delay,
    /// but at most 20000 ms: 30, 60, 120 ... 15360, 20000, 20000. It always says to go on. Nothing
    /// overflows: every previous delay from 10000 ms on gives 20000 ms. A negative one is doubled
    /// as well.
    ReconnectBackoffFcn reconnectBackoffFcn() const;
    /// Returns a copy of the function set by setOnReconnectAborted().
    /// @throws std::logic_error "OnReconnectAborted not set." if none was set.
    OnReconnectAborted onReconnectAborted() const;
    /// Returns true once setOnReconnectAborted() was called.
    bool hasOnReconnectAborted() const noexcept;
    /// Returns the size in bytes of the largest frame that is read.
    std::uint64_t maxReadFrameSize() const noexcept;
    /// Returns the size in bytes of the largest frame that is written. A WebSocket client reports
    /// more with MaxWriteFrameSizeExceededException.
    std::uint64_t maxWriteFrameSize() const noexcept;

    /// Sets the file with the certificates to trust. `with...`, here and below, does the same and
    /// returns the configuration itself.
    /// @{
    void setCertificateFile(std::filesystem::path file);
    WebSocketClientConfiguration& withCertificateFile(std::filesystem::path file);
    /// @}
    /// Replaces the headers that are added to the handshake.
    /// @{
    void setCustomHandshakeHeaders(HttpHeaders headers);
    WebSocketClientConfiguration& withCustomHandshakeHeaders(HttpHeaders headers);
    /// @}
    /// Installs the function that is asked after a recoverable failure to connect, and so turns
    /// recovery on, also with an empty one.
    /// @{
    void setConnectErrorRecovery(OnRecoverableConnectError callback);
    WebSocketClientConfiguration& withConnectErrorRecovery(OnRecoverableConnectError callback);
    /// @}
    /// Replaces the codes with which a failed handshake counts as recoverable; none: no code does.
    /// @{
    void setRecoverableConnectErrorRespCodes(std::set<HttpResponseCode> codes);
    WebSocketClientConfiguration& withRecoverableConnectErrorCodes(
        std::set<HttpResponseCode> codes);
    /// @}
    /// Installs the function that is told of reconnections, and so turns reconnection on, also with
    /// an empty one.
    /// @{
    void setReconnectEnabled(OnReconnected callback);
    WebSocketClientConfiguration& withReconnectEnabled(OnReconnected callback);
    /// @}
    /// Installs a backoff in place of the default one; an empty one is stored and is not replaced
    /// by the default.
    /// @{
    void setCustomReconnectBackoffFcn(ReconnectBackoffFcn callback);
    WebSocketClientConfiguration& withCustomReconnectBackoffFcn(ReconnectBackoffFcn callback);
    /// @}
    /// Installs the function that is told when the client gives up, also an empty one.
    /// @{
    void setOnReconnectAborted(OnReconnectAborted callback);
    WebSocketClientConfiguration& withOnReconnectAborted(OnReconnectAborted callback);
    /// @}
    /// Sets the size in bytes of the largest frame that is read.
    /// @{
    void setMaxReadFrameSize(std::uint64_t bytes) noexcept;
    WebSocketClientConfiguration& withMaxReadFrameSize(std::uint64_t bytes) noexcept;
    /// @}
    /// Sets the size in bytes of the largest frame that is written.
    /// @{
    void setMaxWriteFrameSize(std::uint64_t bytes) noexcept;
    WebSocketClientConfiguration& withMaxWriteFrameSize(std::uint64_t bytes) noexcept;
    /// @}

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
