#include "config/JitterSources.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <random>

namespace foundation::httpclient_core::config {
namespace {

std::uint32_t seedFromRandomDevice() {
    return std::random_device()();
}

std::uint32_t steadyClockNanoseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

constinit std::atomic<std::uint32_t (*)()> seedSource{&seedFromRandomDevice};
constinit std::atomic<std::uint32_t (*)()> clockSource{&steadyClockNanoseconds};

}  // namespace

JitterSources jitterSources() noexcept {
    return {seedSource.load(), clockSource.load()};
}

void setJitterSources(JitterSources sources) noexcept {
    seedSource.store(sources.drawSeed);
    clockSource.store(sources.clockNanoseconds);
}

JitterSources systemJitterSources() noexcept {
    return {&seedFromRandomDevice, &steadyClockNanoseconds};
}

}  // namespace foundation::httpclient_core::config
