#include "SquidProxy.h"

#include <csignal>
#include <pwd.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

const char* const program = "/usr/sbin/squid";
const std::string helpers = "/usr/lib/squid/";
// squid never runs as the super-user; this is the user that its package brings.
const char* const lesserUser = "proxy";
// "ann:proxy:right one" by MD5, as the Digest helper keeps it.
const char* const digestUser = "ann:proxy:58f544338d179dde408600203d322815\n";
// "right one" by openssl passwd -1 -salt httpcli.
const char* const basicUser = "ann:$1$httpcli$q8yeTokH8SHTdVZWjZaTj/\n";

}  // namespace

SquidProxy::SquidProxy(Scheme scheme, int maxNonceUses, int parentPort) {
    folder_.write("basic", basicUser);
    folder_.write("digest", digestUser);
    if (::geteuid() == 0) {
        const passwd* user = ::getpwnam(lesserUser);
        if (user == nullptr || ::chown(folder_.path().c_str(), user->pw_uid, user->pw_gid) != 0) {
            throw std::runtime_error("squid's folder cannot be given to its user");
        }
    }
    // Between the choice of a port and its use another program may take it.
    constexpr int tries = 5;
    for (int i = 0; i < tries; ++i) {
        port_ = freePort();
        folder_.write("squid.conf", configuration(scheme, maxNonceUses, parentPort));
        process_ = std::make_unique<ChildProcess>(std::vector<std::string>{
            program, "-N", "-n", serviceName(), "-f", folder_ / "squid.conf"});
        if (waitForPort(port_, *process_)) {
            return;
        }
        process_.reset();
        removeSharedMemory();
        if (folder_.read("cache.log").find("Address already in use") == std::string::npos) {
            break;
        }
    }
    throw std::runtime_error("squid does not start: " + folder_.read("cache.log"));
}

SquidProxy::~SquidProxy() {
    // In order it takes seconds to end. Its helpers go when their input ends.
    if (process_ != nullptr) {
        process_->signal(SIGKILL);
        process_.reset();
        removeSharedMemory();
    }
}

std::string SquidProxy::serviceName() const {
    return "test" + std::to_string(::getpid()) + "p" + std::to_string(port_);
}

void SquidProxy::removeSharedMemory() const {
    for (const char* segment : {"metadata", "queues", "readers"}) {
        ::shm_unlink(("/" + serviceName() + "-cf__" + segment + ".shm").c_str());
    }
}

std::string SquidProxy::configuration(Scheme scheme, int maxNonceUses, int parentPort) const {
    std::ostringstream text;
    text << "http_port 127.0.0.1:" << port_ << "\n"
         << "pid_filename none\n"
         << "visible_hostname localhost\n"
         // By which it would know a loop, were it behind another one of the same name.
         << "unique_hostname " << serviceName() << "\n"
         << "cache deny all\n"
         << "cache_mem 8 MB\n"
         << "pinger_enable off\n"
         << "max_filedescriptors 1024\n"
         << "netdb_filename none\n"
         << "shutdown_lifetime 0 seconds\n"
         << "coredump_dir " << folder_.path() << "\n"
         << "cache_log " << folder_ / "cache.log" << "\n"
         << "logformat plain %>Hs %rm %ru %un\n"
         << "access_log stdio:" << folder_ / "access.log" << " plain\n";
    if (::geteuid() == 0) {
        text << "cache_effective_user " << lesserUser << "\n";
    }
    if (scheme != Scheme::Basic) {
        text << "auth_param digest program " << helpers << "digest_file_auth -c "
             << folder_ / "digest" << "\n"
             << "auth_param digest children 2 startup=1\n"
             << "auth_param digest realm proxy\n"
             << "auth_param digest nonce_max_count " << maxNonceUses << "\n";
    }
    if (scheme != Scheme::Digest) {
        text << "auth_param basic program " << helpers << "basic_ncsa_auth " << folder_ / "basic"
             << "\n"
             << "auth_param basic children 2 startup=1\n"
             << "auth_param basic realm proxy\n";
    }
    if (parentPort != 0) {
        text << "cache_peer 127.0.0.1 parent " << parentPort
             << " 0 no-query no-digest default login=ann:right%20one\n"
             << "never_direct allow all\n"
             << "nonhierarchical_direct off\n";
    }
    text << "acl known proxy_auth REQUIRED\n"
         << "http_access allow known\n"
         << "http_access deny all\n";
    return text.str();
}

int SquidProxy::refusals() const {
    std::istringstream log(accessLog());
    int count = 0;
    for (std::string line; std::getline(log, line);) {
        count += line.starts_with("407 ") ? 1 : 0;
    }
    return count;
}

}  // namespace foundation::httpclient_curl::testing
