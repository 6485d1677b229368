#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/reference/ReferenceHeaders.h"
#include "benchmarks/reference/ReferencePercentEncoder.h"
#include "benchmarks/reference/ReferenceQuery.h"
#include "benchmarks/reference/ReferenceURL.h"
#include "benchmarks/support/Samples.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// A ratio between two programs says something only if both give the same result.
namespace foundation::httpclient_core::benchmarks {
namespace {

const NameValueCollection::Encoder identity = [](std::string text) { return text; };

template <class Collection>
std::string printed(const Collection& collection) {
    return collection.toString("\n", "=", identity);
}

TEST(ReferenceAgreementTest, CollectionsHoldTheSame) {
    for (const std::size_t count : {14U, 18U, 60U}) {
        HttpHeaders library;
        ReferenceHeaders reference;
        ReferenceHeaders parsed;
        for (const auto& [name, value] : samples::headers(count)) {
            library.add(name, value);
            reference.add(name, value);
        }
        for (const std::string& line : samples::headerLines(count)) {
            const auto [name, value] = referenceParameter(line, ':', false);
            parsed.add(name, value);
        }
        ASSERT_EQ(library.size(), count);
        EXPECT_EQ(printed(library), printed(reference));
        EXPECT_EQ(printed(library), printed(parsed));
        const ReferenceHeaders copied = reference;
        EXPECT_EQ(printed(library), printed(copied));
        EXPECT_EQ(library.get("content-length"), reference.get("content-length"));
        EXPECT_EQ(library.getAll("Set-Cookie"), reference.getAll("Set-Cookie"));
        EXPECT_EQ(library.has("Retry-After"), reference.has("Retry-After"));
        library.erase("Content-Length");
        reference.erase("Content-Length");
        library.add("Content-Length", "1");
        reference.add("Content-Length", "1");
        EXPECT_EQ(printed(library), printed(reference));
    }
}

TEST(ReferenceAgreementTest, URLsPrintTheSame) {
    for (const std::size_t length : {19U, 85U, 480U}) {
        const std::string text = samples::url(length);
        const URL library(text);
        const ReferenceURL reference(text);
        EXPECT_EQ(library.toAsciiString(), text);
        EXPECT_EQ(reference.toAsciiString(), text);
        EXPECT_EQ(library.getPort(), reference.port);
        EXPECT_EQ(library.getPath(), reference.path);
        EXPECT_EQ(library.getFragment(), reference.fragment);
        EXPECT_EQ(library.getQueryParameters().toString(), reference.query.toString());
    }
}

TEST(ReferenceAgreementTest, QueriesPrintTheSame) {
    const QueryParameters library(samples::query());
    EXPECT_EQ(library.size(), 20U);
    EXPECT_EQ(library.toString(), ReferenceQuery(samples::query()).toString());
}

TEST(ReferenceAgreementTest, EncodersGiveTheSameText) {
    EXPECT_EQ(samples::shortText().size(), 20U);
    for (const std::string& text : {samples::plainText(), samples::proseText(), samples::utf8Text(),
                                    samples::shortText(), std::string("100% %zz %4")}) {
        const std::string encoded = PercentEncoder("%20")(text);
        EXPECT_EQ(encoded, referenceEncode(text, "%20"));
        EXPECT_EQ(percentDecode(encoded), text);
        EXPECT_EQ(referenceDecode(encoded), text);
        EXPECT_EQ(percentDecode(text), referenceDecode(text));
    }
}

TEST(ReferenceAgreementTest, HeaderTextsHoldTheSame) {
    const ContentType type = ContentType::parse(samples::contentType());
    const ReferenceValue referenceType = referenceContentType(samples::contentType());
    EXPECT_EQ(type.getType(), referenceType.value);
    EXPECT_EQ(printed(type.getParameters()), printed(referenceType.parameters));

    const Accept accept = Accept::parse(samples::accept());
    const std::vector<ReferenceValue> referenceTypes = referenceAccept(samples::accept());
    EXPECT_TRUE(std::equal(accept.begin(), accept.end(), referenceTypes.begin(),
                           referenceTypes.end(), [](const ContentType& a, const ReferenceValue& b) {
                               return a.getType() == b.value &&
                                      printed(a.getParameters()) == printed(b.parameters);
                           }));

    EXPECT_EQ(printed(Cookie::parse(samples::cookie())),
              printed(referenceCookie(samples::cookie())));

    const SetCookie cookie = SetCookie::parse(samples::setCookie());
    const auto [pair, attributes] = referenceSetCookie(samples::setCookie());
    EXPECT_EQ(cookie.name, pair.first);
    EXPECT_EQ(cookie.value, pair.second);
    EXPECT_EQ(printed(cookie.attributes), printed(attributes));
}

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
