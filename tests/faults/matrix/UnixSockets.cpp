#include "servers/ScratchFolder.h"
#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = "Hello";

/// A server at a path of its own, with its folder.
struct LocalServer {
    explicit LocalServer(const LoopbackServer::Handler& handler)
        : server(std::make_unique<LoopbackServer>(handler, path())) {}
    std::filesystem::path path() const { return folder / "socket"; }

    ScratchFolder folder;
    std::unique_ptr<LoopbackServer> server;
};

FaultCase local(const std::string& label, Wanted wanted, const LoopbackServer::Handler& handler) {
    FaultCase fault{.label = label, .wanted = wanted, .right = {{200, body}}};
    fault.serve = [handler](std::string& url,
                            ClientConfiguration& configuration) -> std::shared_ptr<void> {
        auto server = std::make_shared<LocalServer>(handler);
        configuration.setDomainSocketPath(server->path());
        url = "http://somewhere.invalid/";
        return server;
    };
    return fault;
}

FaultCase atPath(const std::string& label,
                 const std::function<std::filesystem::path(const ScratchFolder&)>& make) {
    FaultCase fault{.label = label, .wanted = Wanted::Failure};
    fault.serve = [make](std::string& url,
                         ClientConfiguration& configuration) -> std::shared_ptr<void> {
        auto folder = std::make_shared<ScratchFolder>();
        configuration.setDomainSocketPath(make(*folder));
        url = "http://somewhere.invalid/";
        return folder;
    };
    return fault;
}

}  // namespace

Family unixSockets() {
    Family family{"unix sockets"};
    const std::string bytes = headOf(200, lengthField(body.size())) + body;
    for (std::size_t at = 0; at <= bytes.size(); ++at) {
        family.cases.push_back(local("cut at " + std::to_string(at),
                                     at < bytes.size() ? Wanted::Failure : Wanted::Exact,
                                     [bytes, at](const ReceivedRequest&, Connection& peer) {
                                         peer.send(bytes.substr(0, at));
                                         peer.close();
                                     }));
    }
    family.cases.push_back(atPath("gone", [](const ScratchFolder& folder) {
        return std::filesystem::path(folder / "socket");
    }));
    family.cases.push_back(atPath("in no folder", [](const ScratchFolder& folder) {
        return std::filesystem::path(folder / "no/such/socket");
    }));
    family.cases.push_back(atPath("a folder", [](const ScratchFolder& folder) {
        return std::filesystem::path(folder.path());
    }));
    family.cases.push_back(atPath("a file", [](const ScratchFolder& folder) {
        folder.write("socket", "x");
        return std::filesystem::path(folder / "socket");
    }));
    family.cases.push_back(atPath("inside a file", [](const ScratchFolder& folder) {
        folder.write("file", "x");
        return std::filesystem::path(folder / "file/socket");
    }));
    family.cases.push_back(atPath(
        "a device", [](const ScratchFolder&) { return std::filesystem::path("/dev/null"); }));
    family.cases.push_back(atPath("a circle of links", [](const ScratchFolder& folder) {
        std::filesystem::create_symlink(folder / "b", folder / "a");
        std::filesystem::create_symlink(folder / "a", folder / "b");
        return std::filesystem::path(folder / "a");
    }));
    family.cases.push_back(atPath("nobody listens", [](const ScratchFolder& folder) {
        const std::string path = folder / "socket";
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        ::close(socket);
        return std::filesystem::path(path);
    }));
    for (const std::size_t length : std::initializer_list<std::size_t>{107, 108, 109, 200, 5000}) {
        family.cases.push_back(
            atPath("a path of " + std::to_string(length), [length](const ScratchFolder& folder) {
                std::string path = folder / "";
                path.resize(length, 'p');
                return std::filesystem::path(path);
            }));
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
