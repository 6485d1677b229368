#pragma once
#include "tests/support/FlakyFileServer.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace foundation::httpclient_core::testing {

/// A server of one file, in a process of its own, where nothing fails. Made before the test has other threads.
class ServerProcess {
public:
    ServerProcess() {
        std::array<int, 2> toServer{};
        std::array<int, 2> fromServer{};
        if (::pipe(toServer.data()) != 0 || ::pipe(fromServer.data()) != 0) {
            throw std::runtime_error("No pipe can be made");
        }
        child_ = ::fork();
        if (child_ == 0) {
            ::close(toServer[1]);
            serve(toServer[0], fromServer[1]);
        }
        ::close(toServer[0]);
        ::close(fromServer[1]);
        end_ = toServer[1];
        if (::read(fromServer[0], &port_, sizeof port_) != sizeof port_) {
            throw std::runtime_error("No server");
        }
        ::close(fromServer[0]);
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() {
        ::close(end_);
        ::waitpid(child_, nullptr, 0);
    }

    static std::string content() { return FlakyFileServer(options()).content(); }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/file"; }

private:
    static FlakyFileServer::Options options() {
        FlakyFileServer::Options made;
        made.size = 300'000;
        return made;
    }

    [[noreturn]] static void serve(int end, int out) {
        const FlakyFileServer server(options());
        const std::uint16_t port = server.port();
        char ignored = 0;
        if (::write(out, &port, sizeof port) == sizeof port) {
            while (::read(end, &ignored, 1) > 0) {
            }
        }
        ::_exit(0);
    }

    pid_t child_ = -1;
    int end_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace foundation::httpclient_core::testing
