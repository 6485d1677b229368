#include "NginxServer.h"

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace

NginxServer::NginxServer(std::string site,
                         const std::vector<std::pair<std::string, std::string>>& files) {
    for (const auto& [name, content] : files) {
        folder_.write("www/" + name, content);
    }
    // Between the choice of a port and its use another program may take it.
    constexpr int tries = 5;
    for (int i = 0; i < tries; ++i) {
        std::string text = site;
        replaceAll(text, "@FOLDER@", folder_.path());
        ports_.clear();
        for (int port = 0; port < 4; ++port) {
            ports_.push_back(freePort());
            replaceAll(text, "@PORT" + std::to_string(port) + "@", std::to_string(ports_.back()));
        }
        const std::string user = ::geteuid() == 0 ? "user root;\n" : "";
        std::string temporary;
        for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
            temporary += std::string(kind) + "_temp_path " + folder_.path() + "/" + kind + ";\n";
        }
        folder_.write("nginx.conf",
                      user + "daemon off;\nworker_processes 1;\npid " + (folder_ / "nginx.pid") +
                          ";\nerror_log " + (folder_ / "error.log") +
                          ";\nevents { worker_connections 512; }\nhttp {\n" + temporary +
                          "access_log " + (folder_ / "access.log") + ";\n" + text + "\n}\n");
        const char* const program =
            ::access("/usr/sbin/nginx", X_OK) == 0 ? "/usr/sbin/nginx" : "nginx";
        process_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{program, "-p", folder_.path(), "-e", folder_ / "error.log",
                                     "-c", folder_ / "nginx.conf"});
        if (waitForPort(port(), *process_)) {
            return;
        }
        process_.reset();
        if (folder_.read("error.log").find("Address already in use") == std::string::npos) {
            break;
        }
    }
    throw std::runtime_error("nginx does not start: " + folder_.read("error.log"));
}

std::string NginxServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port()) + path;
}

void NginxServer::killWorkers() const {
    const std::string master = std::to_string(process_->pid());
    std::ifstream children("/proc/" + master + "/task/" + master + "/children");
    for (pid_t worker = 0; children >> worker;) {
        ::kill(worker, SIGKILL);
    }
}

}  // namespace foundation::httpclient_curl::testing
