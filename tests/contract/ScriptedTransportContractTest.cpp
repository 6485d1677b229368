#include "tests/client/ScriptedTransport.h"
#include "tests/contract/TransportContract.h"

#include <sstream>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

const std::string origin = "script://peer";

class ScriptedSubject : public TransportSubject {
public:
    explicit ScriptedSubject(Peer peer) : client_(std::make_unique<ScriptedTransport>()) {
        client_->answerWith([peer = std::move(peer)](const Seen& seen) {
            std::ostringstream method;
            method << seen.method;
            const std::string path =
                seen.url.starts_with(origin) ? seen.url.substr(origin.size()) : seen.url;
            PeerAnswer answer = peer({method.str(), path, seen.headers, seen.body.value_or("")});
            if (answer.kind == PeerAnswer::Kind::Refuse) {
                return failure("The peer refuses.");
            }
            return Attempt{.code = answer.code,
                           .reason = std::move(answer.reason),
                           .headers = std::move(answer.headers),
                           .body = std::move(answer.body)};
        });
        client_->startWorkers(2);
    }

    HttpClient& client() override { return *client_; }
    void destroyClient() override { client_.reset(); }
    std::string url(const std::string& path) const override { return origin + path; }

private:
    std::unique_ptr<ScriptedTransport> client_;
};

INSTANTIATE_TEST_SUITE_P(Scripted,
                         TransportContract,
                         ::testing::Values(TransportFactory{
                             "Transport",
                             [](Peer peer, const std::shared_ptr<ProxyCredentialPrompt>&)
                                 -> std::unique_ptr<TransportSubject> {
                                 return std::make_unique<ScriptedSubject>(std::move(peer));
                             }}),
                         transportName);

}  // namespace
}  // namespace foundation::httpclient_core::testing
