#include "entity/Completeness.h"

#include <gtest/gtest.h>

#include <ostream>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpResponse;
using httpclient_core::HttpResponseCode;

HttpResponse answer(int code, const HttpHeaders& headers) {
    HttpResponse response;
    response.setResponseCode(HttpResponseCode{code});
    response.setHeaders(headers);
    return response;
}

std::optional<std::string> check(int code, const HttpHeaders& headers, std::int64_t size) {
    return whyIncomplete(answer(code, headers), size);
}

TEST(CompletenessTest, ComparesWithTheAnnouncedLength) {
    EXPECT_EQ(check(200, {{"Content-Length", "10"}}, 10), std::nullopt);
    EXPECT_EQ(check(200, {{"Content-Length", "10"}}, 9), "received 9 of 10 bytes");
}

struct Row {
    const char* label;
    int code;
    HttpHeaders headers;
    std::int64_t size;
    std::optional<std::string> expected;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class CompletenessTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(CompletenessTableTest, Judges) {
    EXPECT_EQ(check(GetParam().code, GetParam().headers, GetParam().size), GetParam().expected);
}

HttpHeaders range(const char* text) {
    return {{"Content-Range", text}, {"Content-Length", "5"}};
}

const char* const onlyPart = "the server sent only a part";

INSTANTIATE_TEST_SUITE_P(
    Table,
    CompletenessTableTest,
    ::testing::Values(
        Row{"NothingAnnounced", 200, {}, 7, std::nullopt},
        Row{"EmptyBody", 200, {{"Content-Length", "0"}}, 0, std::nullopt},
        Row{"TooMuch", 200, {{"Content-Length", "3"}}, 4, "received 4 of 3 bytes"},
        Row{"BeyondTwoGibibytes",
            200,
            {{"Content-Length", "5000000000"}},
            4999999999,
            "received 4999999999 of 5000000000 bytes"},
        Row{"MalformedLengthTellsNothing", 200, {{"Content-Length", "3 apples"}}, 4, std::nullopt},
        Row{"LengthBesideChunkedIsIgnored",
            200,
            {{"Content-Length", "3"}, {"Transfer-Encoding", "chunked"}},
            4,
            std::nullopt},
        Row{"RestOfTheFile", 206, range("bytes 5-9/10"), 10, std::nullopt},
        Row{"RestWithUnknownTotal", 206, range("bytes 5-9/*"), 10, std::nullopt},
        Row{"RestOfWhatIsNotHeld", 206, range("bytes 5-9/10"), 5, "received 5 of 10 bytes"},
        Row{"BytesMissingAtTheEnd", 206, range("bytes 5-9/11"), 10, onlyPart},
        Row{"PartWithoutRange", 206, {{"Content-Length", "5"}}, 5, onlyPart},
        Row{"OtherUnit", 206, range("lines 5-9/10"), 10, onlyPart},
        Row{"NoNumbers", 206, range("bytes x-y/z"), 10, onlyPart},
        Row{"SlashBeforeDash", 206, range("bytes 5/9-10"), 10, onlyPart}),
    [](const auto& row) { return row.param.label; });

class IncompletePartTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(IncompletePartTableTest, Judges) {
    const HttpResponse response = answer(GetParam().code, GetParam().headers);
    EXPECT_EQ(whyIncompletePart(response, GetParam().size), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    IncompletePartTableTest,
    ::testing::Values(
        Row{"Part", 206, range("bytes 5-9/10"), 5, std::nullopt},
        Row{"CutShort", 206, range("bytes 5-9/10"), 4, "received 4 of 5 bytes"},
        Row{"RestAfterWhatIsHeld", 206, range("bytes 7-9/10"), 5, std::nullopt},
        Row{"ServerThatKnowsNoRanges", 200, {{"Content-Length", "10"}}, 10, std::nullopt},
        Row{"TheWholeCutShort", 200, {{"Content-Length", "10"}}, 9, "received 9 of 10 bytes"},
        Row{"SeveralRanges", 206, {{"Content-Length", "300"}}, 300, std::nullopt}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool
