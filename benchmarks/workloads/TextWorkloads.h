#pragma once
#include "benchmarks/support/Row.h"
#include "benchmarks/support/Samples.h"

#include <string>
#include <utility>

/// Percent-encoding, and the texts of header fields. A `Side` has static functions: encode and decode;
/// contentType, accept, cookie and setCookie.
namespace foundation::httpclient_core::benchmarks {

template <class Side, class Visit>
void percentWorkloads(const Visit& visit) {
    const std::pair<std::string, std::string> texts[] = {{"4 kB plain", samples::plainText()},
                                                         {"4 kB prose", samples::proseText()},
                                                         {"4 kB UTF-8", samples::utf8Text()},
                                                         {"20 bytes", samples::shortText()}};
    for (const auto& text : texts) {
        visit(Row{"Percent-encode " + text.first},
              [plain = text.second] { return [plain] { return Side::encode(plain); }; });
    }
    for (const auto& text : texts) {
        visit(Row{"Percent-decode " + text.first}, [plain = text.second] {
            return [encoded = Side::encode(plain)] { return Side::decode(encoded); };
        });
    }
}

template <class Side, class Visit>
void headerTextWorkloads(const Visit& visit) {
    const auto add = [&visit](const std::string& name, const std::string& text, auto parse) {
        visit(Row{name, samples::longPieces(text)},
              [text, parse] { return [text, parse] { return parse(text); }; });
    };
    add("Media type, 1 parameter", samples::contentType(1),
        [](const std::string& text) { return Side::contentType(text); });
    add("Media type, 3 parameters", samples::contentType(3),
        [](const std::string& text) { return Side::contentType(text); });
    add("Accept of 6", samples::accept(),
        [](const std::string& text) { return Side::accept(text); });
    add("Cookie of 6", samples::cookie(),
        [](const std::string& text) { return Side::cookie(text); });
    add("Set-Cookie", samples::setCookie(),
        [](const std::string& text) { return Side::setCookie(text); });
}

}  // namespace foundation::httpclient_core::benchmarks
