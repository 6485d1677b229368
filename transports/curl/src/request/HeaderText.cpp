#include "request/HeaderText.h"

#include <algorithm>
#include <array>

namespace foundation::httpclient_curl {
namespace {

constexpr std::array<bool, 256> tokenCharacters = [] {
    std::array<bool, 256> table{};
    for (const char c : std::string_view("!#$%&'*+-.^_`|~0123456789"
                                         "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
        table[static_cast<unsigned char>(c)] = true;
    }
    return table;
}();

bool isTokenCharacter(char c) {
    return tokenCharacters[static_cast<unsigned char>(c)];
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

}  // namespace

char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lowerCase(x) == lowerCase(y); });
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool isInternalName(std::string_view name) {
    constexpr std::string_view prefix = "QZ-Internal-";
    return sameName(name.substr(0, prefix.size()), prefix);
}

}  // namespace foundation::httpclient_curl
