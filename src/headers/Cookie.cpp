#include <foundation/httpclient_core/Cookie.h>

#include "headers/EntryAccess.h"
#include "headers/HeaderText.h"
#include "headers/IdentityEncoder.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>

namespace foundation::httpclient_core {

NameValueCollection Cookie::parse(const std::string& text) {
    NameValueCollection cookies;
    EntryAccess::reserve(cookies, header_text::expectedElements(text));
    header_text::forEachElement(text, ";", [&cookies](std::string_view element) {
        const std::string_view trimmed = header_text::trim(element);
        if (!trimmed.empty()) {
            const auto [name, value] = header_text::splitParameter(trimmed, "=", false);
            EntryAccess::add(cookies, name, value);
        }
    });
    return cookies;
}

std::string Cookie::toString(const NameValueCollection& cookies) {
    return cookies.toString("; ", "=", identityEncoder);
}

}  // namespace foundation::httpclient_core
