#include "TestClient.h"

#include <array>
#include <filesystem>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" char** environ;

namespace foundation::httpclient_curl::testing {
namespace {

// A program with its standard output and error in a pipe.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> arguments) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        output_ = ends[0];
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
        ::posix_spawn_file_actions_addclose(&actions, ends[0]);
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        EXPECT_EQ(::posix_spawnp(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ),
                  0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            wait();
        }
        ::close(output_);
    }

    int wait() {
        int status = -1;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
        return status;
    }

    // Reads until the text appears; gives what was read. Ends after ten seconds at the latest.
    std::string readUntil(std::string_view text) {
        std::string all;
        std::array<char, 512> chunk{};
        pollfd watched{output_, POLLIN, 0};
        while (all.find(text) == std::string::npos && ::poll(&watched, 1, 10000) > 0) {
            const ssize_t got = ::read(output_, chunk.data(), chunk.size());
            if (got <= 0) {
                break;
            }
            all.append(chunk.data(), static_cast<std::size_t>(got));
        }
        return all;
    }

private:
    pid_t pid_ = -1;
    int output_ = -1;
};

// A TLS server with a certificate that it signed itself, for the name localhost.
class TlsServer {
public:
    explicit TlsServer(std::vector<std::string> options = {})
        : folder_(std::filesystem::temp_directory_path() /
                  ("httpclient_curl_tls." + std::to_string(::getpid()))) {
        std::filesystem::create_directories(folder_);
        ChildProcess maker({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                            "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj",
                            "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout",
                            key(), "-out", certificate()});
        EXPECT_EQ(maker.wait(), 0);
        std::vector<std::string> arguments{"openssl",     "s_server",    "-accept",
                                           "127.0.0.1:0", "-key",        key(),
                                           "-cert",       certificate(), "-www"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        server_ = std::make_unique<ChildProcess>(arguments);
        const std::string marker = "ACCEPT 127.0.0.1:";
        std::string output = server_->readUntil(marker);
        const std::size_t place = output.find(marker);
        if (place == std::string::npos) {
            ADD_FAILURE() << output;
            return;
        }
        if (output.find('\n', place) == std::string::npos) {
            output += server_->readUntil("\n");
        }
        port_ = std::stoi(output.substr(place + marker.size()));
    }
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;
    ~TlsServer() {
        server_.reset();
        std::filesystem::remove_all(folder_);
    }

    std::string certificate() const { return (folder_ / "certificate.pem").string(); }
    std::string url(const std::string& host) const {
        return "https://" + host + ":" + std::to_string(port_) + "/";
    }

private:
    std::string key() const { return (folder_ / "key.pem").string(); }

    std::filesystem::path folder_;
    std::unique_ptr<ChildProcess> server_;
    int port_ = 0;
};

TEST(TlsTest, RefusesAServerThatNobodyVouchesFor) {
    const TlsServer server;
    TestClient client;
    client->setClientConfiguration(plainConfiguration());
    for (const Road road : {Road::Synchronous, Road::Asynchronous}) {
        const Outcome outcome = client.get(server.url("localhost"), road);
        EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error));
        EXPECT_NE(outcome.message().find(": TLS verification: "), std::string::npos)
            << outcome.message();
    }
}

TEST(TlsTest, AcceptsACertificateOfTheCertificateFileForItsNameOnly) {
    const TlsServer server;
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withCertificateFile(server.certificate()));
    for (const Road road : {Road::Synchronous, Road::Asynchronous}) {
        const Outcome right = client.get(server.url("localhost"), road);
        EXPECT_EQ(right.error, nullptr) << right.message();
        EXPECT_EQ(right.code(), HttpResponseCode::OK);
        const Outcome wrong = client.get(server.url("127.0.0.1"), road);
        EXPECT_NE(wrong.message().find(": TLS verification: "), std::string::npos)
            << wrong.message();
    }
}

TEST(TlsTest, MissingCertificateFileIsAFailure) {
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withCertificateFile("/nowhere.pem"));
    LoopbackServer server([](const ReceivedRequest&, Connection&) {});
    const Outcome outcome = client.get("https://127.0.0.1:" + std::to_string(server.port()) + "/");
    EXPECT_NE(outcome.message().find(": TLS verification: "), std::string::npos)
        << outcome.message();
}

TEST(TlsTest, RefusesVersionsBefore12) {
    const TlsServer server({"-tls1_1", "-cipher", "ALL:@SECLEVEL=0"});
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withCertificateFile(server.certificate()));
    const Outcome outcome = client.get(server.url("localhost"));
    EXPECT_TRUE(holds<HttpRequestFailedException>(outcome.error));
    EXPECT_NE(outcome.message().find("(libcurl 35)"), std::string::npos) << outcome.message();
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
