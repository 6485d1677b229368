#pragma once
#include <chrono>
#include <new>
#include <thread>

namespace foundation::httpclient_curl {

/// Does what a thread of the transport owes to a request, again as long as there is no memory for it: nobody is there
/// to be told. `step` must have no effect when it throws std::bad_alloc, and must throw nothing else.
template <class Step>
auto withMemory(const Step& step) noexcept {
    for (;;) {
        try {
            return step();
        } catch (const std::bad_alloc&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

}  // namespace foundation::httpclient_curl
