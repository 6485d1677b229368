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
    const auto escape = [&result](unsigned char byte) { result += "\\x" + hexDigits(byte); };
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const auto next = static_cast<unsigned char>(at + 1 < text.size() ? text[at + 1] : 0);
        if (byte < 0x20 || byte == 0x7F) {
            escape(byte);
        } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
            escape(byte);
            escape(next);
            ++at;
        } else {
            result += text[at];
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

std::string shownUrl(std::string_view url) {
    const std::string_view slashes = "//";
    const std::size_t marker = url.substr(0, url.find_first_of("?#")).find(slashes);
    const std::size_t start = marker == std::string_view::npos ? 0 : marker + slashes.size();
    return withoutControlBytes(std::string(url.substr(0, start)) +
                               redactedAuthorityAndPath(url.substr(start)));
}

std::string safeText(std::string_view text) {
    return withoutControlBytes(withoutUrlSecrets(text));
}

}  // namespace foundation::httpclient_tool
