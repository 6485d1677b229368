#pragma once
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace foundation::httpclient_curl {

/// The decimal number that is all of the text; nothing for one that does not fit or has anything beside it.
/// A minus belongs to a signed number, a plus to none.
template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

}  // namespace foundation::httpclient_curl
