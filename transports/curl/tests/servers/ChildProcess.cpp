#include "ChildProcess.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern "C" char** environ;

namespace foundation::httpclient_curl::testing {
namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> arguments) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("No pipe can be made");
    }
    output_ = ends[0];
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const int error =
        ::posix_spawnp(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (error != 0) {
        ::close(output_);
        throw std::runtime_error("Cannot run " + arguments[0]);
    }
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        signal(SIGTERM);
        // Servers may wait for their clients; those of a test have no claim to that.
        for (int i = 0; i < 300 && isRunning(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        signal(SIGKILL);
        wait();
    }
    ::close(output_);
}

bool ChildProcess::isRunning() {
    if (pid_ > 0 && ::waitpid(pid_, &status_, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ > 0;
}

int ChildProcess::wait() {
    if (pid_ > 0) {
        ::waitpid(pid_, &status_, 0);
        pid_ = -1;
    }
    return status_;
}

void ChildProcess::signal(int number) const {
    if (pid_ > 0) {
        ::kill(pid_, number);
    }
}

std::string ChildProcess::readUntil(std::string_view text) {
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

void runProgram(std::vector<std::string> arguments) {
    const std::string name = arguments.at(0);
    ChildProcess process(std::move(arguments));
    // The end of the output is the end of the program, and no text has a NUL in it.
    const std::string output = process.readUntil(std::string_view("\0", 1));
    if (process.wait() != 0) {
        throw std::runtime_error(name + " failed: " + output);
    }
}

int freePort() {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    const bool isBound =
        ::bind(listener, generic, size) == 0 && ::getsockname(listener, generic, &size) == 0;
    ::close(listener);
    if (!isBound) {
        throw std::runtime_error("No free port");
    }
    return ntohs(address.sin_port);
}

bool waitForPort(int port, ChildProcess& process) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (process.isRunning() && std::chrono::steady_clock::now() < end) {
        const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = loopback(port);
        const bool isUp =
            ::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(connection);
        if (isUp) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

}  // namespace foundation::httpclient_curl::testing
