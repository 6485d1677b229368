#include "support/HangingResolver.h"

#include <chrono>
#include <condition_variable>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>
#include <string_view>

namespace foundation::httpclient_curl::testing {
namespace {

constexpr std::string_view hangingHost = "hanging.test";

struct Resolver {
    std::mutex mutex;
    std::condition_variable changed;
    int generation = 0;
    bool hangs = false;
    int lookUps = 0;
};

// Never destroyed: threads of libcurl may be inside when the program ends.
Resolver& resolver() {
    static auto* const instance = new Resolver;
    return *instance;
}

int hang() {
    Resolver& state = resolver();
    std::unique_lock lock(state.mutex);
    const int generation = state.generation;
    ++state.lookUps;
    state.changed.notify_all();
    state.changed.wait(lock, [&] { return !state.hangs || state.generation != generation; });
    return EAI_FAIL;
}

}  // namespace

HangingResolver::HangingResolver() {
    Resolver& state = resolver();
    const std::lock_guard lock(state.mutex);
    state.hangs = true;
    state.lookUps = 0;
    ++state.generation;
}

HangingResolver::~HangingResolver() {
    Resolver& state = resolver();
    const std::lock_guard lock(state.mutex);
    state.hangs = false;
    state.changed.notify_all();
}

std::string HangingResolver::host() const {
    return std::string(hangingHost);
}

bool HangingResolver::awaitLookUp() {
    Resolver& state = resolver();
    std::unique_lock lock(state.mutex);
    return state.changed.wait_for(lock, std::chrono::seconds(10),
                                  [&] { return state.lookUps > 0; });
}

}  // namespace foundation::httpclient_curl::testing

// Takes the place of the C library's, also for libcurl.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node,
                                                                  const char* service,
                                                                  const addrinfo* hints,
                                                                  addrinfo** result) {
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    namespace testing = foundation::httpclient_curl::testing;
    if (node != nullptr && testing::hangingHost == node) {
        return testing::hang();
    }
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(node, service, hints, result);
}
