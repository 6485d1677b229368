#include <foundation/httpclient_core/SetCookie.h>

#include "headers/EntryAccess.h"
#include "headers/HeaderText.h"

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <algorithm>
#include <locale>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::httpclient_core {
namespace {

constexpr std::string_view setCookieName = "Set-Cookie";

[[noreturn]] void throwMalformed(const std::string& text) {
    throw std::invalid_argument(
        "Malformed Set-Cookie header: missing 'name=value' before attributes: <" + text + ">");
}

// Compares by the upper-case forms of the global locale, apart from the look-up rule of collections.
bool isSetCookie(const std::string& name, const std::ctype<char>& characters) {
    return std::equal(
        name.begin(), name.end(), setCookieName.begin(), setCookieName.end(),
        [&characters](char a, char b) { return characters.toupper(a) == characters.toupper(b); });
}

}  // namespace

SetCookie SetCookie::parse(const std::string& text) {
    SetCookie cookie;
    bool firstPending = true;
    EntryAccess::reserve(cookie.attributes, header_text::expectedElements(text));
    header_text::forEachElement(text, ";", [&](std::string_view element) {
        const std::string_view trimmed = header_text::trim(element);
        if (trimmed.empty()) {
            return;
        }
        if (!firstPending) {
            const header_text::Parameter attribute =
                header_text::splitParameter(trimmed, "=", true);
            EntryAccess::add(cookie.attributes, attribute.name, attribute.value);
            return;
        }
        firstPending = false;
        try {
            const header_text::Parameter pair = header_text::splitParameter(trimmed, "=", false);
            cookie.name = pair.name;
            cookie.value = pair.value;
        } catch (const std::runtime_error&) {
            throwMalformed(text);
        }
    });
    // The name is empty as well when there was no element at all.
    if (cookie.name.empty()) {
        throwMalformed(text);
    }
    return cookie;
}

std::vector<SetCookie> getSetCookies(const HttpResponse& response) {
    const HttpHeaders headers = response.getHeaders();
    const std::locale locale;
    const auto& characters = std::use_facet<std::ctype<char>>(locale);
    std::vector<SetCookie> cookies;
    for (const auto& [name, value] : headers) {
        if (isSetCookie(name, characters)) {
            cookies.push_back(SetCookie::parse(value));
        }
    }
    return cookies;
}

}  // namespace foundation::httpclient_core
