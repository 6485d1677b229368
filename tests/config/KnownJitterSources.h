#pragma once
#include "config/JitterSources.h"

#include <cstdint>

namespace foundation::httpclient_core::testing {

/// Puts known numbers in place of the random device and the clock while it lives.
class KnownJitterSources {
public:
    KnownJitterSources(std::uint32_t seed, std::uint32_t clock) {
        seed_ = seed;
        clock_ = clock;
        draws_ = 0;
        config::setJitterSources({[] {
                                      ++draws_;
                                      return seed_;
                                  },
                                  [] { return clock_; }});
    }
    KnownJitterSources(const KnownJitterSources&) = delete;
    KnownJitterSources& operator=(const KnownJitterSources&) = delete;
    ~KnownJitterSources() { config::setJitterSources(config::systemJitterSources()); }

    void setClock(std::uint32_t clock) { clock_ = clock; }

    /// How many seeds were drawn.
    int draws() const { return draws_; }

private:
    static inline std::uint32_t seed_ = 0;
    static inline std::uint32_t clock_ = 0;
    static inline int draws_ = 0;
};

}  // namespace foundation::httpclient_core::testing
