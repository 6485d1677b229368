#include "proxy/Secret.h"

#include <cstring>
#include <utility>

namespace foundation::httpclient_curl {

void wipe(std::string& text) noexcept {
    // Short texts live inside the object, so the bytes behind the end are part of the buffer as well.
    text.resize(text.capacity());
    ::explicit_bzero(text.data(), text.size());
    text.clear();
}

Secret::Secret(Secret&& other) noexcept : text_(std::move(other.text_)) {
    wipe(other.text_);
}

Secret& Secret::operator=(const Secret& other) {
    if (this != &other) {
        std::string copy = other.text_;
        wipe(text_);
        text_ = std::move(copy);
    }
    return *this;
}

Secret& Secret::operator=(Secret&& other) noexcept {
    if (this != &other) {
        wipe(text_);
        text_ = std::move(other.text_);
        wipe(other.text_);
    }
    return *this;
}

}  // namespace foundation::httpclient_curl
