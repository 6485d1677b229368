#include "tests/contract/TransportContract.h"
#include "tests/support/LoopbackServer.h"

#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

void send(const PeerAnswer& answer, Connection& connection) {
    if (answer.kind == PeerAnswer::Kind::Hold) {
        connection.waitForPeerToClose();
    }
    if (answer.kind != PeerAnswer::Kind::Answer) {
        connection.close();
        return;
    }
    HeaderList headers;
    for (const auto& [name, value] : answer.headers) {
        headers.emplace_back(name, value);
    }
    const auto status = static_cast<int>(answer.code);
    if (!answer.cutAfter.has_value()) {
        connection.sendResponse(status, answer.reason, headers, answer.body);
        return;
    }
    headers.emplace_back("Content-Length", std::to_string(answer.body.size()));
    connection.sendResponse(status, answer.reason, headers,
                            answer.body.substr(0, *answer.cutAfter));
    connection.close();
}

class CurlSubject : public TransportSubject {
public:
    CurlSubject(Peer peer, std::shared_ptr<ProxyCredentialPrompt> prompt)
        : server_([peer = std::move(peer)](const ReceivedRequest& request, Connection& connection) {
              PeerRequest seen{request.method, request.target, {}, request.body};
              for (const auto& [name, value] : request.headers) {
                  seen.headers.addHeaderValue(name, value);
              }
              send(peer(seen), connection);
          }),
          client_(std::make_unique<httpclient_curl::CurlHttpClient>(std::move(prompt))) {}

    HttpClient& client() override { return *client_; }
    void destroyClient() override { client_.reset(); }
    std::string url(const std::string& path) const override { return server_.url(path); }

private:
    LoopbackServer server_;
    std::unique_ptr<httpclient_curl::CurlHttpClient> client_;  // Goes before the server.
};

const TransportFactory curl{
    "CurlHttpClient",
    [](Peer peer,
       std::shared_ptr<ProxyCredentialPrompt> prompt) -> std::unique_ptr<TransportSubject> {
        return std::make_unique<CurlSubject>(std::move(peer), std::move(prompt));
    }};

INSTANTIATE_TEST_SUITE_P(Curl, TransportContract, ::testing::Values(curl), transportName);
INSTANTIATE_TEST_SUITE_P(Curl, NetworkTransportContract, ::testing::Values(curl), transportName);

}  // namespace
}  // namespace foundation::httpclient_core::testing
