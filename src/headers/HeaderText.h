#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
#include <string_view>
#include <utility>

/// The grammar of header values over views, so that a text is cut without being copied first.
namespace foundation::httpclient_core::header_text {

/// `text` without the spaces, line feeds, carriage returns and tabs at both ends. No other character
/// counts as white space.
inline std::string_view trim(std::string_view text) noexcept {
    constexpr std::string_view whitespace = " \n\r\t";
    const std::size_t first = text.find_first_not_of(whitespace);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(whitespace) - first + 1);
}

/// Calls `visit` with every element of `text`, untrimmed, also with empty ones: an empty text has one
/// element, a trailing separator is followed by an empty one.
template <class Visit>
void forEachElement(std::string_view text, std::string_view separators, const Visit& visit) {
    for (;;) {
        const std::size_t cut = text.find_first_of(separators);
        visit(text.substr(0, cut));
        if (cut == std::string_view::npos) {
            return;
        }
        text.remove_prefix(cut + 1);
    }
}

/// Splits one parameter; the behaviour of HttpHeaders::splitParameter.
std::pair<std::string, std::string> splitParameter(std::string_view text,
                                                   std::string_view delimiter,
                                                   bool allowMissingDelimiter);

/// Splits a value with parameters; the behaviour of HttpHeaders::splitParameters.
std::pair<std::string, NameValueCollection> splitParameters(std::string_view text,
                                                            std::string_view separators);

}  // namespace foundation::httpclient_core::header_text
