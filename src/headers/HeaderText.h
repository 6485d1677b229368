#pragma once
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

/// The grammar of header values over views, so that a text is cut without being copied first.
namespace foundation::httpclient_core::header_text {

constexpr bool isWhitespace(char character) noexcept {
    return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

/// `text` without the spaces, line feeds, carriage returns and tabs at both ends. No other character
/// counts as white space.
constexpr std::string_view trim(std::string_view text) noexcept {
    while (!text.empty() && isWhitespace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isWhitespace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

/// Where one of the separators is first; npos if none is. A single one, the usual case, is found many
/// bytes at a time.
inline std::size_t findSeparator(std::string_view text, std::string_view separators) noexcept {
    return separators.size() == 1 ? text.find(separators.front()) : text.find_first_of(separators);
}

/// How many elements to make room for before a text is split: as many as it holds of the usual size.
/// Counting them takes a quarter of the time of a parse. Bounded, so that a long text does not ask for much
/// memory at once.
constexpr std::size_t expectedElements(std::string_view text) noexcept {
    constexpr std::size_t usualSize = 16;
    constexpr std::size_t most = 32;
    return std::min((text.size() / usualSize) + 1, most);
}

/// Calls `visit` with every element of `text`, untrimmed, also with empty ones: an empty text has one
/// element, a trailing separator is followed by an empty one.
template <class Visit>
void forEachElement(std::string_view text, std::string_view separators, const Visit& visit) {
    for (;;) {
        const std::size_t cut = findSeparator(text, separators);
        visit(text.substr(0, cut));
        if (cut == std::string_view::npos) {
            return;
        }
        text.remove_prefix(cut + 1);
    }
}

/// A name and a value within a text.
struct Parameter {
    std::string_view name;
    std::string_view value;
};

/// Splits one parameter; the behaviour of HttpHeaders::splitParameter.
Parameter splitParameter(std::string_view text,
                         std::string_view delimiter,
                         bool allowMissingDelimiter);

/// Splits a value with parameters; the behaviour of HttpHeaders::splitParameters.
std::pair<std::string, NameValueCollection> splitParameters(std::string_view text,
                                                            std::string_view separators);

/// The behaviour of ContentType::parse.
ContentType parseContentType(std::string_view text);

}  // namespace foundation::httpclient_core::header_text
