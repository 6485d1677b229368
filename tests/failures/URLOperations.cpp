#include "tests/failures/Refusal.h"
#include "tests/failures/Tables.h"

#include <foundation/httpclient_core.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

const std::string longText = "a text that is longer than a short string holds";
const std::string queryText = "?first=1&a-key-that-needs-memory-of-its-own=a+value%20%C3%A9&flag";
const std::string urlText =
    "https://a-server-with-a-long-name.example.test:8443/a/path/that/is/rather/long" + queryText +
    "#a-fragment-that-is-rather-long";

URL url() {
    return urlText;
}

QueryParameters query() {
    return queryText;
}

std::string text() {
    return longText;
}

}  // namespace

Operations urlOperations() {
    return {
        strong(
            "URL of a string", [] { return urlText; }, [](std::string& s) { return URL(s); }),
        strong(
            "URL of characters", [] { return urlText; },
            [](std::string& s) { return URL(s.c_str()); }),
        strong(
            "URL with a port that is none", [] { return "web://" + longText + ":x"; },
            [](std::string& s) { return refusal<std::invalid_argument>([&s] { URL{s}; }); }),
        strong(
            "URL with a port beyond all integers",
            [] { return std::string("web://h:99999999999/"); },
            [](std::string& s) { return refusal<std::out_of_range>([&s] { URL{s}; }); }),
        strong(
            "URL with a port beyond all ports", [] { return std::string("web://h:65536/"); },
            [](std::string& s) { return refusal<std::out_of_range>([&s] { URL{s}; }); }),
        strong("copy of a URL", url, Copied()),
        strong(
            "copy of a URL with a query that was set",
            [] {
                URL made = url();
                made.setQueryParameters(query());
                return made;
            },
            Copied()),
        strong(
            "copy assignment of a URL", [] { return std::pair(URL("a://b/c"), url()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong(
            "move of a URL", [] { return std::pair(URL("a://b/c"), url()); },
            [](auto& pair) { pair.first = std::move(pair.second); }),
        strong(
            "URL::getProtocol", [] { return URL(longText + "://h/"); },
            [](URL& u) { return u.getProtocol(); }),
        strong("URL::getDomain", url, [](URL& u) { return u.getDomain(); }),
        strong("URL::getPath", url, [](URL& u) { return u.getPath(); }),
        strong("URL::getQueryParameters", url, [](URL& u) { return u.getQueryParameters(); }),
        strong("URL::getFragment", url, [](URL& u) { return u.getFragment(); }),
        strong("URL::setProtocol", url, [](URL& u) { u.setProtocol(longText); }),
        strong("URL::setDomain", url, [](URL& u) { u.setDomain(longText); }),
        strong("URL::setPort", url, [](URL& u) { u.setPort(80); }),
        strong("URL::setPath", url, [](URL& u) { u.setPath("/" + longText); }),
        strong(
            "URL::setQueryParameters", [] { return std::pair(url(), query()); },
            [](auto& pair) { pair.first.setQueryParameters(pair.second); }),
        strong("URL::setFragment", url, [](URL& u) { u.setFragment(longText); }),
        strong("URL::toAsciiString", url, [](URL& u) { return u.toAsciiString(); }),
        strong(
            "comparison of URLs", [] { return std::pair(url(), url()); },
            [](auto& pair) { return pair.first == pair.second; }),
        strong("URL into a stream", url,
               [](URL& u) {
                   std::ostringstream stream;
                   stream << u;
                   if (!stream) {
                       throw std::bad_alloc();  // The stream reports it in its own way.
                   }
                   return stream.str();
               }),
    };
}

Operations queryOperations() {
    return {
        strong(
            "QueryParameters of a text", [] { return queryText; },
            [](std::string& s) { return QueryParameters(s); }),
        strong("QueryParameters of a list", text,
               [](std::string& s) { return QueryParameters{{s, s}, {"a", "1"}}; }),
        strong("QueryParameters of a list with an empty key", text,
               [](std::string& s) {
                   return refusal<std::logic_error>([&s] { QueryParameters{{"", s}}; });
               }),
        strong(
            "QueryParameters of a collection",
            [] { return NameValueCollection{{longText, longText}, {"", "1"}}; },
            [](NameValueCollection& c) { return QueryParameters(c); }),
        strong("copy of QueryParameters", query, Copied()),
        basic(
            "copy assignment of QueryParameters", [] { return std::pair(query(), query()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("getParameterValue", query,
               [](QueryParameters& q) {
                   return q.getParameterValue("a-key-that-needs-memory-of-its-own");
               }),
        strong("getParameterValue of an absent key", query,
               [](QueryParameters& q) {
                   return refusal<std::logic_error>([&q] { q.getParameterValue(longText); });
               }),
        strong("getAllParameterValues", query,
               [](QueryParameters& q) { return q.getAllParameterValues("first"); }),
        strong("getAllParameterValues of an absent key", query,
               [](QueryParameters& q) {
                   return refusal<std::logic_error>([&q] { q.getAllParameterValues(longText); });
               }),
        strong("hasParameterKey", query,
               [](QueryParameters& q) { return q.hasParameterKey("FLAG") && q.size() == 3; }),
        strong("addQueryParameter", query,
               [](QueryParameters& q) { q.addQueryParameter(longText, longText); }),
        strong(
            "addQueryParameter to none", [] { return QueryParameters(); },
            [](QueryParameters& q) { q.addQueryParameter(longText, ""); }),
        strong("addQueryParameter of an empty key", query,
               [](QueryParameters& q) {
                   return refusal<std::logic_error>([&q] { q.addQueryParameter("", longText); });
               }),
        strong("QueryParameters::toString", query, [](QueryParameters& q) { return q.toString(); }),
        strong("QueryParameters::toUnencodedString", query,
               [](QueryParameters& q) { return q.toUnencodedString(); }),
        strong("QueryParameters::toStream", query,
               [](QueryParameters& q) {
                   std::ostringstream stream;
                   q.toStream(stream);
                   if (!stream) {
                       throw std::bad_alloc();  // The stream reports it in its own way.
                   }
                   return stream.str();
               }),
        strong("separators of QueryParameters", query,
               [](QueryParameters& q) { return q.getEntrySep() + q.getKeyValueSep(); }),
        strong("PercentEncoder", text, [](std::string& s) { return PercentEncoder("%20")(s); }),
        strong("PercentEncoder with a space text of its own", text,
               [](std::string& s) { return PercentEncoder(s)(s); }),
    };
}

}  // namespace foundation::httpclient_core::testing
