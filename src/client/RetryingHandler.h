#pragma once
#include <foundation/httpclient_core/HttpClient.h>

#include <exception>

namespace foundation::httpclient_core {

/// The callable that ends each asynchronous attempt: it runs the strategies and either sends the next
/// attempt or hands the outcome to the caller's handler.
struct HttpClient::RetryingHandler {
    const HttpClient* client;  ///< Must outlive the request.
    int total;                 ///< Attempts so far, with the one this handler ends.
    int consecutive;           ///< Attempts since the last success, with this one.
    CompletionHandler userHandler;
    unsigned long requestId;
    ClientConfiguration configuration;
    URL initialURL;
    bool freshRequestMade;

    void operator()(HttpRequest&& request, HttpResponse&& response, std::exception_ptr&& error);
};

}  // namespace foundation::httpclient_core
