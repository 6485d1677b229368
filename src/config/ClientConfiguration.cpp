#include <foundation/httpclient_core/ClientConfiguration.h>

#include <foundation/httpclient_core/ProxyAuthenticationStrategy.h>
#include <foundation/httpclient_core/RetryStrategy.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <utility>

namespace foundation::httpclient_core {

ClientConfiguration::ClientConfiguration()
    : retryStrategy_(defaultRetryStrategy(5, 0, std::chrono::seconds(120), defaultIsRetriable())),
      proxyAuthenticationStrategy_(defaultProxyAuthenticationStrategy()) {}

ClientConfiguration::ClientConfiguration(const ClientConfiguration&) = default;
ClientConfiguration::ClientConfiguration(ClientConfiguration&&) = default;
ClientConfiguration& ClientConfiguration::operator=(const ClientConfiguration&) = default;
ClientConfiguration& ClientConfiguration::operator=(ClientConfiguration&&) = default;
ClientConfiguration::~ClientConfiguration() = default;

std::filesystem::path ClientConfiguration::certificateFile() const {
    return certificateFile_;
}

void ClientConfiguration::setCertificateFile(std::filesystem::path file) {
    certificateFile_ = std::move(file);
}

ClientConfiguration& ClientConfiguration::withCertificateFile(std::filesystem::path file) {
    setCertificateFile(std::move(file));
    return *this;
}

std::filesystem::path ClientConfiguration::domainSocketPath() const {
    return domainSocketPath_;
}

void ClientConfiguration::setDomainSocketPath(std::filesystem::path path) {
    domainSocketPath_ = std::move(path);
}

ClientConfiguration& ClientConfiguration::withDomainSocketPath(std::filesystem::path path) {
    setDomainSocketPath(std::move(path));
    return *this;
}

bool ClientConfiguration::followRedirects() const noexcept {
    return followRedirects_;
}

void ClientConfiguration::setFollowRedirects(bool follow) noexcept {
    followRedirects_ = follow;
}

ClientConfiguration& ClientConfiguration::withFollowRedirects(bool follow) noexcept {
    setFollowRedirects(follow);
    return *this;
}

bool ClientConfiguration::hstsEnabled() const noexcept {
    return hstsEnabled_;
}

void ClientConfiguration::setHstsEnabled(bool enabled) noexcept {
    hstsEnabled_ = enabled;
}

ClientConfiguration& ClientConfiguration::withHstsEnabled(bool enabled) noexcept {
    setHstsEnabled(enabled);
    return *this;
}

std::int32_t ClientConfiguration::idleSpeed() const noexcept {
    return idleSpeed_;
}

void ClientConfiguration::setIdleSpeed(std::int32_t speed) noexcept {
    idleSpeed_ = speed;
}

ClientConfiguration& ClientConfiguration::withIdleSpeed(std::int32_t speed) noexcept {
    setIdleSpeed(speed);
    return *this;
}

std::int32_t ClientConfiguration::maxRedirects() const noexcept {
    return maxRedirects_;
}

void ClientConfiguration::setMaxRedirects(std::int32_t count) noexcept {
    maxRedirects_ = count;
}

ClientConfiguration& ClientConfiguration::withMaxRedirects(std::int32_t count) noexcept {
    setMaxRedirects(count);
    return *this;
}

std::int32_t ClientConfiguration::maxRequestsPerThread() const noexcept {
    return maxRequestsPerThread_;
}

void ClientConfiguration::setMaxRequestsPerThread(std::int32_t count) noexcept {
    maxRequestsPerThread_ = count;
}

ClientConfiguration& ClientConfiguration::withMaxRequestsPerThread(std::int32_t count) noexcept {
    setMaxRequestsPerThread(count);
    return *this;
}

std::int32_t ClientConfiguration::maxThreads() const noexcept {
    return maxThreads_;
}

void ClientConfiguration::setMaxThreads(std::int32_t count) noexcept {
    maxThreads_ = count;
}

ClientConfiguration& ClientConfiguration::withMaxThreads(std::int32_t count) noexcept {
    setMaxThreads(count);
    return *this;
}

ProxyAuthenticationStrategy ClientConfiguration::proxyAuthenticationStrategy() const {
    return proxyAuthenticationStrategy_;
}

void ClientConfiguration::setProxyAuthenticationStrategy(ProxyAuthenticationStrategy strategy) {
    proxyAuthenticationStrategy_ = std::move(strategy);
}

ClientConfiguration& ClientConfiguration::withProxyAuthenticationStrategy(
    ProxyAuthenticationStrategy strategy) {
    setProxyAuthenticationStrategy(std::move(strategy));
    return *this;
}

std::int32_t ClientConfiguration::proxyCredentialPromptNumRetries() const noexcept {
    return proxyCredentialPromptNumRetries_;
}

void ClientConfiguration::setProxyCredentialPromptNumRetries(std::int32_t count) noexcept {
    proxyCredentialPromptNumRetries_ = count;
}

ClientConfiguration& ClientConfiguration::withProxyCredentialPromptNumRetries(
    std::int32_t count) noexcept {
    setProxyCredentialPromptNumRetries(count);
    return *this;
}

bool ClientConfiguration::resumeOnRetry() const noexcept {
    return resumeOnRetry_;
}

void ClientConfiguration::setResumeOnRetry(bool resume) noexcept {
    resumeOnRetry_ = resume;
}

ClientConfiguration& ClientConfiguration::withResumeOnRetry(bool resume) noexcept {
    setResumeOnRetry(resume);
    return *this;
}

RetryStrategy ClientConfiguration::retryStrategy() const {
    return retryStrategy_;
}

void ClientConfiguration::setRetryStrategy(RetryStrategy strategy) {
    retryStrategy_ = std::move(strategy);
}

ClientConfiguration& ClientConfiguration::withRetryStrategy(RetryStrategy strategy) {
    setRetryStrategy(std::move(strategy));
    return *this;
}

}  // namespace foundation::httpclient_core
