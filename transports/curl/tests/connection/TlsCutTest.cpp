#include "support/TestClient.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

/// The script tls_cut_server.py, which ends with this object.
class TlsCutServer {
public:
    TlsCutServer()
        : folder_(std::filesystem::path(::testing::TempDir()) /
                  ("tls_cut." + std::to_string(::getpid()))) {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        const std::string command =
            std::string("exec python3 -B '") + TLS_CUT_SERVER + "' '" + folder_.string() + "'";
        // NOLINTNEXTLINE(cert-env33-c): a fixed command of the tests
        process_ = ::popen(command.c_str(), "w");
        for (int i = 0; i < 1000 && !std::filesystem::exists(folder_ / "port"); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        std::ifstream(folder_ / "port") >> port_;
    }
    TlsCutServer(const TlsCutServer&) = delete;
    TlsCutServer& operator=(const TlsCutServer&) = delete;
    ~TlsCutServer() {
        ::pclose(process_);
        std::filesystem::remove_all(folder_);
    }

    std::string url(const std::string& path) const {
        return "https://127.0.0.1:" + std::to_string(port_) + path;
    }
    std::string certificate() const { return (folder_ / "certificate.pem").string(); }

private:
    std::filesystem::path folder_;
    std::FILE* process_ = nullptr;
    int port_ = 0;
};

TEST(TlsCutTest, BodyThatEndsWithTheConnectionNeedsTheWordOfThePeer) {
    const TlsCutServer server;
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withCertificateFile(server.certificate()));
    for (const Road road : {Road::Synchronous, Road::Asynchronous}) {
        const Outcome clean = client.get(server.url("/clean"), road);
        EXPECT_EQ(clean.message(), "");
        EXPECT_EQ(clean.body(), "Hello");
        const Outcome whole = client.get(server.url("/length"), road);
        EXPECT_EQ(whole.message(), "");
        EXPECT_EQ(whole.body(), "Hello");
        for (const char* path : {"/cut", "/head"}) {
            const Outcome cut = client.get(server.url(path), road);
            EXPECT_TRUE(holds<HttpRequestFailedException>(cut.error)) << path << cut.body();
        }
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
