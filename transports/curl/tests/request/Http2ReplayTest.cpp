#include "servers/CertificateAuthority.h"
#include "servers/ChildProcess.h"
#include "support/TestClient.h"

#include <csignal>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl::testing {
namespace {

struct Case {
    const char* mode;  ///< How the server ends the second request of its first connection.
    bool isRepeated;
};

class Http2ReplayTest : public BothRoads {
protected:
    static CertificateAuthority& authority() {
        static CertificateAuthority authority;
        return authority;
    }

    struct Result {
        int requests = 0;  ///< How often the server got the second request, with its body.
        std::string error;
    };

    static Result post(const std::string& mode, Road road) {
        const Certificate certificate = authority().issue("DNS:localhost");
        ChildProcess server(
            {"python3", HTTPCLIENT_H2_SERVER, certificate.file, certificate.keyFile, mode});
        const std::string port = server.readUntil("\n");
        if (!port.starts_with("port ")) {
            ADD_FAILURE() << port;
            return {};
        }
        const std::string url =
            "https://localhost:" + std::to_string(std::stoi(port.substr(5))) + "/";
        TestClient client;
        client->setClientConfiguration(
            plainConfiguration().withCertificateFile(authority().file()).withMaxThreads(1));
        const Outcome first = client.get(url, road);
        EXPECT_EQ(first.error, nullptr) << first.message();
        HttpRequest request(HttpMethod::POST, url, {});
        request.setRequestBody("payload");
        Result result;
        result.error = client.run(std::move(request), road).message();
        server.signal(SIGTERM);
        const std::string log = server.readUntil(std::string_view("\0", 1));
        for (std::size_t at = log.find("body"); at != std::string::npos;
             at = log.find("body", at + 1)) {
            ++result.requests;
        }
        return result;
    }
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         Http2ReplayTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(Http2ReplayTest, RepeatsAPostOnlyWhereTheServerDidNothingWithIt) {
    // GOAWAY for a stream above the last one is what nginx sends; see GoAwayTest.
    for (const Case& row : {Case{"refused", true}, Case{"goaway", false}, Case{"close", false},
                            Case{"fin", false}, Case{"reset", false}}) {
        const Result result = post(row.mode, GetParam());
        EXPECT_EQ(result.error.empty(), row.isRepeated) << row.mode << ": " << result.error;
        EXPECT_EQ(result.requests, row.isRepeated ? 2 : 1) << row.mode;
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
