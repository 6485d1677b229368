#include "engine/HandlePool.h"

#include <string_view>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t maxIdle = 16;

bool wasPlainHttp1(CURL* handle) {
    const auto version = info<long>(handle, CURLINFO_HTTP_VERSION);
    const auto* scheme = info<const char*>(handle, CURLINFO_SCHEME);
    return (version == CURL_HTTP_VERSION_1_0 || version == CURL_HTTP_VERSION_1_1) &&
           scheme != nullptr && std::string_view(scheme) == "HTTP";
}

}  // namespace

EasyHandle HandlePool::take() {
    if (idle_.empty()) {
        return EasyHandle(requireMemory(curl_easy_init()));
    }
    EasyHandle handle = std::move(idle_.back());
    idle_.pop_back();
    return handle;
}

void HandlePool::giveBack(EasyHandle handle, CURLcode result) noexcept {
    if (result != CURLE_OK || idle_.size() >= maxIdle || !wasPlainHttp1(handle.get())) {
        return;
    }
    curl_easy_reset(handle.get());
    // The only option that a reset leaves.
    curl_easy_setopt(handle.get(), CURLOPT_SHARE, nullptr);
    try {
        idle_.push_back(std::move(handle));
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): then it is freed
    }
}

}  // namespace foundation::httpclient_curl
