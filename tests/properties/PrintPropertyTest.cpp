#include "tests/properties/Property.h"
#include "tests/support/LogCapture.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// What is printed reads back as the value that it was printed from, for every value that its grammar can
// express.
namespace foundation::httpclient_core {
namespace {

using testing::CaseRandom;
using testing::forAllCases;

using Pairs = std::vector<std::pair<std::string, std::string>>;

const std::string letters = "abcXYZ019-_.";

template <class Range>
Pairs pairsOf(const Range& range) {
    return {range.begin(), range.end()};
}

// A text of any bytes but those, and without blanks at its ends.
std::string textWithout(CaseRandom& random, const std::string& excluded, std::size_t shortest) {
    std::string text = random.bytes(letters + "  =:;,/?&#%+\"", 20);
    std::erase_if(text, [&](char c) { return excluded.find(c) != std::string::npos; });
    const std::string blanks = " \n\r\t";
    text.erase(0, text.find_first_not_of(blanks));
    text.erase(text.find_last_not_of(blanks) + 1);
    return text.size() < shortest ? random.text(letters, 1, 8) : text;
}

NameValueCollection pairsWithout(CaseRandom& random,
                                 const std::string& excludedInNames,
                                 const std::string& excludedInValues,
                                 std::size_t shortestValue) {
    NameValueCollection pairs;
    for (std::size_t i = random.below(4); i > 0; --i) {
        std::string name = textWithout(random, excludedInNames, 1);
        pairs.add(std::move(name), textWithout(random, excludedInValues, shortestValue));
    }
    return pairs;
}

ContentType anyContentType(CaseRandom& random) {
    std::string type = textWithout(random, ";,", 1);
    return {std::move(type), pairsWithout(random, "=;,", ";,", 1)};
}

class PrintPropertyTest : public ::testing::Test {
    testing::LogCapture log_;
};

TEST_F(PrintPropertyTest, PercentEncoding) {
    forAllCases([](CaseRandom& random) {
        const std::string text = random.bytes(letters + " %+", random.oneIn(4) ? 200 : 20);
        for (const char* space : {"%20", "+"}) {
            const PercentEncoder encode(space);
            const std::string encoded = encode(text);
            ASSERT_EQ(percentDecode(encoded), text) << ::testing::PrintToString(text);
            ASSERT_EQ(encode(percentDecode(encoded)), encoded);
            ASSERT_GE(encoded.size(), text.size());
        }
    });
}

TEST_F(PrintPropertyTest, QueryParameters) {
    forAllCases([](CaseRandom& random) {
        QueryParameters query;
        Pairs pairs;
        for (std::size_t i = random.below(5); i > 0; --i) {
            std::string key = random.bytes(letters + "&=?%", 6) + "k";
            std::string value = random.bytes(letters + "&=?%", 10);
            query.addQueryParameter(key, value);
            pairs.emplace_back(std::move(key), std::move(value));
        }
        ASSERT_EQ(pairsOf(query), pairs);
        const std::string printed = query.toString();
        const QueryParameters again(printed);
        ASSERT_EQ(pairsOf(again), pairs) << printed;
        ASSERT_EQ(again.toString(), printed);
        ASSERT_EQ(again.toUnencodedString(), printed);
    });
}

TEST_F(PrintPropertyTest, RawQueryIsWhatWasParsed) {
    forAllCases([](CaseRandom& random) {
        const std::string text = random.bytes("ab=&%41+?", 20);
        const std::string raw = text.starts_with('?') ? text.substr(1) : text;
        ASSERT_EQ(QueryParameters(text).toUnencodedString(), raw.empty() ? "" : "?" + raw);
    });
}

TEST_F(PrintPropertyTest, FormUrlEncoded) {
    forAllCases([](CaseRandom& random) {
        const NameValueCollection fields = pairsWithout(random, "", "", 0);
        const FormUrlEncoded form(fields);
        const std::unique_ptr<std::istream> stream = form.stream();
        const std::string text(std::istreambuf_iterator<char>(*stream), {});
        ASSERT_EQ(form.contentLength(), text.size());
        ASSERT_EQ(pairsOf(QueryParameters(text)), pairsOf(fields)) << text;
    });
}

TEST_F(PrintPropertyTest, URLOfAnyParts) {
    forAllCases([](CaseRandom& random) {
        URL url("");
        const std::string protocol = random.oneIn(4) ? "" : random.text("abcXYZ019+-.", 1, 8);
        const std::string domain = random.bytes(letters + " ?", 12);
        std::string host;
        for (const char c : domain) {
            host += c == '/' || c == ':' || c == '#' ? '-' : c;
        }
        url.setProtocol(protocol);
        url.setDomain(host);
        url.setPort(static_cast<std::uint16_t>(random.oneIn(2) ? random.bits() : 0));
        // Without a protocol, no mark of one may come up later, and none may hold a fragment.
        std::string path = random.text(letters + "/:% ;", 0, 20);
        std::string query;
        if (random.oneIn(2) && !path.empty()) {
            query = random.text(letters + "/&=%+?", 1, 20);
        }
        while (path.find("//") != std::string::npos) {
            path.erase(path.find("//"), 1);
        }
        while (query.find("//") != std::string::npos) {
            query.erase(query.find("//"), 1);
        }
        path = query.empty() && path.empty() ? "" : "/" + path;
        path = path.starts_with("//") ? path.substr(1) : path;
        url.setPath(path);
        url.setQueryParameters(QueryParameters(query));
        const std::string fragment = random.bytes(letters + "#?/:", 12);
        url.setFragment(fragment);
        const std::string printed = url.toAsciiString();
        const URL again(printed);
        ASSERT_EQ(again.getProtocol(), protocol) << printed;
        ASSERT_EQ(again.getDomain(), host) << printed;
        ASSERT_EQ(again.getPort(), url.getPort()) << printed;
        ASSERT_EQ(again.getPath(), path) << printed;
        ASSERT_EQ(again.getQueryParameters().toUnencodedString(),
                  url.getQueryParameters().toUnencodedString())
            << printed;
        ASSERT_EQ(pairsOf(again.getQueryParameters()), pairsOf(url.getQueryParameters()));
        ASSERT_EQ(again.getFragment(), fragment) << printed;
        ASSERT_EQ(again.toAsciiString(), printed);
        ASSERT_TRUE(again == url);
        std::ostringstream text;
        text << url;
        ASSERT_EQ(text.str(), printed);
    });
}

TEST_F(PrintPropertyTest, ContentType) {
    forAllCases([](CaseRandom& random) {
        const ContentType type = anyContentType(random);
        ASSERT_TRUE(ContentType::parse(type.toString()) == type) << type.toString();
        HttpMessage message((HttpHeaders()));
        message.setContentType(type);
        ASSERT_TRUE(message.getContentType() == type);
    });
}

TEST_F(PrintPropertyTest, Accept) {
    forAllCases([](CaseRandom& random) {
        std::vector<ContentType> types;
        for (std::size_t i = random.below(4); i > 0; --i) {
            types.push_back(anyContentType(random));
        }
        const Accept accept(std::move(types));
        ASSERT_TRUE(Accept::parse(accept.toString()) == accept) << accept.toString();
        HttpMessage message((HttpHeaders()));
        message.setAccept(accept);
        ASSERT_TRUE(message.getAccept() == accept);
    });
}

TEST_F(PrintPropertyTest, Cookies) {
    forAllCases([](CaseRandom& random) {
        const NameValueCollection cookies = pairsWithout(random, "=;", ";", 0);
        ASSERT_TRUE(Cookie::parse(Cookie::toString(cookies)) == cookies)
            << Cookie::toString(cookies);
        HttpMessage message((HttpHeaders()));
        message.setCookie(cookies);
        ASSERT_TRUE(message.getCookie() == cookies);
    });
}

TEST_F(PrintPropertyTest, SetCookies) {
    forAllCases([](CaseRandom& random) {
        HttpHeaders headers;
        std::vector<SetCookie> sent;
        for (std::size_t i = random.below(3); i > 0; --i) {
            SetCookie cookie;
            cookie.name = textWithout(random, "=;", 1);
            cookie.value = textWithout(random, ";", 0);
            cookie.attributes = pairsWithout(random, "=;", ";", 0);
            std::string text = cookie.name + "=" + cookie.value;
            for (const auto& [name, value] : cookie.attributes) {
                text.append("; ").append(name).append(value.empty() ? "" : "=").append(value);
            }
            headers.add(random.oneIn(2) ? "Set-Cookie" : "SET-cookie", text);
            headers.add("Other", text);
            sent.push_back(std::move(cookie));
        }
        HttpResponse response;
        response.setHeaders(headers);
        const std::vector<SetCookie> received = getSetCookies(response);
        ASSERT_EQ(received.size(), sent.size());
        for (std::size_t i = 0; i < sent.size(); ++i) {
            ASSERT_EQ(received[i].name, sent[i].name);
            ASSERT_EQ(received[i].value, sent[i].value);
            ASSERT_EQ(pairsOf(received[i].attributes), pairsOf(sent[i].attributes));
        }
    });
}

TEST_F(PrintPropertyTest, HeaderLines) {
    forAllCases([](CaseRandom& random) {
        const NameValueCollection fields = pairsWithout(random, ":", "", 0);
        HttpHeaders headers;
        for (const auto& [name, value] : fields) {
            const std::string blanks = random.text(" \t\r\n", 0, 2);
            headers.addHeader(blanks + name + blanks + ":" + blanks + value + blanks);
        }
        ASSERT_EQ(pairsOf(headers), pairsOf(fields));
    });
}

TEST_F(PrintPropertyTest, ContentLength) {
    forAllCases([](CaseRandom& random) {
        const auto length = random.number<std::int32_t>();
        HttpMessage message((HttpHeaders()));
        message.setContentLength(random.text(" \t", 0, 2) + std::to_string(length) +
                                 random.text(" x", 0, 2));
        ASSERT_EQ(message.getContentLength(), length);
    });
}

TEST_F(PrintPropertyTest, ResponseCodes) {
    forAllCases([](CaseRandom& random) {
        const auto number = random.number<std::int32_t>();
        const HttpResponseCode code{number};
        ASSERT_EQ(std::stoi(to_string(code)), number);
        std::ostringstream text;
        text << code;
        ASSERT_EQ(text.str(), to_string(code));
        // A code has one class at most, that of its hundreds.
        const int classes = int{isInformational(code)} + int{isSuccess(code)} +
                            int{isRedirection(code)} + int{isClientError(code)} +
                            int{isServerError(code)};
        ASSERT_EQ(classes, number >= 100 && number <= 599 ? 1 : 0) << number;
    });
}

TEST_F(PrintPropertyTest, Methods) {
    forAllCases([](CaseRandom& random) {
        const auto method = static_cast<HttpMethod>(random.below(6));
        std::ostringstream text;
        text << method;
        ASSERT_EQ(createHttpMethod(text.str()), method);
        // One character more, less or other makes it none.
        std::string other = text.str();
        const std::size_t place = random.below(other.size());
        switch (random.below(3)) {
            case 0:
                other.erase(place, 1);
                break;
            case 1:
                other.insert(place, 1, random.oneOf("GETPOSD \t"));
                break;
            default:
                other[place] = static_cast<char>(other[place] ^ (1 << random.below(8)));
        }
        ASSERT_THROW(createHttpMethod(other), std::out_of_range) << other;
    });
}

}  // namespace
}  // namespace foundation::httpclient_core
