#pragma once
#include <cstdint>

namespace foundation::httpclient_core::testing {

/// How many random cases a test runs: a tenth under a sanitizer, which makes each many times slower, and which finds out more
/// about the kind of a case than about their number.
constexpr std::uint64_t randomRuns(std::uint64_t usual) noexcept {
#if defined(FOUNDATION_SANITIZED)
    return usual / 10;
#else
    return usual;
#endif
}

}  // namespace foundation::httpclient_core::testing
