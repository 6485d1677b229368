#pragma once
/// @file
/// What the examples of the libcurl transport and of README.md find in scope besides: the transport, and
/// a server to reach.
#include "tests/doc_examples/Prelude.h"
#include "tests/support/LoopbackServer.h"

#include <foundation/httpclient_curl/CancellableCredentialPrompt.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>
#include <foundation/httpclient_curl/TerminalCredentialPrompt.h>

namespace foundation::httpclient_core::testing {

/// Answers every request with 200 "OK", Content-Type: text/plain and the body "Hello", at `url()`.
class ExampleServer : public LoopbackServer {
public:
    ExampleServer()
        : LoopbackServer([](const ReceivedRequest& /*request*/, Connection& connection) {
              connection.sendResponse(200, "OK", {{"Content-Type", "text/plain"}}, "Hello");
          }) {}
};

}  // namespace foundation::httpclient_core::testing

using foundation::httpclient_core::testing::ExampleServer;
