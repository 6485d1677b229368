#include "benchmarks/sides/BareTexts.h"
#include "benchmarks/sides/BeastHeaders.h"
#include "benchmarks/sides/BoostURL.h"
#include "benchmarks/sides/CurlURL.h"
#include "benchmarks/sides/HttplibHeaders.h"
#include "benchmarks/sides/Library.h"
#include "benchmarks/sides/PlainModel.h"
#include "benchmarks/sides/PocoTexts.h"
#include "benchmarks/sides/StringStreamBody.h"
#include "benchmarks/workloads/BodyWorkloads.h"
#include "benchmarks/workloads/HeaderWorkloads.h"
#include "benchmarks/workloads/TextWorkloads.h"
#include "benchmarks/workloads/URLWorkloads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// A ratio between two programs says something only if both give the same result. Here every side of
// every row does its work once, and the results are compared as texts.
namespace foundation::httpclient_core::benchmarks {
namespace {

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

/// Fields in the order of their names: some peers do not keep the order of insertion.
std::string fieldText(Lines lines) {
    std::sort(lines.begin(), lines.end());
    return joined(lines);
}

template <class Fields>
Lines fieldLines(const Fields& fields) {
    Lines lines;
    for (const auto& field : fields) {
        lines.push_back(std::string(field.first) + "=" + std::string(field.second));
    }
    return lines;
}

Lines fieldLines(const boost::beast::http::fields& fields) {
    Lines lines;
    for (const auto& field : fields) {
        lines.push_back(std::string(field.name_string()) + "=" + std::string(field.value()));
    }
    return lines;
}

template <class Fields>
    requires requires(const Fields& fields) { fieldLines(fields); }
std::string text(const Fields& fields) {
    return fieldText(fieldLines(fields));
}

std::string text(std::size_t number) {
    return std::to_string(number);
}

/// Without what Boost.Beast prints around the fields.
std::string text(const std::string& printed) {
    const std::string requestLine = "GET / HTTP/1.1\r\n";
    std::string result =
        printed.starts_with(requestLine) ? printed.substr(requestLine.size()) : printed;
    while (result.ends_with("\r\n")) {
        result.resize(result.size() - 2);
    }
    return result;
}

std::string text(const CurlText& printed) {
    return printed ? printed.get() : "";
}

std::string text(const Lines& values) {
    return joined(values);
}

std::string text(const URL& url) {
    return url.toAsciiString();
}

std::string text(const ReferenceURL& url) {
    return url.toAsciiString();
}

std::string text(const boost::urls::url& url) {
    return std::string(url.buffer());
}

std::string text(const CurlURL::URL& url) {
    return text(url.part(CURLUPART_URL));
}

std::string partText(const std::string& part) {
    return part;
}

std::string partText(boost::urls::string_view part) {
    return std::string(part);
}

std::string partText(const CurlText& part) {
    return text(part);
}

template <class Side>
std::string text(const ReadURL<Side>& read) {
    return joined({partText(read.parts.scheme), partText(read.parts.host),
                   std::to_string(read.parts.port), partText(read.parts.path)});
}

std::string text(const ContentType& type) {
    return type.getType() + "\n" + text(type.getParameters());
}

std::string text(const ReferenceValue& type) {
    return type.value + "\n" + text(type.parameters);
}

std::string text(const Poco::Net::MediaType& type) {
    return type.getType() + "/" + type.getSubType() + "\n" + text(type.parameters());
}

template <class Types>
std::string typesText(const Types& types) {
    Lines lines;
    for (const auto& type : types) {
        lines.push_back(text(type));
    }
    return joined(lines);
}

std::string text(const Accept& types) {
    return typesText(types);
}

std::string text(const std::vector<ReferenceValue>& types) {
    return typesText(types);
}

std::string text(const std::vector<Poco::Net::MediaType>& types) {
    return typesText(types);
}

template <class Attributes>
std::string cookieText(const std::string& name,
                       const std::string& value,
                       const Attributes& attributes) {
    Lines lines = fieldLines(attributes);
    lines.push_back(name + "=" + value);
    return fieldText(lines);
}

std::string text(const SetCookie& cookie) {
    return cookieText(cookie.name, cookie.value, cookie.attributes);
}

std::string text(const std::pair<std::pair<std::string, std::string>, ReferenceHeaders>& cookie) {
    return cookieText(cookie.first.first, cookie.first.second, cookie.second);
}

std::string text(const std::unique_ptr<std::iostream>& body) {
    std::ostringstream content;
    content << body->rdbuf();
    return content.str();
}

/// What each side of each row gave.
class Results {
public:
    auto of(std::string side) {
        return [this, side](const Row& row, auto prepare) {
            auto operation = prepare();
            results_[row.name].emplace_back(side, text(operation()));
        };
    }

    /// Expects that all sides of a row gave what its first side gave, and that it is something.
    void expectAgreement() const {
        EXPECT_FALSE(results_.empty());
        for (const auto& [row, sides] : results_) {
            EXPECT_GE(sides.size(), 2U) << row;
            EXPECT_FALSE(sides.front().second.empty()) << row;
            for (const auto& [side, result] : sides) {
                EXPECT_EQ(result, sides.front().second) << row << ", " << side;
            }
        }
    }

