// Cookie, SetCookie and getSetCookies() against their plain transcription. The whole input is a Cookie
// text and a Set-Cookie text; its lines are the fields of a response.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Outcome.h"
#include "fuzz/support/Target.h"
#include "tests/headers/HeaderGrammarModel.h"

#include <foundation/httpclient_core/Cookie.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/SetCookie.h>

#include <string>

namespace foundation::fuzz {
namespace {

using namespace httpclient_core;
namespace model = httpclient_core::testing::model;

void cookie(const std::string& text) {
    requireSame(outcomeOf([&] {
                    const NameValueCollection cookies = Cookie::parse(text);
                    const std::string printed = Cookie::toString(cookies);
                    require(Cookie::parse(printed) == cookies, "printed cookies read back",
                            shown(printed));
                    return shown(pairsOf(cookies)) + printed;
                }),
                outcomeOf([&] {
                    const model::Pairs cookies = model::cookie(text);
                    return shown(cookies) + model::joined(cookies, "; ");
                }),
                "Cookie::parse");
}

std::string described(const SetCookie& cookie) {
    return shown(cookie.name) + shown(cookie.value) + shown(pairsOf(cookie.attributes));
}

std::string setCookieByModel(const std::string& text) {
    model::Pairs pairs = model::setCookie(text);
    const model::Pair first = pairs.front();
    pairs.erase(pairs.begin());
    return shown(first.first) + shown(first.second) + shown(pairs);
}

void setCookie(const std::string& text) {
    requireSame(outcomeOf([&] { return described(SetCookie::parse(text)); }),
                outcomeOf([&] { return setCookieByModel(text); }), "SetCookie::parse");
}

bool isSetCookie(const std::string& name) {
    std::string lower;
    for (const char c : name) {
        lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower == "set-cookie";
}

void responseCookies(const std::string& text) {
    HttpResponse response;
    HttpHeaders headers;
    model::Strings values;
    for (const std::string& line : model::cut(text, "\n")) {
        const auto [name, value] = model::splitParameter(line, ":", true);
        if (!name.empty()) {
            headers.add(name, value);
            if (isSetCookie(name)) {
                values.push_back(value);
            }
        }
    }
    response.setHeaders(headers);
    requireSame(outcomeOf([&] {
                    std::string all;
                    for (const SetCookie& each : getSetCookies(response)) {
                        all += described(each) + "\n";
                    }
                    return all;
                }),
                outcomeOf([&] {
                    std::string all;
                    for (const std::string& value : values) {
                        all += setCookieByModel(value) + "\n";
                    }
                    return all;
                }),
                "getSetCookies");
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    const std::string text = textOf(data, size);
    cookie(text);
    setCookie(text);
    responseCookies(text);
    return 0;
}
