#include <foundation/httpclient_core/PartHeader.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(PartHeaderTest, DescribesAPart) {
    PartHeader header("avatar", "image/png");
    header.addCustomHeaderValue("X-Origin", "camera");
    EXPECT_EQ(header.getPartName(), "avatar");
    EXPECT_EQ(header.getContentType(), "image/png");
    EXPECT_EQ(header.getCustomHeaders().getHeaderValue("x-origin"), "camera");
}

TEST(PartHeaderTest, DefaultIsEmpty) {
    const PartHeader header;
    EXPECT_EQ(header.getPartName(), "");
    EXPECT_EQ(header.getContentType(), "");
    EXPECT_TRUE(header.getCustomHeaders().empty());
}

TEST(PartHeaderTest, NameAloneLeavesTheContentTypeEmpty) {
    static_assert(!std::is_convertible_v<std::string, PartHeader>);
    const PartHeader header("name");
    EXPECT_EQ(header.getPartName(), "name");
    EXPECT_EQ(header.getContentType(), "");
    EXPECT_TRUE(header.getCustomHeaders().empty());
}

TEST(PartHeaderTest, SettersReplaceWithAnyText) {
    PartHeader header("old", "old/old");
    header.setPartName("n\"\r\n\xC3\xA9");
    header.setContentType("no type; at all");
    EXPECT_EQ(header.getPartName(), "n\"\r\n\xC3\xA9");
    EXPECT_EQ(header.getContentType(), "no type; at all");
    header.setPartName("");
    header.setContentType("");
    EXPECT_EQ(header.getPartName(), "");
    EXPECT_EQ(header.getContentType(), "");
}

TEST(PartHeaderTest, SetCustomHeadersReplacesThemAll) {
    PartHeader header;
    header.addCustomHeaderValue("A", "1");
    header.setCustomHeaders(HttpHeaders{{"B", "2"}, {"b", "3"}});
    EXPECT_THAT(header.getCustomHeaders(), ElementsAre(Pair("B", "2"), Pair("b", "3")));
    header.setCustomHeaders(HttpHeaders());
    EXPECT_TRUE(header.getCustomHeaders().empty());
}

TEST(PartHeaderTest, AddCustomHeaderValueKeepsEarlierOnes) {
    PartHeader header;
    header.addCustomHeaderValue("A", "1");
    header.addCustomHeaderValue("a", "2");
    header.addCustomHeaderValue("A", "");
    EXPECT_THAT(header.getCustomHeaders(),
                ElementsAre(Pair("A", "1"), Pair("a", "2"), Pair("A", "")));
}

TEST(PartHeaderTest, GetCustomHeadersReturnsACopy) {
    const PartHeader header;
    header.getCustomHeaders().addHeaderValue("A", "1");
    EXPECT_TRUE(header.getCustomHeaders().empty());
}

TEST(PartHeaderTest, FluentFormsDoTheSameAndReturnTheObject) {
    PartHeader header;
    EXPECT_EQ(&header.withPartName("n"), &header);
    EXPECT_EQ(&header.withContentType("text/plain"), &header);
    EXPECT_EQ(&header.withCustomHeaderValue("A", "1").withCustomHeaderValue("A", "2"), &header);
    EXPECT_EQ(header.getPartName(), "n");
    EXPECT_EQ(header.getContentType(), "text/plain");
    EXPECT_THAT(header.getCustomHeaders(), ElementsAre(Pair("A", "1"), Pair("A", "2")));
}

TEST(PartHeaderTest, CopyAndMoveCarryEveryField) {
    const auto original = PartHeader("n", "t").withCustomHeaderValue("A", "1");
    PartHeader copy = original;
    copy.withPartName("other").withCustomHeaderValue("B", "2");
    EXPECT_EQ(original.getPartName(), "n");
    EXPECT_EQ(original.getCustomHeaders().size(), 1U);
    const PartHeader moved = std::move(copy);
    EXPECT_EQ(moved.getPartName(), "other");
    EXPECT_EQ(moved.getContentType(), "t");
    EXPECT_THAT(moved.getCustomHeaders(), ElementsAre(Pair("A", "1"), Pair("B", "2")));
    copy = original;
    EXPECT_EQ(copy.getPartName(), "n");
    EXPECT_EQ(copy.getCustomHeaders().getHeaderValue("a"), "1");
    copy = PartHeader("m", "u");
    EXPECT_EQ(copy.getPartName() + copy.getContentType(), "mu");
    EXPECT_TRUE(copy.getCustomHeaders().empty());
}

}  // namespace
}  // namespace foundation::httpclient_core
