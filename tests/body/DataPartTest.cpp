#include <foundation/httpclient_core/DataPart.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(DataPartTest, HoldsDataUnderAName) {
    const DataPart part(PartHeader("greeting", "text/plain"), "hello");
    EXPECT_EQ(part.getHeader().getPartName(), "greeting");
    EXPECT_EQ(part.getHeader().getContentType(), "text/plain");
    EXPECT_EQ(part.getData(), "hello");
}

TEST(DataPartTest, ConstructorsLeaveTheRestEmpty) {
    static_assert(!std::is_convertible_v<std::string, DataPart>);
    static_assert(!std::is_convertible_v<PartHeader, DataPart>);
    const DataPart nothing;
    EXPECT_EQ(nothing.getData(), "");
    EXPECT_EQ(nothing.getHeader().getPartName(), "");
    const DataPart data(std::string("data"));
    EXPECT_EQ(data.getData(), "data");
    EXPECT_EQ(data.getHeader().getPartName(), "");
    const DataPart header(PartHeader("name"));
    EXPECT_EQ(header.getData(), "");
    EXPECT_EQ(header.getHeader().getPartName(), "name");
}

TEST(DataPartTest, DataIsAnyBytes) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    DataPart part(bytes);
    EXPECT_EQ(part.getData(), bytes);
    part.setData("");
    EXPECT_EQ(part.getData(), "");
}

TEST(DataPartTest, SettersReplaceAndReachTheHeader) {
    DataPart part("data");
    part.setHeader(PartHeader("n", "t").withCustomHeaderValue("A", "1"));
    part.setData("other");
    EXPECT_EQ(part.getData(), "other");
    part.setPartName("m");
    part.setContentType("u");
    part.addCustomHeaderValue("a", "2");
    EXPECT_EQ(part.getHeader().getPartName(), "m");
    EXPECT_EQ(part.getHeader().getContentType(), "u");
    EXPECT_THAT(part.getHeader().getCustomHeaders(), ElementsAre(Pair("A", "1"), Pair("a", "2")));
    part.setCustomHeaders(HttpHeaders{{"B", "3"}});
    EXPECT_THAT(part.getHeader().getCustomHeaders(), ElementsAre(Pair("B", "3")));
    part.setHeader(PartHeader());
    EXPECT_EQ(part.getHeader().getPartName(), "");
    EXPECT_TRUE(part.getHeader().getCustomHeaders().empty());
    EXPECT_EQ(part.getData(), "other");
}

TEST(DataPartTest, GetHeaderReturnsACopy) {
    const DataPart part(PartHeader("n"));
    part.getHeader().setPartName("m");
    EXPECT_EQ(part.getHeader().getPartName(), "n");
}

TEST(DataPartTest, FluentFormsDoTheSameAndReturnTheObject) {
    DataPart part;
    EXPECT_EQ(&part.withHeader(PartHeader("h", "t")), &part);
    EXPECT_EQ(part.getHeader().getPartName(), "h");
    EXPECT_EQ(&part.withData("d"), &part);
    EXPECT_EQ(&part.withPartName("n"), &part);
    EXPECT_EQ(&part.withContentType("u"), &part);
    EXPECT_EQ(&part.withCustomHeaderValue("A", "1"), &part);
    EXPECT_EQ(part.getData(), "d");
    EXPECT_EQ(part.getHeader().getPartName(), "n");
    EXPECT_EQ(part.getHeader().getContentType(), "u");
    EXPECT_THAT(part.getHeader().getCustomHeaders(), ElementsAre(Pair("A", "1")));
}

TEST(DataPartTest, CopyAndMoveCarryEveryField) {
    const DataPart original(PartHeader("n", "t"), "data");
    DataPart copy = original;
    copy.withPartName("m").withData("other");
    EXPECT_EQ(original.getHeader().getPartName(), "n");
    EXPECT_EQ(original.getData(), "data");
    const DataPart moved = std::move(copy);
    EXPECT_EQ(moved.getHeader().getPartName(), "m");
    EXPECT_EQ(moved.getData(), "other");
    copy = original;
    EXPECT_EQ(copy.getHeader().getContentType() + copy.getData(), "tdata");
    copy = DataPart("last");
    EXPECT_EQ(copy.getHeader().getPartName() + copy.getData(), "last");
}

}  // namespace
}  // namespace foundation::httpclient_core
