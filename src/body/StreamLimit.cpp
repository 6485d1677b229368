#include "body/StreamLimit.h"

#include <cstdint>
#include <new>

namespace foundation::httpclient_core {

void requireStreamSize(std::uint64_t size) {
    if (size > largestStreamSize) {
        throw std::bad_alloc();
    }
}

}  // namespace foundation::httpclient_core
