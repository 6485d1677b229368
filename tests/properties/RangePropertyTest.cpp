#include "resume/ResumeMark.h"
#include "retry/HttpDate.h"
#include "tests/properties/ContentRangeProperty.h"
#include "tests/properties/Property.h"

#include <foundation/httpclient_core/HttpRequest.h>

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The numbers of ranges and dates as text: what is printed is read, and nothing else.
namespace foundation::httpclient_curl {
namespace {

using httpclient_core::testing::CaseRandom;
using httpclient_core::testing::forAllCases;

TEST(RangePropertyTest, ContentRangeIsReadAsByThePlainReading) {
    httpclient_core::testing::expectThePlainReadingOfContentRanges(ByteRange::fromContentRange);
}

TEST(RangePropertyTest, RangeReadsBackAsItIsPrinted) {
    forAllCases([](CaseRandom& random) {
        const auto first = static_cast<std::int64_t>(random.bits() >> (1 + random.below(63)));
        const bool hasLast = random.oneIn(2);
        const auto last = static_cast<std::int64_t>(random.bits() >> (1 + random.below(63)));
        const std::string text =
            "bytes=" + std::to_string(first) + "-" + (hasLast ? std::to_string(last) : "");
        const std::optional<ByteRange> range = ByteRange::fromRange(text);
        ASSERT_TRUE(range.has_value()) << text;
        ASSERT_EQ(range->first, first);
        ASSERT_EQ(range->last, hasLast ? last : -1);
        // One character more is another range or none.
        std::string other = text;
        other.insert(random.below(other.size() + 1), 1, random.oneOf("bytes=- ,+"));
        ASSERT_FALSE(ByteRange::fromRange(other).has_value()) << other;
    });
}

TEST(RangePropertyTest, MarkReadsBackAsItWasLeft) {
    forAllCases([](CaseRandom& random) {
        ResumeMark mark;
        mark.resumable = random.oneIn(2);
        mark.first = random.number<std::int64_t>();
        mark.held = random.number<std::int64_t>();
        mark.position = random.number<std::int64_t>();
        mark.tail = random.number<std::int64_t>();
        mark.total = random.number<std::int64_t>();
        mark.last = random.number<std::int64_t>();
        mark.validator.etag = random.bytes("\"W/ab", 20);
        mark.validator.lastModified = random.bytes("Sun, 06", 20);
        mark.validator.strength = static_cast<Validator::Strength>(random.below(3));
        mark.callersRange = random.bytes("bytes=-19", 20);
        httpclient_core::HttpRequest request(httpclient_core::HttpMethod::GET,
                                             httpclient_core::URL("http://host/"), {});
        mark.leaveIn(request);
        const std::optional<ResumeMark> taken = ResumeMark::takeFrom(request);
        ASSERT_TRUE(taken.has_value());
        ASSERT_TRUE(request.getHeaders().empty());
        ASSERT_EQ(taken->resumable, mark.resumable);
        ASSERT_EQ(taken->first, mark.first);
        ASSERT_EQ(taken->held, mark.held);
        ASSERT_EQ(taken->position, mark.position);
        ASSERT_EQ(taken->tail, mark.tail);
        ASSERT_EQ(taken->total, mark.total);
        ASSERT_EQ(taken->last, mark.last);
        ASSERT_EQ(taken->callersRange, mark.callersRange);
        // Of a body that is not continued nobody asks for the version.
        ASSERT_EQ(taken->validator.etag, mark.resumable ? mark.validator.etag : "");
        ASSERT_EQ(taken->validator.lastModified, mark.resumable ? mark.validator.lastModified : "");
    });
}

TEST(RangePropertyTest, DatesReadBackInAllThreeForms) {
    const auto now = std::chrono::system_clock::from_time_t(1800000000);
    forAllCases([now](CaseRandom& random) {
        // From 1980 to 2069: the form of two digits means years from 50 before to 50 after the present.
        const auto seconds = static_cast<std::time_t>(315532800 + random.below(2840140800));
        std::tm fields{};
        ASSERT_NE(::gmtime_r(&seconds, &fields), nullptr);
        std::array<std::array<char, 64>, 3> texts{};
        std::strftime(texts[0].data(), 64, "%a, %d %b %Y %H:%M:%S GMT", &fields);
        std::strftime(texts[1].data(), 64, "%A, %d-%b-", &fields);
        // The compiler warns of "%y", whatever it is for.
        const std::string day = texts[1].data();
        std::snprintf(texts[1].data(), 64, "%s%02d %02d:%02d:%02d GMT", day.c_str(),
                      fields.tm_year % 100, fields.tm_hour, fields.tm_min, fields.tm_sec);
        std::strftime(texts[2].data(), 64, "%a %b %e %H:%M:%S %Y", &fields);
        for (const auto& text : texts) {
            const auto date = parseHttpDate(text.data(), now);
            ASSERT_TRUE(date.has_value()) << text.data();
            ASSERT_EQ(std::chrono::system_clock::to_time_t(*date), seconds) << text.data();
        }
    });
}

}  // namespace
}  // namespace foundation::httpclient_curl
