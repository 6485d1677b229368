#pragma once
#include <memory>
#include <sstream>

namespace foundation::httpclient_core::benchmarks {

/// The standard library's stream over one string.
struct StringStreamBody {
    static std::unique_ptr<std::iostream> make() { return std::make_unique<std::stringstream>(); }
};

}  // namespace foundation::httpclient_core::benchmarks
