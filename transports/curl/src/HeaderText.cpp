#include "HeaderText.h"

#include <algorithm>

namespace foundation::httpclient_curl {
namespace {

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isTokenCharacter(char c) {
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    const char letter = lowered(c);
    return (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') ||
           marks.find(c) != std::string_view::npos;
}

}  // namespace

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lowered(x) == lowered(y); });
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool isInternalName(std::string_view name) {
    constexpr std::string_view prefix = "QZ-Internal-";
    return sameName(name.substr(0, prefix.size()), prefix);
}

}  // namespace foundation::httpclient_curl
