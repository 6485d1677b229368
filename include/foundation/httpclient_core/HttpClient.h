#pragma once
#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/CompletionHandler.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_core/ProxyCredentialStore.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API HttpClient {
public:
    using CompletionHandler = foundation::httpclient_core::CompletionHandler;
    HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;
    virtual ~HttpClient();                          // slot 1
    virtual std::string transportName() const = 0;  // slot 2, never called
    virtual void closeIdleConnections() = 0;        // slot 3, never called
    virtual std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const = 0;  // slot 4
    virtual std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse& response,
        const std::exception_ptr& error) const = 0;                                    // slot 5
    virtual void sendRequest(HttpRequest& request, HttpResponse& response) const = 0;  // slot 6
    virtual HttpResponse makeRequest(HttpRequest request);                             // slot 7
    virtual void sendAsyncRequest(HttpRequest request,
                                  HttpResponse response,
                                  unsigned long requestId,
                                  CompletionHandler handler) const = 0;  // slot 8
    virtual std::pair<std::future<HttpResponse>, unsigned long> makeAsyncRequest(
        HttpRequest request);  // slot 9
    virtual unsigned long makeAsyncRequest(HttpRequest request,
                                           CompletionHandler handler);  // slot 10
    virtual bool cancelRequest(unsigned long requestId) = 0;            // slot 11, never called
    virtual void cancelAllRequests() = 0;                               // slot 12, never called
    ClientConfiguration getClientConfiguration() const;
    void setClientConfiguration(ClientConfiguration configuration);

protected:
    virtual void configurationChanged(const ClientConfiguration& newConfiguration);  // slot 13
    virtual bool useProxyCredentialProvider() const;                                 // slot 14
private:
    struct RetryingHandler;

    ClientConfiguration effectiveConfiguration(const HttpRequest& request) const;
    void rememberPromptSettings();
    void handleProxyAuthenticationRequired(HttpRequest& request,
                                           HttpResponse& response,
                                           std::exception_ptr& error) const;
    CompletionHandler retryCompletionHandler(std::shared_ptr<CompletionHandler> userHandler,
                                             unsigned long requestId,
                                             int total,
                                             int consecutive,
                                             ClientConfiguration effective,
                                             URL initialURL,
                                             bool freshRequestMade) const;

    mutable std::mutex configurationMutex_;
    ClientConfiguration configuration_;
    std::atomic<std::uint32_t> nextRequestId_{0};
    mutable std::atomic<bool> proxyCredentialProvider_{false};
    // Copies of two settings, for the proxy handling, which must not take the mutex: it may run while a
    // transport holds locks of its own.
    std::atomic<std::int32_t> promptRetries_;
    std::atomic<std::int64_t> promptTimeoutMs_;
};
}  // namespace foundation::httpclient_core
