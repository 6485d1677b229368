#pragma once
#include <cstdint>

/// Where the random part of a wait comes from; tests put known numbers in its place.
namespace foundation::httpclient_core::config {

struct JitterSources {
    std::uint32_t (*drawSeed)();          ///< A number no one can predict, for one strategy.
    std::uint32_t (*clockNanoseconds)();  ///< The low 32 bits of a monotonic clock.
};

/// The random device and the steady clock, unless setJitterSources put others in their place.
JitterSources jitterSources() noexcept;

/// Replaces both sources for the whole process. Thread-safe, each source for itself.
void setJitterSources(JitterSources sources) noexcept;

/// The sources of a process in which nothing was replaced.
JitterSources systemJitterSources() noexcept;

}  // namespace foundation::httpclient_core::config
