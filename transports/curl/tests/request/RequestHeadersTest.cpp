#include "request/RequestHeaders.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

using core::HttpHeaders;

std::vector<std::string> linesOf(const RequestHeaders& headers,
                                 const std::string& range = {},
                                 const std::string& ifRange = {}) {
    const HeaderLines lines = headers.lines(range, ifRange);
    std::vector<std::string> texts;
    for (const curl_slist* line = lines.get(); line != nullptr; line = line->next) {
        texts.emplace_back(line->data);
    }
    return texts;
}

std::string refusalOf(const HttpHeaders& fields) {
    try {
        const RequestHeaders headers(fields);
    } catch (const core::HttpRequestFailedException& failure) {
        return failure.what();
    }
    return {};
}

TEST(RequestHeadersTest, KeepsFieldsInTheirOrder) {
    const RequestHeaders headers({{"X-B", "1"}, {"X-A", " 2 "}, {"X-B", "3"}});
    EXPECT_EQ(linesOf(headers),
              (std::vector<std::string>{"X-B: 1", "X-A:  2 ", "X-B: 3", "Expect:"}));
    EXPECT_EQ(headers.contentLength(), std::nullopt);
}

TEST(RequestHeadersTest, FieldWithoutValueIsSentAllTheSame) {
    EXPECT_EQ(linesOf(RequestHeaders({{"X-A", ""}, {"X-B", " \t"}})),
              (std::vector<std::string>{"X-A;", "X-B;", "Expect:"}));
}

TEST(RequestHeadersTest, FieldsOfTheTransportAreNotTheCallers) {
    EXPECT_EQ(linesOf(RequestHeaders({{"content-length", "3"},
                                      {"RANGE", "bytes=1-"},
                                      {"proxy-authorization", "x"},
                                      {"Proxy-connection", "x"},
                                      {"qz-internal-resume", "x"},
                                      {"Transfer-Encoding", "chunked"},
                                      {"Expect", "100-continue"}})),
              (std::vector<std::string>{"Expect: 100-continue"}));
}

TEST(RequestHeadersTest, TransferCodingsEndWithChunks) {
    const auto lineOf = [](const HttpHeaders& fields) {
        return linesOf(RequestHeaders(fields))[0];
    };
    for (const char* text : {"", " ", "identity", "Chunked", "identity,chunked", ",", "chunked,"}) {
        EXPECT_EQ(lineOf({{"Transfer-Encoding", text}}), "Expect:") << text;
    }
    for (const char* text : {"gzip", "gzip, chunked", "gzip,Chunked", " gzip ,, identity"}) {
        EXPECT_EQ(lineOf({{"transfer-encoding", text}}), "Transfer-Encoding: gzip, chunked")
            << text;
    }
    EXPECT_EQ(lineOf({{"Transfer-Encoding", "x;a=b"},
                      {"Transfer-Encoding", "gzip"},
                      {"Transfer-Encoding", "chunked"}}),
              "Transfer-Encoding: x;a=b, gzip, chunked");
    for (const char* text : {"chunked, gzip", "chunked, chunked", "gzip, chunked, gzip"}) {
        EXPECT_EQ(refusalOf({{"Transfer-Encoding", text}}),
                  "Transfer-Encoding of the request does not end with its chunks")
            << text;
    }
    EXPECT_NE(refusalOf({{"Transfer-Encoding", "chunked"}, {"Transfer-Encoding", "gzip"}}), "");
    RequestHeaders withoutBody({{"Transfer-Encoding", "gzip"}});
    EXPECT_TRUE(withoutBody.hasTransferCodings());
    withoutBody.dropTransferCodings();
    EXPECT_EQ(linesOf(withoutBody), (std::vector<std::string>{"Expect:"}));
}

TEST(RequestHeadersTest, LengthIsReadInFull) {
    EXPECT_EQ(RequestHeaders({{"Content-Length", "0"}}).contentLength(), 0);
    EXPECT_EQ(RequestHeaders({{"Content-Length", " 5000000000\t"}}).contentLength(), 5000000000);
    EXPECT_EQ(RequestHeaders({{"Content-Length", "9223372036854775807"}}).contentLength(),
              9223372036854775807);
    EXPECT_EQ(RequestHeaders({{"Content-Length", "7"}, {"content-length", "07"}}).contentLength(),
              7);
    for (const char* text :
         {"", " ", "-1", "+5", "5 5", "5,5", "0x5", "5.0", "9223372036854775808", "five"}) {
        EXPECT_EQ(refusalOf({{"Content-Length", text}}),
                  "Content-Length of the request is no length")
            << text;
    }
    EXPECT_EQ(refusalOf({{"Content-Length", "7"}, {"Content-Length", "8"}}),
              "The request has two different Content-Length headers");
}

TEST(RequestHeadersTest, ConditionGoesWithTheRangeItBelongsTo) {
    const RequestHeaders headers({{"If-Range", "\"mine\""}});
    EXPECT_EQ(linesOf(headers), (std::vector<std::string>{"Expect:"}));
    EXPECT_EQ(linesOf(headers, "bytes=1-"),
              (std::vector<std::string>{"If-Range: \"mine\"", "Range: bytes=1-", "Expect:"}));
    EXPECT_EQ(linesOf(headers, "bytes=1-", "\"ours\""),
              (std::vector<std::string>{"Range: bytes=1-", "If-Range: \"ours\"", "Expect:"}));
}

TEST(RequestHeadersTest, SensitiveFieldsGoInAnyLetterCase) {
    RequestHeaders headers({{"authorization", "1"},
                            {"COOKIE", "2"},
                            {"host", "3"},
                            {"x-mine", "4"},
                            {"X-Mine-Too", "5"}});
    headers.dropSensitive({"X-MINE"});
    EXPECT_EQ(linesOf(headers), (std::vector<std::string>{"X-Mine-Too: 5", "Expect:"}));
}

TEST(RequestHeadersTest, FieldsOfABodyGoWithIt) {
    RequestHeaders headers({{"Content-Type", "text/x"},
                            {"Content-Encoding", "gzip"},
                            {"Content-Language", "en"},
                            {"Content-Location", "/x"},
                            {"Transfer-Encoding", "gzip"},
                            {"Expect", "100-continue"},
                            {"Content-Length", "3"},
                            {"X-A", "1"}});
    headers.dropBodyFields();
    EXPECT_EQ(linesOf(headers), (std::vector<std::string>{"X-A: 1", "Expect:"}));
    EXPECT_EQ(headers.contentLength(), std::nullopt);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
