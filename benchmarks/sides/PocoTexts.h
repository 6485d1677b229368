#pragma once
#include <Poco/Net/MediaType.h>
#include <Poco/Net/MessageHeader.h>
#include <Poco/Net/NameValueCollection.h>
#include <string>
#include <vector>

namespace foundation::httpclient_core::benchmarks {

/// POCO's parsers of header texts. It has none for Accept as such, but both steps of one. Cookies and
/// the attributes of a cookie are left as names and values, as the library leaves them.
struct PocoTexts {
    using Parameters = Poco::Net::NameValueCollection;

    static Poco::Net::MediaType contentType(const std::string& text) {
        return Poco::Net::MediaType(text);
    }
    static std::vector<Poco::Net::MediaType> accept(const std::string& text) {
        std::vector<std::string> elements;
        Poco::Net::MessageHeader::splitElements(text, elements);
        return {elements.begin(), elements.end()};
    }
    static Parameters cookie(const std::string& text) {
        Parameters cookies;
        Poco::Net::MessageHeader::splitParameters(text.begin(), text.end(), cookies);
        return cookies;
    }
    static Parameters setCookie(const std::string& text) { return cookie(text); }
};

}  // namespace foundation::httpclient_core::benchmarks
