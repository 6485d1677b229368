#pragma once
#include <array>
#include <cstddef>
#include <string>

namespace foundation::httpclient_core {

/// Returns the text that `write` makes with one allocation, or none where it fits into the string itself.
///
/// `write` is given the place to write to and returns the end of its text. It may write up to
/// `Slack` characters behind it. The text is no longer than `bound`; a bound of at most
/// `OnStack` need not be close, since the text is made on the stack first.
template <std::size_t OnStack, std::size_t Slack, class Write>
std::string builtText(std::size_t bound, const Write& write) {
    if (bound <= OnStack) {
        std::array<char, OnStack + Slack> buffer;
        const char* const end = write(buffer.data());
        return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
    }
    std::string text(bound + Slack, '\0');
    const char* const end = write(text.data());
    text.resize(static_cast<std::size_t>(end - text.data()));
    return text;
}

}  // namespace foundation::httpclient_core
