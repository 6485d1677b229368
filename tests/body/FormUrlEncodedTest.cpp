#include "body/StreamLimit.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/FormUrlEncoded.h>
#include <foundation/httpclient_core/QueryParameters.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <istream>
#include <iterator>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using ::testing::IsEmpty;
using testing::LogCapture;
using namespace std::string_literals;

std::string readAll(std::istream& stream) {
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(FormUrlEncodedTest, SuppliesTypeLengthAndStreamOfAForm) {
    const FormUrlEncoded form({{"name", "John Smith"}, {"q", "a+b&c=d"}});
    const std::unique_ptr<std::istream> stream = form.stream();
    EXPECT_EQ(readAll(*stream), "name=John+Smith&q=a%2Bb%26c%3Dd");
    EXPECT_EQ(form.contentLength(), 31U);
    EXPECT_EQ(form.contentType().toString(), "application/x-www-form-urlencoded");
}

struct Row {
    const char* label;
    NameValueCollection fields;
    std::string body;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class FormUrlEncodedTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(FormUrlEncodedTableTest, Encodes) {
    const LogCapture log;
    const FormUrlEncoded form(GetParam().fields);
    EXPECT_EQ(readAll(*form.stream()), GetParam().body);
    EXPECT_EQ(form.contentLength(), GetParam().body.size());
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    FormUrlEncodedTableTest,
    ::testing::Values(
        Row{"NoFields", {}, ""},
        Row{"EmptyValueKeepsItsSign", {{"x", ""}, {"y", "1"}}, "x=&y=1"},
        Row{"EmptyName", {{"", "v"}, {"a", "1"}}, "=v&a=1"},
        Row{"AllEmpty", {{"", ""}}, "="},
        Row{"DuplicatesInOrder", {{"b", "1"}, {"a", "2"}, {"b", "1"}}, "b=1&a=2&b=1"},
        Row{"UTF8", {{"city", "\xC3\xBC"}}, "city=%C3%BC"},
        Row{"NamesAreEncodedToo", {{"a b&", "="}}, "a+b%26=%3D"},
        Row{"UnreservedStays", {{"Az09-._~", "-._~"}}, "Az09-._~=-._~"},
        Row{"PercentAndControls", {{"p", "100%\r\n\0\x7F"s}}, "p=100%25%0D%0A%00%7F"}),
    [](const auto& row) { return row.param.label; });

TEST(FormUrlEncodedTest, DiffersFromAQueryInSpacesAndEmptyValues) {
    const NameValueCollection fields{{"a b", ""}};
    EXPECT_EQ(readAll(*FormUrlEncoded(fields).stream()), "a+b=");
    EXPECT_EQ(QueryParameters(fields).toString(), "?a%20b");
}

TEST(FormUrlEncodedTest, ContentTypeHasNoParameters) {
    const ContentType type = FormUrlEncoded({{"a", "1"}}).contentType();
    EXPECT_EQ(type.getType(), "application/x-www-form-urlencoded");
    EXPECT_TRUE(type.getParameters().empty());
}

TEST(FormUrlEncodedTest, EachStreamReadsTheWholeBodyFromTheStart) {
    const FormUrlEncoded form({{"x", ""}, {"y", "1"}});
    const std::unique_ptr<std::istream> first = form.stream();
    const std::unique_ptr<std::istream> second = form.stream();
    EXPECT_EQ(first->tellg(), std::istream::pos_type(0));
    EXPECT_EQ(first->get(), 'x');
    EXPECT_EQ(readAll(*second), "x=&y=1");
    EXPECT_EQ(readAll(*first), "=&y=1");
    first->clear();
    first->seekg(0);
    EXPECT_EQ(readAll(*first), "x=&y=1");
}

TEST(FormUrlEncodedTest, StreamOutlivesTheForm) {
    auto form = std::make_unique<FormUrlEncoded>(NameValueCollection{{"a", "1"}});
    const std::unique_ptr<std::istream> stream = form->stream();
    form.reset();
    EXPECT_EQ(readAll(*stream), "a=1");
}

TEST(FormUrlEncodedTest, StreamOfAnEmptyFormIsAtItsEnd) {
    const FormUrlEncoded form{NameValueCollection()};
    EXPECT_EQ(form.contentLength(), 0U);
    EXPECT_EQ(form.stream()->peek(), std::istream::traits_type::eof());
}

TEST(FormUrlEncodedTest, CopyAndMoveCarryTheBody) {
    const FormUrlEncoded form({{"a", "1"}});
    FormUrlEncoded copy = form;
    EXPECT_EQ(readAll(*copy.stream()), "a=1");
    const FormUrlEncoded moved = std::move(copy);
    EXPECT_EQ(readAll(*moved.stream()), "a=1");
    copy = moved;
    EXPECT_EQ(copy.contentLength(), 3U);
    copy = FormUrlEncoded(NameValueCollection{{"b", "22"}});
    EXPECT_EQ(readAll(*copy.stream()), "b=22");
}

TEST(FormUrlEncodedTest, CollectionDoesNotConvertImplicitly) {
    static_assert(!std::is_convertible_v<NameValueCollection, FormUrlEncoded>);
}

// The largest body itself would take 2 GiB, so the check is tested apart from the stream.
TEST(FormUrlEncodedTest, BodyOfMoreThanTheLargestStreamIsAnAllocationFailure) {
    EXPECT_EQ(largestStreamSize, 2147483647U);
    EXPECT_NO_THROW(requireStreamSize(0));
    EXPECT_NO_THROW(requireStreamSize(2147483647U));
    for (const std::uint64_t size : {std::uint64_t{2147483648U}, std::uint64_t{4294967296U},
                                     std::uint64_t{4294967297U}, UINT64_MAX}) {
        try {
            requireStreamSize(size);
            FAIL() << size << " bytes were accepted";
        } catch (const std::bad_alloc& error) {
            EXPECT_EQ(typeid(error), typeid(std::bad_alloc)) << size;
        }
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
