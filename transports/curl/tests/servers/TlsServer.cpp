#include "TlsServer.h"

#include <stdexcept>
#include <utility>

namespace foundation::httpclient_curl::testing {
namespace {

std::vector<std::string> commandLine(const Certificate& certificate,
                                     std::vector<std::string> options) {
    std::vector<std::string> arguments{"openssl",     "s_server",       "-accept",
                                       "127.0.0.1:0", "-key",           certificate.keyFile,
                                       "-cert",       certificate.file, "-www"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

}  // namespace

TlsServer::TlsServer(const Certificate& certificate, std::vector<std::string> options)
    : process_(commandLine(certificate, std::move(options))) {
    const std::string marker = "ACCEPT 127.0.0.1:";
    std::string output = process_.readUntil(marker);
    const std::size_t place = output.find(marker);
    if (place == std::string::npos) {
        throw std::runtime_error("openssl does not serve: " + output);
    }
    if (output.find('\n', place) == std::string::npos) {
        output += process_.readUntil("\n");
    }
    port_ = std::stoi(output.substr(place + marker.size()));
}

}  // namespace foundation::httpclient_curl::testing
