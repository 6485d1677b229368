#include "entity/ContentRange.h"

#include <charconv>
#include <memory>
#include <system_error>

namespace foundation::httpclient_tool {

std::optional<std::int64_t> parseSize(std::string_view text) {
    std::int64_t value = 0;
    const char* end = std::to_address(text.end());
    const auto [stop, error] = std::from_chars(std::to_address(text.begin()), end, value);
    // "-0" is no number of bytes either.
    return error == std::errc() && stop == end && !text.starts_with('-') ? std::optional(value)
                                                                         : std::nullopt;
}

std::optional<ContentRange> ContentRange::parse(std::string_view text) {
    const std::string_view unit = "bytes ";
    const std::size_t dash = text.find('-');
    const std::size_t slash = text.find('/');
    if (!text.starts_with(unit) || dash == std::string_view::npos ||
        slash == std::string_view::npos || slash < dash) {
        return std::nullopt;
    }
    const auto first = parseSize(text.substr(unit.size(), dash - unit.size()));
    const auto last = parseSize(text.substr(dash + 1, slash - dash - 1));
    const std::string_view totalText = text.substr(slash + 1);
    const auto total = parseSize(totalText);
    if (!first.has_value() || !last.has_value() || *last < *first ||
        (totalText != "*" && (!total.has_value() || *total <= *last))) {
        return std::nullopt;
    }
    return ContentRange{.first = *first, .last = *last, .total = total.value_or(-1)};
}

}  // namespace foundation::httpclient_tool
