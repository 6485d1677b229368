#pragma once
#include <string_view>

/// Rules for text that requests and responses share.
namespace foundation::httpclient_curl {

/// The small letter of a capital from A to Z; every other character as it is.
char lowerCase(char c);
/// Equal but for the letter case of A to Z.
bool sameName(std::string_view a, std::string_view b);
/// Whether the text is a token: one or more of the characters that may form a field name.
bool isToken(std::string_view text);
/// The text without blanks and tabs at its ends.
std::string_view trimmed(std::string_view text);
/// Names that the transport and the core use between themselves; they never travel.
bool isInternalName(std::string_view name);

}  // namespace foundation::httpclient_curl
