#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_core/ProxyCredentialStore.h>
#include <foundation/httpclient_core/ProxyCredentials.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace foundation::httpclient_core {
namespace {

// Set by the transport on a 407 from a proxy that it knows.
const char* const proxyInfoHeader = "QZ-Internal-Proxy-Info";

bool isRefusedByKnownProxy(const HttpResponse& response) {
    return response.getResponseCode() == HttpResponseCode::ProxyAuthenticationRequired &&
           response.hasHeader(proxyInfoHeader);
}

}  // namespace

void HttpClient::handleProxyAuthenticationRequired(HttpRequest& request,
                                                   HttpResponse& response,
                                                   std::exception_ptr& error) const {
    proxyCredentialProvider_ = true;
    try {
        const std::shared_ptr<ProxyCredentialPrompt> prompt =
            proxyCredentialPrompt(response, error);
        const std::shared_ptr<ProxyCredentialStore> store = proxyCredentialStore();
        sendRequest(request, response);
        error = nullptr;
        if (prompt == nullptr) {
            return;
        }
        bool previousAttemptFailed = false;
        for (std::int32_t remaining = promptRetries_;
             remaining >= 1 && isRefusedByKnownProxy(response); --remaining) {
            const std::string proxyInfo = response.getHeaderValue(proxyInfoHeader);
            const std::optional<ProxyCredentials> answer =
                prompt->promptForCredentials(previousAttemptFailed, remaining, promptTimeoutMs_);
            if (!answer.has_value()) {
                if (store != nullptr) {
                    store->promptDeclined();
                }
                return;
            }
            if (store != nullptr) {
                store->storeCredentials(proxyInfo, answer->username() + ":" + answer->password());
            }
            sendRequest(request, response);
            previousAttemptFailed = true;
        }
    } catch (...) {
        error = std::current_exception();
    }
}

}  // namespace foundation::httpclient_core
