#include "entity/ContentRange.h"
#include "entity/Entity.h"

#include <gtest/gtest.h>

#include <ostream>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpResponseCode;

const char* const changed = "Sat, 01 Nov 2025 10:00:00 GMT";

TEST(EntityTest, AStrongTagOfAServerWithRangesCanBeContinued) {
    const Entity entity = Entity::fromHead(
        HttpResponseCode::OK,
        {{"ETag", "\"v\""}, {"Accept-Ranges", "bytes"}, {"Content-Length", "5000000000"}});
    EXPECT_EQ(entity.validator, "\"v\"");
    EXPECT_EQ(entity.total, 5'000'000'000);
    EXPECT_TRUE(entity.continuable);
}

struct Row {
    const char* label;
    int code;
    HttpHeaders headers;
    const char* validator;
    std::int64_t total;
    bool continuable;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class EntityTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(EntityTableTest, IsReadAs) {
    const Entity entity = Entity::fromHead(HttpResponseCode{GetParam().code}, GetParam().headers);
    EXPECT_EQ(entity.validator, GetParam().validator);
    EXPECT_EQ(entity.total, GetParam().total);
    EXPECT_EQ(entity.continuable, GetParam().continuable);
}

HttpHeaders dated(const char* date) {
    return {{"Last-Modified", changed}, {"Date", date}, {"Accept-Ranges", "bytes"}};
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    EntityTableTest,
    ::testing::Values(
        Row{"Nothing", 200, {}, "", -1, false},
        Row{"WeakTag", 200, {{"ETag", "W/\"v\""}, {"Accept-Ranges", "bytes"}}, "", -1, false},
        Row{"WeakTagBesideAnOldDate",
            200,
            {{"ETag", "W/\"v\""},
             {"Last-Modified", changed},
             {"Date", "Sat, 01 Nov 2025 11:00:00 GMT"},
             {"Accept-Ranges", "bytes"}},
            "",
            -1,
            false},
        Row{"TagWithoutQuotes", 200, {{"ETag", "v"}, {"Accept-Ranges", "bytes"}}, "", -1, false},
        Row{"TagWithoutItsEnd", 200, {{"ETag", "\"v"}, {"Accept-Ranges", "bytes"}}, "", -1, false},
        Row{"OneQuote", 200, {{"ETag", "\""}, {"Accept-Ranges", "bytes"}}, "", -1, false},
        Row{"CodedAsItIs",
            200,
            {{"ETag", "\"v\""}, {"Accept-Ranges", "bytes"}, {"Content-Encoding", "identity"}},
            "\"v\"",
            -1,
            true},
        Row{"DateWithMoreBehind", 200, dated("Sat, 01 Nov 2025 10:01:00 GMT+1"), "", -1, false},
        Row{"NoRanges", 200, {{"ETag", "\"v\""}}, "\"v\"", -1, false},
        Row{"RangesRefused",
            200,
            {{"ETag", "\"v\""}, {"Accept-Ranges", "none"}},
            "\"v\"",
            -1,
            false},
        Row{"Coded",
            200,
            {{"ETag", "\"v\""}, {"Accept-Ranges", "bytes"}, {"Content-Encoding", "gzip"}},
            "\"v\"",
            -1,
            false},
        Row{"OldDate", 200, dated("Sat, 01 Nov 2025 10:01:00 GMT"), changed, -1, true},
        Row{"FreshDate", 200, dated("Sat, 01 Nov 2025 10:00:59 GMT"), "", -1, false},
        Row{"DateInTheFuture", 200, dated("Sat, 01 Nov 2025 09:00:00 GMT"), "", -1, false},
        Row{"NoAnswerDate",
            200,
            {{"Last-Modified", changed}, {"Accept-Ranges", "bytes"}},
            "",
            -1,
            false},
        Row{"NoDate", 200, {{"Last-Modified", "soon"}, {"Date", changed}}, "", -1, false},
        Row{"Chunked",
            200,
            {{"Content-Length", "5"}, {"Transfer-Encoding", "chunked"}},
            "",
            -1,
            false},
        Row{"Part",
            206,
            {{"ETag", "\"v\""}, {"Content-Range", "bytes 5-9/10"}, {"Content-Length", "5"}},
            "\"v\"",
            10,
            true},
        Row{"PartOfUnknown",
            206,
            {{"ETag", "\"v\""}, {"Content-Range", "bytes 5-9/*"}},
            "\"v\"",
            -1,
            true},
        Row{"Created", 201, {{"ETag", "\"v\""}, {"Accept-Ranges", "bytes"}}, "\"v\"", -1, false}),
    [](const auto& row) { return row.param.label; });

TEST(ContentRangeTest, ReadsFirstLastAndTotal) {
    const auto range = ContentRange::parse("bytes 5-9/10");
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->first, 5);
    EXPECT_EQ(range->last, 9);
    EXPECT_EQ(range->total, 10);
    EXPECT_EQ(ContentRange::parse("bytes 5-9/*")->total, -1);
}

TEST(ContentRangeTest, NumberWithASignIsNone) {
    for (const char* text : {"bytes 0--0/5", "bytes 0--0/*", "bytes 0-+1/5", "bytes 0-1/+5"}) {
        EXPECT_FALSE(ContentRange::parse(text).has_value()) << text;
    }
    EXPECT_FALSE(parseSize("-0").has_value());
    EXPECT_EQ(parseSize("0"), 0);
}

TEST(ContentRangeTest, RefusesWhatMakesNoSense) {
    for (const char* text : {"", "bytes", "bytes */10", "bytes 9-5/10", "bytes 5-9/9",
                             "bytes -9/10", "bytes 5-/10", "lines 5-9/10", "bytes 5-9",
                             "bytes 5-9/10 ", "bytes 5-9/-1", "bytes 99999999999999999999-9/10"}) {
        EXPECT_FALSE(ContentRange::parse(text).has_value()) << text;
    }
}

}  // namespace
}  // namespace foundation::httpclient_tool