    const std::string& first(const std::string& row) const {
        return results_.at(row).front().second;
    }

private:
    std::map<std::string, std::vector<std::pair<std::string, std::string>>> results_;
};

TEST(AgreementTest, HeadersHoldAndFindTheSame) {
    Results results;
    headerWorkloads<LibraryHeaders>(results.of("library"));
    headerWorkloads<BeastHeaders>(results.of("Boost.Beast"));
    headerWorkloads<HttplibHeaders>(results.of("cpp-httplib"));
    headerWorkloads<ModelHeaders>(results.of("plain model"));
    fillingWorkloads<BareHeaders>(results.of("bare texts"));
    results.expectAgreement();
    EXPECT_NE(results.first("Look-up hit in 18"), "0");
    EXPECT_EQ(results.first("Look-up miss in 18"), "0");
    EXPECT_EQ(results.first("Look-up miss in 60"), "0");
}

TEST(AgreementTest, GrowingHeadersHoldAndFindTheSame) {
    for (const std::size_t count : {14U, 60U, 300U}) {
        Results results;
        growingHeaderWorkloads<LibraryHeaders>(count, results.of("library"));
        growingHeaderWorkloads<BeastHeaders>(count, results.of("Boost.Beast"));
        growingHeaderWorkloads<ModelHeaders>(count, results.of("plain model"));
        results.expectAgreement();
    }
}

TEST(AgreementTest, PercentCodingGivesTheSameText) {
    Results results;
    percentWorkloads<LibraryTexts>(results.of("library"));
    percentWorkloads<BoostTexts>(results.of("Boost.URL"));
    percentWorkloads<CurlTexts>(results.of("libcurl"));
    percentWorkloads<ModelTexts>(results.of("plain model"));
    // cpp-httplib leaves some marks unescaped, so that only its decoded text is the same.
    const auto visit = results.of("cpp-httplib");
    percentWorkloads<HttplibTexts>([&visit](const Row& row, auto prepare) {
        if (row.name.starts_with("Percent-decode")) {
            visit(row, prepare);
        }
    });
    results.expectAgreement();
    EXPECT_EQ(results.first("Percent-decode 4 kB plain"), samples::plainText());
    EXPECT_EQ(results.first("Percent-decode 4 kB prose"), samples::proseText());
    EXPECT_EQ(results.first("Percent-decode 4 kB UTF-8"), samples::utf8Text());
    EXPECT_EQ(results.first("Percent-decode 20 bytes"), samples::shortText());
    EXPECT_EQ(samples::shortText().size(), 20U);
}

TEST(AgreementTest, URLsHaveTheSameParts) {
    Results results;
    urlWorkloads<LibraryURL>(results.of("library"));
    urlWorkloads<BoostURL>(results.of("Boost.URL"));
    urlWorkloads<CurlURL>(results.of("libcurl"));
    urlWorkloads<ModelURL>(results.of("plain model"));
    results.expectAgreement();
    EXPECT_EQ(results.first("URL split and read, 85 characters"),
              joined({"https", "server.example.test", "8443", "/shop/articles/list"}));
    EXPECT_EQ(results.first("URL split and print, 480 characters"), samples::url(480));
}

template <class Side>
Lines decodedParameters(const std::string& query) {
    Lines lines;
    Side::parse(query, [&lines](const auto& key, const auto& value) {
        lines.push_back(std::string(key) + "=" + std::string(value));
    });
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST(AgreementTest, QueriesHoldAndPrintTheSame) {
    Results results;
    queryWorkloads<LibraryQuery>(results.of("library"));
    queryWorkloads<BoostQuery>(results.of("Boost.URL"));
    queryWorkloads<ModelQuery>(results.of("plain model"));
    results.expectAgreement();
    EXPECT_EQ(results.first("Query of 20: print"), "?" + samples::query());
    Lines expected = fieldLines(samples::parameters());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected.size(), 20U);
    EXPECT_EQ(decodedParameters<LibraryQuery>(samples::query()), expected);
    EXPECT_EQ(decodedParameters<BoostQuery>(samples::query()), expected);
    EXPECT_EQ(decodedParameters<HttplibQuery>(samples::query()), expected);
    EXPECT_EQ(decodedParameters<ModelQuery>(samples::query()), expected);
    const std::string generated = samples::query(100);
    EXPECT_EQ(decodedParameters<LibraryQuery>(generated).size(), 100U);
    EXPECT_EQ(decodedParameters<LibraryQuery>(generated), decodedParameters<BoostQuery>(generated));
    EXPECT_EQ(decodedParameters<LibraryQuery>(generated), decodedParameters<ModelQuery>(generated));
}

TEST(AgreementTest, HeaderTextsHoldTheSame) {
    Results results;
    headerTextWorkloads<LibraryTexts>(results.of("library"));
    headerTextWorkloads<PocoTexts>(results.of("POCO"));
    headerTextWorkloads<ModelTexts>(results.of("plain model"));
    results.expectAgreement();
}

TEST(AgreementTest, BodiesHoldTheSame) {
    Results results;
    bodyWorkload<LibraryBody>(Row{"body"}, 100'001, results.of("library"));
    bodyWorkload<StringStreamBody>(Row{"body"}, 100'001, results.of("std::stringstream"));
    results.expectAgreement();
    EXPECT_EQ(results.first("body").size(), 100'001U);
}

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
