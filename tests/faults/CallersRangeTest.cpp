#include "tests/support/LoopbackServer.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace httpclient_core;
using httpclient_core::testing::Connection;
using httpclient_core::testing::HeaderList;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;

struct Row {
    const char* label;
    std::string range;  ///< Of "0123456789".
    HeaderList fields;
    std::string body;
    std::string failure;  ///< The end of its text; empty for success.

    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

const std::string unnamed = "The server sent a part without saying which one";
const std::string other = "The server sent another range than the one asked for";
const std::string onlyPart = "The server sent only part of the range asked for";

std::vector<Row> rows() {
    const auto range = [](const char* value) { return HeaderList{{"Content-Range", value}}; };
    return {
        {"Right", "bytes=3-6", range("bytes 3-6/10"), "3456", ""},
        {"BeyondTheEnd", "bytes=3-60", range("bytes 3-9/10"), "3456789", ""},
        {"OpenEnded", "bytes=3-", range("bytes 3-9/10"), "3456789", ""},
        {"UnknownTotal", "bytes=3-", range("bytes 3-9/*"), "3456789", ""},
        {"Suffix", "bytes=-4", range("bytes 6-9/10"), "6789", ""},
        {"SuffixOfMoreThanAll", "bytes=-40", range("bytes 0-9/10"), "0123456789", ""},
        {"OtherUnit", "items=3-6", range("items 3-6/10"), "3456", ""},
        {"SeveralRanges",
         "bytes=0-1,5-6",
         {{"Content-Type", "multipart/byteranges; boundary=x"}},
         "--x--",
         ""},
        {"ShorterThanAsked", "bytes=3-6", range("bytes 3-4/10"), "34", onlyPart},
        {"ShorterThanTheRest", "bytes=3-", range("bytes 3-4/10"), "34", onlyPart},
        {"SuffixFromAnotherStart", "bytes=-4", range("bytes 7-9/10"), "789", other},
        {"AnotherStart", "bytes=3-6", range("bytes 2-6/10"), "23456", other},
        {"WithoutContentRange", "bytes=3-6", {}, "3456", unnamed},
        {"WithNonsense", "bytes=3-6", range("bytes 3-6"), "3456", unnamed},
        {"WithTwoThatDiffer",
         "bytes=3-6",
         {{"Content-Range", "bytes 3-6/10"}, {"Content-Range", "bytes 2-5/10"}},
         "3456",
         unnamed},
        {"AsSeveralParts",
         "bytes=3-6",
         {{"Content-Type", "multipart/byteranges; boundary=x"}},
         "--x--",
         unnamed},
    };
}

class CallersRangeTest : public ::testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(Answers,
                         CallersRangeTest,
                         ::testing::ValuesIn(rows()),
                         [](const auto& row) { return row.param.label; });

TEST_P(CallersRangeTest, IsMetOrFails) {
    boost::log::core::get()->set_logging_enabled(false);
    const Row& row = GetParam();
    LoopbackServer server([&row](const ReceivedRequest& request, Connection& connection) {
        EXPECT_EQ(request.header("Range"), row.range);
        connection.sendResponse(206, "Partial Content", row.fields, row.body);
    });
    CurlHttpClient client;
    HttpRequest request(HttpMethod::GET, URL(server.url()), {});
    request.setHeaderValue("Range", row.range);
    std::string failure;
    std::string body;
    try {
        body = client.makeRequest(std::move(request)).getResponseBodyString();
    } catch (const HttpRequestFailedException& error) {
        failure = error.what();
    }
    if (row.failure.empty()) {
        EXPECT_EQ(failure, "");
        EXPECT_EQ(body, row.body);
    } else {
        EXPECT_TRUE(failure.ends_with(row.failure)) << failure;
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
