#pragma once
#include <algorithm>
#include <string>
#include <string_view>

namespace foundation::httpclient_tool {

/// Returns the text with the letters A to Z as a to z, whatever the locale is.
inline std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                    : character;
    });
    return lower;
}

}  // namespace foundation::httpclient_tool
