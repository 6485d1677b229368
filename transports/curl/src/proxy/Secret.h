#pragma once
#include <string>
#include <utility>

namespace foundation::httpclient_curl {

/// Overwrites the text and makes it empty. What a string left behind when it grew is out of reach.
void wipe(std::string& text) noexcept;

/// A text that is overwritten when it is replaced or destroyed. Copies are as careful as the original.
class Secret {
public:
    Secret() = default;
    explicit Secret(std::string text) noexcept : text_(std::move(text)) {}
    Secret(const Secret&) = default;
    Secret(Secret&& other) noexcept;
    Secret& operator=(const Secret& other);
    Secret& operator=(Secret&& other) noexcept;
    ~Secret() { wipe(text_); }

    const std::string& text() const noexcept { return text_; }

private:
    std::string text_;
};

}  // namespace foundation::httpclient_curl
