#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>
#include <string_view>
#include <thread>

namespace foundation::httpclient_curl::testing {
namespace {

using LookUp = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

LookUp realLookUp() {
    static const auto real = reinterpret_cast<LookUp>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return real;
}

// Names below .test are answered here: "error-NUMBER.test", "slow-MILLISECONDS.test", or the addresses of
// "127-0-0-2.127-0-0-1.test" in turn.
int lookUpTestName(std::string_view name,
                   const char* service,
                   const addrinfo* hints,
                   addrinfo** result) {
    name.remove_suffix(std::string_view(".test").size());
    if (name.starts_with("error-")) {
        errno = EIO;
        return std::atoi(name.data() + std::strlen("error-"));
    }
    if (name.starts_with("slow-")) {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(std::atoi(name.data() + std::strlen("slow-"))));
        return realLookUp()("127.0.0.1", service, hints, result);
    }
    addrinfo** next = result;
    while (!name.empty()) {
        const std::size_t dot = std::min(name.find('.'), name.size());
        std::string address(name.substr(0, dot));
        name.remove_prefix(std::min(dot + 1, name.size()));
        std::replace(address.begin(), address.end(), '-', '.');
        if (const int error = realLookUp()(address.c_str(), service, hints, next); error != 0) {
            return error;
        }
        while (*next != nullptr) {
            next = &(*next)->ai_next;
        }
    }
    return 0;
}

FaultCase atHost(const std::string& host, Wanted wanted, int connectTimeoutMs = 8000) {
    FaultCase fault{.label = printable(host), .wanted = wanted, .right = {{200, "Hello"}}};
    fault.answer = {};
    fault.serve = [host](std::string& url, ClientConfiguration&) -> std::shared_ptr<void> {
        auto server =
            std::make_shared<LoopbackServer>([](const ReceivedRequest&, Connection& peer) {
                peer.sendResponse(200, "OK", {}, "Hello");
            });
        url = "http://" + host + ":" + std::to_string(server->port()) + "/";
        return server;
    };
    fault.arrange = [connectTimeoutMs](HttpRequest&, ClientConfiguration& configuration) {
        Access::setConnectTimeoutMs(configuration, connectTimeoutMs);
    };
    return fault;
}

}  // namespace

Family nameFaults() {
    Family family{"name resolution"};
    for (const int error :
         {EAI_BADFLAGS, EAI_NONAME, EAI_AGAIN, EAI_FAIL, EAI_FAMILY, EAI_SOCKTYPE, EAI_SERVICE,
          EAI_MEMORY, EAI_SYSTEM, EAI_OVERFLOW, -5, -9, -100, 1, 42}) {
        family.cases.push_back(atHost("error-" + std::to_string(error) + ".test", Wanted::Failure));
    }
    family.cases.push_back(atHost("127-0-0-1.test", Wanted::Exact));
    family.cases.push_back(atHost("127-0-0-2.127-0-0-1.test", Wanted::Exact));
    family.cases.push_back(atHost("127-0-0-2.127-0-0-3.127-0-0-4.127-0-0-1.test", Wanted::Exact));
    family.cases.push_back(atHost("127-0-0-2.test", Wanted::Failure));
    family.cases.push_back(atHost("127-0-0-2.127-0-0-3.test", Wanted::Failure));
    family.cases.push_back(atHost("255-255-255-255.test", Wanted::Failure));
    family.cases.push_back(atHost("255-255-255-255.127-0-0-1.test", Wanted::Exact));
    family.cases.push_back(atHost("slow-20.test", Wanted::Exact));
    family.cases.push_back(atHost("slow-500.test", Wanted::Failure, 60));
    family.cases.push_back(atHost("slow-501.test", Wanted::Failure, 1));
    family.cases.push_back(atHost("localhost", Wanted::Exact));
    family.cases.push_back(atHost("LOCALHOST", Wanted::Exact));
    family.cases.push_back(atHost("localhost.", Wanted::Either));
    for (const std::string host : {"",
                                   ".",
                                   "..",
                                   "a..b",
                                   ".a",
                                   "-",
                                   "-a",
                                   "a-",
                                   "_",
                                   "nowhere",
                                   "no.where",
                                   "a b",
                                   "a\tb",
                                   "a\nb",
                                   "a\rb",
                                   "a%00b",
                                   "a%20b",
                                   "%",
                                   "a/b",
                                   "a?b",
                                   "a#b",
                                   "a@b",
                                   "a\\b",
                                   "a|b",
                                   "a^b",
                                   "<a>",
                                   "{a}",
                                   "a`b",
                                   "\"a\"",
                                   "'a'",
                                   "a;b",
                                   "a,b",
                                   "*",
                                   "*.a",
                                   "[",
                                   "]",
                                   "[]",
                                   "[1]",
                                   "256.256.256.256",
                                   "1.2.3",
                                   "1.2.3.4.5",
                                   "0x7f.0.0.1",
                                   "0177.0.0.1",
                                   "2130706433",
                                   "127.1",
                                   "99999999999",
                                   "-1",
                                   "1.2.3.-4",
                                   "1e3",
                                   "xn--",
                                   "xn--\x80",
                                   "\xc3\xa4.invalid",
                                   "\xff\xfe",
                                   "a\x01",
                                   "a\x7f"}) {
        family.cases.push_back(atHost(host, Wanted::Either));
        family.cases.back().label = "host \"" + printable(host) + "\"";
        family.cases.back().right = {};
    }
    for (const std::size_t length :
         std::initializer_list<std::size_t>{63, 64, 255, 256, 1025, 70000}) {
        family.cases.push_back(atHost(std::string(length, 'a'), Wanted::Failure));
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing

// Takes the place of the C library's, also for libcurl. No name is looked up outside of this machine.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node,
                                                                  const char* service,
                                                                  const addrinfo* hints,
                                                                  addrinfo** result) {
    namespace testing = foundation::httpclient_curl::testing;
    const std::string_view name = node == nullptr ? std::string_view() : node;
    if (name.ends_with(".test")) {
        return testing::lookUpTestName(name, service, hints, result);
    }
    addrinfo numeric = hints != nullptr ? *hints : addrinfo{};
    if (node != nullptr && name != "localhost") {
        numeric.ai_flags |= AI_NUMERICHOST;
    }
    return testing::realLookUp()(node, service, &numeric, result);
}
