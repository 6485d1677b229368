#include "examples/InMemoryTransport.h"
#include "tests/contract/TransportContract.h"

#include <istream>
#include <iterator>
#include <sstream>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

const std::string origin = "memory://peer";

// The transport has read the body to its end to count it.
std::string bodyOf(const HttpRequest& request) {
    if (!request.hasRequestBody()) {
        return {};
    }
    std::istream& body = request.getRequestBody();
    body.clear();
    body.seekg(0);
    return {std::istreambuf_iterator<char>(body), {}};
}

examples::Reply replyOf(const Peer& peer, const HttpRequest& request) {
    std::ostringstream method;
    method << request.getHttpMethod();
    const std::string url = request.getURL().toAsciiString();
    PeerAnswer answer =
        peer({method.str(), url.starts_with(origin) ? url.substr(origin.size()) : url,
              request.getHeaders(), bodyOf(request)});
    if (answer.kind == PeerAnswer::Kind::Refuse) {
        throw HttpRequestFailedException("The peer refuses.");
    }
    return {answer.code, std::move(answer.reason), std::move(answer.headers),
            std::move(answer.body)};
}

class InMemorySubject : public TransportSubject {
public:
    explicit InMemorySubject(Peer peer)
        : client_(std::make_unique<examples::InMemoryTransport>(
              [peer = std::move(peer)](const HttpRequest& request) {
                  return replyOf(peer, request);
              })) {}

    HttpClient& client() override { return *client_; }
    void destroyClient() override { client_.reset(); }
    std::string url(const std::string& path) const override { return origin + path; }

private:
    std::unique_ptr<examples::InMemoryTransport> client_;
};

INSTANTIATE_TEST_SUITE_P(InMemory,
                         TransportContract,
                         ::testing::Values(TransportFactory{
                             "Transport",
                             [](Peer peer, const std::shared_ptr<ProxyCredentialPrompt>&)
                                 -> std::unique_ptr<TransportSubject> {
                                 return std::make_unique<InMemorySubject>(std::move(peer));
                             }}),
                         transportName);

}  // namespace
}  // namespace foundation::httpclient_core::testing
