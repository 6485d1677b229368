#include "tests/failures/Refusal.h"
#include "tests/failures/Tables.h"

#include <foundation/httpclient_core.h>

#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

using Pair = NameValueCollection::value_type;
using Two = std::pair<HttpHeaders, HttpHeaders>;

// Longer than what a string holds without an allocation.
const std::string longName = "X-A-Header-Name-That-Needs-Memory-And-More";
const std::string longValue = "a value that needs memory of its own, in any string";
const std::string line = longName + ": " + longValue;
const std::string parameters = "text/html; " + longName + "=" + longValue + ";q=1";

HttpHeaders sample() {
    return {{"Accept", "a"}, {longName, longValue}, {"accept", longValue}};
}

// So many that look-ups use the table of names.
HttpHeaders manyHeaders() {
    HttpHeaders headers;
    for (int number = 0; number < 64; ++number) {
        headers.add(longName + std::to_string(number), longValue);
    }
    return headers;
}

ContentType contentType() {
    return ContentType::parse(parameters);
}

std::string text() {
    return parameters;
}

std::string identity(std::string value) {
    return value;
}

void isEmptied(const std::string& /*before*/, const Two& pair) {
    EXPECT_TRUE(pair.first.empty());
    EXPECT_FALSE(pair.first.has("Accept"));
    EXPECT_EQ(pair.second, sample());
}

}  // namespace

Operations collectionOperations() {
    return {
        strong("copy of a collection", sample, Copied()),
        strong("copy of a large collection", manyHeaders, Copied()),
        strong(
            "collection of a list", [] { return Pair(longName, longValue); },
            [](Pair& entry) { return NameValueCollection{entry, {"a", "1"}, entry}; }),
        leaving(
            "copy assignment of a collection", [] { return Two{{{"b", "1"}}, sample()}; },
            [](Two& pair) { pair.first = pair.second; }, isEmptied),
        strong(
            "move of a collection", [] { return Two{{{"b", "1"}}, sample()}; },
            [](Two& pair) { pair.first = std::move(pair.second); }),
        strong("has", sample, [](HttpHeaders& h) { return h.has(longName) && h.hasHeader("a"); }),
        strong("find", sample, [](HttpHeaders& h) { return h.find(longName)->second; }),
        strong("get", sample, [](HttpHeaders& h) { return h.get(longName); }),
        strong(
            "get of an absent name", sample,
            [](HttpHeaders& h) { return refusal<std::out_of_range>([&h] { h.get("absent"); }); }),
        strong("getAll", sample, [](HttpHeaders& h) { return h.getAll("accept"); }),
        strong("add", sample, [](HttpHeaders& h) { h.add(longName, longValue); }),
        strong(
            "add to an empty collection", [] { return HttpHeaders(); },
            [](HttpHeaders& h) { h.add("a", "1"); }),
        strong("add that makes the table", manyHeaders, [](HttpHeaders& h) { h.add("a", "1"); }),
        strong("add of a pair", sample, [](HttpHeaders& h) { h.add(Pair(longValue, longName)); }),
        strong("set of a name that is there", sample,
               [](HttpHeaders& h) { h.set(longName, longValue + "!"); }),
        strong("set of an absent name", sample, [](HttpHeaders& h) { h.set("New", longValue); }),
        strong("erase", sample, [](HttpHeaders& h) { h.erase("accept"); }),
        strong("toString of a collection", sample,
               [](HttpHeaders& h) { return h.toString("; ", "=", identity); }),
        strong("toString with an encoder", sample,
               [](HttpHeaders& h) { return h.toString("; ", "=", PercentEncoder("%20")); }),
        strong("toString with an empty encoder", sample,
               [](HttpHeaders& h) {
                   return refusal<std::bad_function_call>([&h] { h.toString("", "", nullptr); });
               }),
        strong(
            "comparison of collections", [] { return Two{sample(), sample()}; },
            [](Two& pair) { return pair.first == pair.second; }),
        strong("comparator", sample,
               [](HttpHeaders& h) {
                   const NameValueCollection::CaseInsensitiveCompare less;
                   return less(h.begin()->first, longName);
               }),
    };
}

