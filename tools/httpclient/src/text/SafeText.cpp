#include "text/SafeText.h"

#include "text/HexDigits.h"

namespace foundation::httpclient_tool {
namespace {

std::string redactedAuthorityAndPath(std::string_view text) {
    std::string result;
    const std::string_view authority = text.substr(0, text.find_first_of("/?#"));
    // The last "@" counts: a password may hold one itself.
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        result = "...";
        text.remove_prefix(at);
    }
    const std::size_t secret = text.find_first_of("?#");
    result += text.substr(0, secret);
    if (secret != std::string_view::npos) {
        result += text[secret];
        result += "...";
    }
    return result;
}

}  // namespace

std::string withoutControlBytes(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            result += "\\x";
            result += hexDigits(byte);
        } else {
            result += character;
        }
    }
    return result;
}

std::string withoutUrlSecrets(std::string_view text) {
    const std::string_view marker = "://";
    std::string result;
    for (std::size_t at = text.find(marker); at != std::string_view::npos; at = text.find(marker)) {
        result += text.substr(0, at + marker.size());
        text.remove_prefix(at + marker.size());
        std::string_view url = text.substr(0, text.find_first_of(" \t\r\n\"'<>"));
        // In a sentence what stands last belongs to the sentence.
        const std::size_t last = url.find_last_not_of(":,;)");
        url = url.substr(0, last == std::string_view::npos ? 0 : last + 1);
        result += redactedAuthorityAndPath(url);
        text.remove_prefix(url.size());
    }
    result += text;
    return result;
}

std::string safeText(std::string_view text) {
    return withoutControlBytes(withoutUrlSecrets(text));
}

}  // namespace foundation::httpclient_tool
