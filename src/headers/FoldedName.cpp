#include "headers/FoldedName.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unistd.h>

namespace foundation::httpclient_core {
namespace {

char foldedByte(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte;
}

// The high half of a product depends on every bit of both factors.
std::uint64_t mixed(std::uint64_t a, std::uint64_t b) noexcept {
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

std::uint64_t freshSecret() noexcept {
    std::uint64_t fresh = 0;
    if (::getentropy(&fresh, sizeof fresh) != 0) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        fresh = mixed(static_cast<std::uint64_t>(now) ^ 0x9E3779B97F4A7C15U,
                      reinterpret_cast<std::uintptr_t>(&fresh) | 1U);
    }
    return fresh | 1U;
}

// Of the process, chosen at the first use.
std::uint64_t secret() noexcept {
    static constinit std::atomic<std::uint64_t> chosen{0};
    std::uint64_t secret = chosen.load(std::memory_order_relaxed);
    if (secret == 0) {
        const std::uint64_t fresh = freshSecret();
        // Another thread may have been faster; its choice is then in `secret`.
        secret = chosen.compare_exchange_strong(secret, fresh) ? fresh : secret;
    }
    return secret;
}

}  // namespace

// NOLINTNEXTLINE(misc-no-recursion): once at most
SoughtName SoughtName::upToNul(std::string_view name) noexcept {
    return SoughtName(name.substr(0, name.find('\0')));
}

SizedText FoldedName::foldedRest() const {
    SizedText copy(new char[rest_.size()]);
    std::transform(rest_.begin(), rest_.end(), copy.get(), foldedByte);
    return copy;
}

bool FoldedName::hasRest(const char* foldedRest) const noexcept {
    return std::equal(rest_.begin(), rest_.end(), foldedRest,
                      [](char own, char other) { return foldedByte(own) == other; });
}

std::uint64_t FoldedName::hash() const noexcept {
    return nameHash(words_, rest_);
}

std::uint64_t nameHash(const NameWords& words, std::string_view rest) noexcept {
    const std::uint64_t first = secret();
    const std::uint64_t second = first * 0xD6E8FEB86659FD93U;
    std::uint64_t hash = mixed(words[0] ^ first, words[1] ^ second) ^
                         mixed(words[2] ^ (first + second), words[3] ^ (first - second));
    std::uint64_t zeros = 0;
    for (std::size_t after = 0; after < rest.size(); after += name_words::wordSize) {
        // What is folded already stays as it is.
        hash = mixed(hash ^ name_words::folded(name_words::word(rest, after, zeros)), second);
    }
    return hash;
}

}  // namespace foundation::httpclient_core
