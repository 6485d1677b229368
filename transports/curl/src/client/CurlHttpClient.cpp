#include <foundation/httpclient_curl/CurlHttpClient.h>

#include "client/GuardedHandler.h"
#include "engine/Engine.h"
#include "proxy/SharedPrompt.h"

#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <stdexcept>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

void initializeLibrary() {
    static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (result != CURLE_OK) {
        throw std::runtime_error(std::string("libcurl cannot be initialized: ") +
                                 curl_easy_strerror(result));
    }
}

CurlClientOptions optionsWith(std::shared_ptr<core::ProxyCredentialPrompt> prompt) {
    CurlClientOptions options;
    options.credentialPrompt = std::move(prompt);
    return options;
}

/// A synchronous request under way, from its first attempt to its last.
class SyncCall {
public:
    explicit SyncCall(std::shared_ptr<Engine> engine)
        : engine_(std::move(engine)), record_(engine_->beginSync()), scope_(*engine_, record_) {}
    SyncCall(const SyncCall&) = delete;
    SyncCall& operator=(const SyncCall&) = delete;
    ~SyncCall() { engine_->endSync(record_); }

    /// The response is about to reach the caller.
    void complete(core::HttpResponse& response) const {
        const std::optional<HeldAnswer>& held = record_->history.held;
        if (held.has_value()) {
            held->deliverTo(response);
        }
    }
    void wait(std::chrono::milliseconds delay) { engine_->waitFor(*record_, delay); }

private:
    std::shared_ptr<Engine> engine_;
    std::shared_ptr<RequestRecord> record_;
    RequestScope scope_;
};

}  // namespace

CurlHttpClient::CurlHttpClient() : CurlHttpClient(CurlClientOptions()) {}

CurlHttpClient::CurlHttpClient(std::shared_ptr<core::ProxyCredentialPrompt> prompt)
    : CurlHttpClient(optionsWith(std::move(prompt))) {}

CurlHttpClient::CurlHttpClient(CurlClientOptions options) {
    initializeLibrary();
    engine_ = std::make_shared<Engine>(std::move(options));
    const auto& prompt = engine_->options().credentialPrompt;
    if (prompt != nullptr) {
        prompt_ = std::make_shared<SharedPrompt>(prompt, engine_->credentials());
    }
}

CurlHttpClient::~CurlHttpClient() {
    engine_->requireOutside();
    if (prompt_ != nullptr) {
        prompt_->close();
    }
    engine_->shutdown();
}

std::string CurlHttpClient::transportName() const {
    return std::string("libcurl/") + curl_version_info(CURLVERSION_NOW)->version;
}

void CurlHttpClient::closeIdleConnections() {
    engine_->closeIdleConnections();
}

std::shared_ptr<core::ProxyCredentialStore> CurlHttpClient::proxyCredentialStore() const {
    return engine_->credentials();
}

std::shared_ptr<core::ProxyCredentialPrompt> CurlHttpClient::proxyCredentialPrompt(
    const core::HttpResponse& response,
    const std::exception_ptr& /*error*/) const {
    if (prompt_ == nullptr) {
        return nullptr;
    }
    const RequestScope* scope = RequestScope::current(*engine_);
    return std::make_shared<RequestPrompt>(prompt_, response,
                                           scope != nullptr ? scope->record() : nullptr);
}

TransferSettings CurlHttpClient::settingsFor(const core::HttpRequest& request) const {
    TransferSettings settings(request.hasClientConfiguration() ? request.getClientConfiguration()
                                                               : getClientConfiguration());
    settings.useStoredProxyCredentials = useProxyCredentialProvider();
    return settings;
}

void CurlHttpClient::sendRequest(core::HttpRequest& request, core::HttpResponse& response) const {
    // Held here: the call may be inside a handler that outlives the client.
    const std::shared_ptr<Engine> engine = engine_;
    engine->send(request, response, settingsFor(request));
}

core::HttpResponse CurlHttpClient::makeRequest(core::HttpRequest request) {
    SyncCall call(engine_);
    const core::detail::BackoffScope backoff([&call](std::chrono::milliseconds delay) {
        call.wait(delay);
        return true;
    });
    core::HttpResponse response = HttpClient::makeRequest(std::move(request));
    call.complete(response);
    return response;
}

void CurlHttpClient::sendAsyncRequest(core::HttpRequest request,
                                      core::HttpResponse response,
                                      unsigned long requestId,
                                      core::CompletionHandler handler) const {
    TransferSettings settings = settingsFor(request);
    // Held here: the handler may destroy the client before this returns.
    const std::shared_ptr<Engine> engine = engine_;
    engine->sendAsync(std::move(request), std::move(response), requestId, std::move(handler),
                      std::move(settings));
}

unsigned long CurlHttpClient::makeAsyncRequest(core::HttpRequest request,
                                               core::CompletionHandler handler) {
    const auto delivery = std::make_shared<Delivery>(engine_, request);
    const auto record = std::make_shared<RequestRecord>();
    record->history.isStarting = true;
    record->history.isAttended = true;
    const RequestScope scope(*engine_, record);
    const unsigned long id = HttpClient::makeAsyncRequest(
        std::move(request), core::CompletionHandler(GuardedHandler(std::move(handler), delivery)));
    delivery->requestStarted();
    return id;
}

bool CurlHttpClient::cancelRequest(unsigned long requestId) {
    // Held here: a handler of the request may destroy the client.
    const std::shared_ptr<SharedPrompt> prompt = prompt_;
    const bool wasInFlight = engine_->cancel(requestId);
    if (prompt != nullptr) {
        prompt->cancellationsChanged();
    }
    return wasInFlight;
}

void CurlHttpClient::cancelAllRequests() {
    const std::shared_ptr<SharedPrompt> prompt = prompt_;
    engine_->cancelAll();
    if (prompt != nullptr) {
        prompt->cancellationsChanged();
    }
}

void CurlHttpClient::configurationChanged(const core::ClientConfiguration& newConfiguration) {
    engine_->setLimits(newConfiguration.maxThreads(), newConfiguration.maxRequestsPerThread());
}

}  // namespace foundation::httpclient_curl
