#include <foundation/httpclient_core/WebSocketClientConfiguration.h>

#include "support/SaturatingArithmetic.h"

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using Milliseconds = std::chrono::milliseconds;

// 30 ms at first, then twice the delay before, up to 20 s; never gives up.
std::pair<Milliseconds, bool> defaultReconnectBackoff(Milliseconds previousDelay,
                                                      std::uint32_t attempt) {
    constexpr Milliseconds first(30);
    constexpr Milliseconds longest(20000);
    if (attempt <= 1) {
        return {first, true};
    }
    return {std::min(longest, Milliseconds(support::multiplySaturating(previousDelay.count(), 2))),
            true};
}

}  // namespace

WebSocketClientConfiguration::WebSocketClientConfiguration() = default;

std::filesystem::path WebSocketClientConfiguration::certificateFile() const {
    return certificateFile_;
}

void WebSocketClientConfiguration::setCertificateFile(std::filesystem::path file) {
    certificateFile_ = std::move(file);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withCertificateFile(
    std::filesystem::path file) {
    setCertificateFile(std::move(file));
    return *this;
}

HttpHeaders WebSocketClientConfiguration::customHandshakeHeaders() const {
    return customHandshakeHeaders_;
}

void WebSocketClientConfiguration::setCustomHandshakeHeaders(HttpHeaders headers) {
    customHandshakeHeaders_ = std::move(headers);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withCustomHandshakeHeaders(
    HttpHeaders headers) {
    setCustomHandshakeHeaders(std::move(headers));
    return *this;
}

WebSocketClientConfiguration::OnRecoverableConnectError
WebSocketClientConfiguration::onRecoverableConnectError() const {
    if (!onRecoverableConnectError_.has_value()) {
        throw std::logic_error("OnRecoverableConnectError not set.");
    }
    return *onRecoverableConnectError_;
}

void WebSocketClientConfiguration::setConnectErrorRecovery(OnRecoverableConnectError callback) {
    onRecoverableConnectError_ = std::move(callback);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withConnectErrorRecovery(
    OnRecoverableConnectError callback) {
    setConnectErrorRecovery(std::move(callback));
    return *this;
}

bool WebSocketClientConfiguration::connectErrorRecoveryEnabled() const noexcept {
    return onRecoverableConnectError_.has_value();
}

std::set<HttpResponseCode> WebSocketClientConfiguration::recoverableConnectErrorCodes() const {
    return recoverableConnectErrorCodes_;
}

void WebSocketClientConfiguration::setRecoverableConnectErrorRespCodes(
    std::set<HttpResponseCode> codes) {
    recoverableConnectErrorCodes_ = std::move(codes);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withRecoverableConnectErrorCodes(
    std::set<HttpResponseCode> codes) {
    setRecoverableConnectErrorRespCodes(std::move(codes));
    return *this;
}

WebSocketClientConfiguration::OnReconnected WebSocketClientConfiguration::onReconnected() const {
    if (!onReconnected_.has_value()) {
        throw std::logic_error("OnReconnected not set.");
    }
    return *onReconnected_;
}

void WebSocketClientConfiguration::setReconnectEnabled(OnReconnected callback) {
    onReconnected_ = std::move(callback);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withReconnectEnabled(
    OnReconnected callback) {
    setReconnectEnabled(std::move(callback));
    return *this;
}

bool WebSocketClientConfiguration::reconnectEnabled() const noexcept {
    return onReconnected_.has_value();
}

WebSocketClientConfiguration::ReconnectBackoffFcn
WebSocketClientConfiguration::reconnectBackoffFcn() const {
    return reconnectBackoffFcn_.has_value() ? *reconnectBackoffFcn_
                                            : ReconnectBackoffFcn(defaultReconnectBackoff);
}

void WebSocketClientConfiguration::setCustomReconnectBackoffFcn(ReconnectBackoffFcn callback) {
    reconnectBackoffFcn_ = std::move(callback);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withCustomReconnectBackoffFcn(
    ReconnectBackoffFcn callback) {
    setCustomReconnectBackoffFcn(std::move(callback));
    return *this;
}

WebSocketClientConfiguration::OnReconnectAborted WebSocketClientConfiguration::onReconnectAborted()
    const {
    if (!onReconnectAborted_.has_value()) {
        throw std::logic_error("OnReconnectAborted not set.");
    }
    return *onReconnectAborted_;
}

void WebSocketClientConfiguration::setOnReconnectAborted(OnReconnectAborted callback) {
    onReconnectAborted_ = std::move(callback);
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withOnReconnectAborted(
    OnReconnectAborted callback) {
    setOnReconnectAborted(std::move(callback));
    return *this;
}

bool WebSocketClientConfiguration::hasOnReconnectAborted() const noexcept {
    return onReconnectAborted_.has_value();
}

std::uint64_t WebSocketClientConfiguration::maxReadFrameSize() const noexcept {
    return maxReadFrameSize_;
}

void WebSocketClientConfiguration::setMaxReadFrameSize(std::uint64_t bytes) noexcept {
    maxReadFrameSize_ = bytes;
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withMaxReadFrameSize(
    std::uint64_t bytes) noexcept {
    setMaxReadFrameSize(bytes);
    return *this;
}

std::uint64_t WebSocketClientConfiguration::maxWriteFrameSize() const noexcept {
    return maxWriteFrameSize_;
}

void WebSocketClientConfiguration::setMaxWriteFrameSize(std::uint64_t bytes) noexcept {
    maxWriteFrameSize_ = bytes;
}

WebSocketClientConfiguration& WebSocketClientConfiguration::withMaxWriteFrameSize(
    std::uint64_t bytes) noexcept {
    setMaxWriteFrameSize(bytes);
    return *this;
}

}  // namespace foundation::httpclient_core
