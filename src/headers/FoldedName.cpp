#include "headers/FoldedName.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace foundation::httpclient_core {
namespace {

char foldedByte(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte;
}

}  // namespace

constinit std::atomic<std::uint64_t> FoldedName::secret_{0};

std::uint64_t FoldedName::chooseSecret() noexcept {
    std::uint64_t fresh = 0;
    if (::getentropy(&fresh, sizeof fresh) != 0) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        fresh = mixed(static_cast<std::uint64_t>(now) ^ 0x9E3779B97F4A7C15U,
                      reinterpret_cast<std::uintptr_t>(&fresh) | 1U);
    }
    fresh |= 1U;
    // Another thread may have been faster; its choice is then in `former`.
    std::uint64_t former = 0;
    return secret_.compare_exchange_strong(former, fresh) ? fresh : former;
}

std::uint64_t FoldedName::withRest(std::uint64_t hash, std::uint64_t secret) const noexcept {
    std::uint64_t zeros = 0;
    for (std::size_t begin = 0; begin < rest_.size(); begin += wordSize) {
        hash = mixed(hash ^ word(rest_, begin, zeros), secret);
    }
    return hash;
}

FoldedName FoldedName::upToNul(std::string_view name) noexcept {
    return FoldedName(name.substr(0, name.find('\0')));
}

std::unique_ptr<char[]> FoldedName::foldedRest() const {
    auto copy = std::make_unique_for_overwrite<char[]>(rest_.size());
    std::transform(rest_.begin(), rest_.end(), copy.get(), foldedByte);
    return copy;
}

bool FoldedName::hasRest(const char* foldedRest) const noexcept {
    return std::equal(rest_.begin(), rest_.end(), foldedRest,
                      [](char own, char other) { return foldedByte(own) == other; });
}

}  // namespace foundation::httpclient_core
