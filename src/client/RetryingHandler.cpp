#include "client/RetryingHandler.h"

#include "client/RetryPreparation.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/RetryStrategy.h>
#include <foundation/httpclient_core/URL.h>

#include <exception>
#include <utility>

namespace foundation::httpclient_core {

void HttpClient::RetryingHandler::operator()(HttpRequest&& request,
                                             HttpResponse&& response,
                                             std::exception_ptr&& error) {
    // Taken out first: should anything below throw, the caller's handler is destroyed with this frame
    // even if the transport keeps this one, and a future that waits for it ends.
    CompletionHandler deliver = std::move(userHandler);
    if (configuration.proxyAuthenticationStrategy()(response, error, total)) {
        client->handleProxyAuthenticationRequired(request, response, error);
    }
    const RetryStrategy retry = configuration.retryStrategy();
    if (isSuccess(response)) {
        consecutive = 0;
    }
    if (!retry(request, response, error, total, consecutive)) {
        // The client is not touched after this: the handler may be what destroys it.
        deliver(std::move(request), std::move(response), std::move(error));
        return;
    }
    prepareForRetry(request, response, configuration.resumeOnRetry(), initialURL, freshRequestMade);
    CompletionHandler next = client->retryCompletionHandler(
        std::move(deliver), requestId, total, consecutive, std::move(configuration),
        std::move(initialURL), freshRequestMade);
    client->sendAsyncRequest(std::move(request), std::move(response), requestId, std::move(next));
}

HttpClient::CompletionHandler HttpClient::retryCompletionHandler(CompletionHandler&& userHandler,
                                                                 unsigned long requestId,
                                                                 int total,
                                                                 int consecutive,
                                                                 ClientConfiguration&& effective,
                                                                 URL&& initialURL,
                                                                 bool freshRequestMade) const {
    return RetryingHandler{this,
                           total + 1,
                           consecutive + 1,
                           std::move(userHandler),
                           requestId,
                           std::move(effective),
                           std::move(initialURL),
                           freshRequestMade};
}

}  // namespace foundation::httpclient_core