Operations headerOperations() {
    return {
        strong("getHeaderValue", sample, [](HttpHeaders& h) { return h.getHeaderValue(longName); }),
        strong("getHeaderValueOr", sample,
               [](HttpHeaders& h) { return h.getHeaderValueOr("absent", longValue); }),
        strong("getHeaderValue of an absent name", sample,
               [](HttpHeaders& h) {
                   return refusal<std::out_of_range>([&h] { h.getHeaderValue("absent"); });
               }),
        strong("addHeader of a line", sample, [](HttpHeaders& h) { h.addHeader(line); }),
        strong("addHeaderValue", sample,
               [](HttpHeaders& h) { h.addHeaderValue(longName, longValue); }),
        strong("setHeaderValue", sample, [](HttpHeaders& h) { h.setHeaderValue("b", longValue); }),
        strong("removeHeader", sample, [](HttpHeaders& h) { h.removeHeader(longName); }),
        strong("splitElements", text,
               [](std::string& s) {
                   std::vector<std::string> found;
                   HttpHeaders::splitElements(
                       s, [&found](const std::string& element) { found.push_back(element); }, ";",
                       true);
                   return found;
               }),
        strong(
            "splitParameter", [] { return longName + "=" + longValue; },
            [](std::string& s) { return HttpHeaders::splitParameter(s, "=", false); }),
        strong("splitParameter without a delimiter", text,
               [](std::string& s) {
                   return refusal<std::runtime_error>(
                       [&s] { HttpHeaders::splitParameter(s, "#", false); });
               }),
        strong("splitParameters", text,
               [](std::string& s) { return HttpHeaders::splitParameters(s, ";"); }),
        strong("ContentType::parse", text, [](std::string& s) { return ContentType::parse(s); }),
        strong(
            "ContentType::parse of a bad text", [] { return longName + ";" + longName; },
            [](std::string& s) {
                return refusal<std::runtime_error>([&s] { ContentType::parse(s); });
            }),
        strong("ContentType of two", sample,
               [](HttpHeaders& h) { return ContentType(longName, h); }),
        strong("copy of a ContentType", contentType, Copied()),
        basic(
            "copy assignment of a ContentType",
            [] { return std::pair(ContentType("a/b", sample()), contentType()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong(
            "ContentType::getType", [] { return ContentType(longName, {}); },
            [](ContentType& t) { return t.getType(); }),
        strong("ContentType::getParameters", contentType,
               [](ContentType& t) { return t.getParameters(); }),
        strong("ContentType::toString", contentType, [](ContentType& t) { return t.toString(); }),
        strong(
            "Accept::parse", [] { return parameters + ", */*, " + parameters; },
            [](std::string& s) { return Accept::parse(s); }),
        strong(
            "Accept::parse of a bad text", [] { return longName + ";" + longName; },
            [](std::string& s) { return refusal<std::runtime_error>([&s] { Accept::parse(s); }); }),
        strong(
            "Accept of types", [] { return std::vector{contentType(), contentType()}; },
            [](std::vector<ContentType>& types) { return Accept(types); }),
        strong(
            "copy of an Accept", [] { return Accept({contentType(), contentType()}); }, Copied()),
        basic(
            "copy assignment of an Accept",
            [] { return std::pair(Accept({contentType()}), Accept({contentType(), {"a", {}}})); },
            [](auto& pair) { pair.first = pair.second; }),
        strong(
            "Accept::getTypes", [] { return Accept({contentType()}); },
            [](Accept& accept) { return accept.getTypes(); }),
        strong(
            "Accept::at", [] { return Accept({contentType()}); },
            [](Accept& accept) { return accept.at(0) == accept[0]; }),
        strong(
            "Accept::at beyond the end", [] { return Accept({contentType()}); },
            [](Accept& accept) { return refusal<std::out_of_range>([&accept] { accept.at(1); }); }),
        strong(
            "Accept::toString", [] { return Accept({contentType(), contentType()}); },
            [](Accept& accept) { return accept.toString(); }),
        strong(
            "Cookie::parse", [] { return longName + "=" + longValue + "; a=1;"; },
            [](std::string& s) { return Cookie::parse(s); }),
        strong(
            "Cookie::parse of a bad text", text,
            [](std::string& s) { return refusal<std::runtime_error>([&s] { Cookie::parse(s); }); }),
        strong("Cookie::toString", sample, [](HttpHeaders& h) { return Cookie::toString(h); }),
        strong(
            "SetCookie::parse", [] { return longName + "=" + longValue + "; Path=/; Secure"; },
            [](std::string& s) { return SetCookie::parse(s); }),
        strong("SetCookie::parse of a bad text", text,
               [](std::string& s) {
                   return refusal<std::invalid_argument>([&s] { SetCookie::parse(s); });
               }),
        basic(
            "copy assignment of a SetCookie",
            [] {
                return std::pair(SetCookie::parse("a=1; b"), SetCookie::parse(longName + "=1;c"));
            },
            [](auto& pair) { pair.first = pair.second; }),
        strong(
            "getSetCookies",
            [] {
                HttpResponse response;
                response.addHeaderValue("Set-Cookie", longName + "=" + longValue + "; Secure");
                response.addHeaderValue("set-cookie", "b=2");
                return response;
            },
            [](HttpResponse& r) { return getSetCookies(r); }),
    };
}

}  // namespace foundation::httpclient_core::testing
