#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/FilePart.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using ::testing::Pair;
using testing::throwsExactly;

TEST(FilePartTest, NamesAFileUnderAName) {
    const FilePart part(PartHeader("avatar", "image/png"), "pictures/me.png");
    EXPECT_EQ(part.getHeader().getPartName(), "avatar");
    EXPECT_EQ(part.getHeader().getContentType(), "image/png");
    EXPECT_EQ(part.getFilePath(), "pictures/me.png");
}

TEST(FilePartTest, HasAlwaysAPath) {
    static_assert(!std::is_default_constructible_v<FilePart>);
    static_assert(!std::is_constructible_v<FilePart, PartHeader>);
    static_assert(!std::is_convertible_v<std::filesystem::path, FilePart>);
    const FilePart part("file");
    EXPECT_EQ(part.getFilePath(), "file");
    EXPECT_EQ(part.getHeader().getPartName(), "");
    EXPECT_TRUE(part.getHeader().getCustomHeaders().empty());
}

TEST(FilePartTest, PathIsStoredAsGivenWithoutALook) {
    for (const std::string path : {"/does/not/exist/\xC3\xA9.bin", " ", ".", "a//b/../c/", "/"}) {
        EXPECT_EQ(FilePart(path).getFilePath().native(), path);
    }
}

TEST(FilePartTest, ConstructorsRefuseAnEmptyPath) {
    const LogCapture log;
    EXPECT_TRUE(
        throwsExactly<std::logic_error>([] { const FilePart part(""); }, "Empty file path."));
    EXPECT_TRUE(throwsExactly<std::logic_error>(
        [] { const FilePart part(PartHeader("n"), std::filesystem::path()); }, "Empty file path."));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(FilePartTest, SetFilePathRefusesAnEmptyPathAndKeepsTheOldOne) {
    const LogCapture log;
    FilePart part(PartHeader("n"), "old");
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { part.setFilePath(""); }, "Empty file path."));
    EXPECT_EQ(part.getFilePath(), "old");
    EXPECT_EQ(part.getHeader().getPartName(), "n");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(FilePartTest, SettersReplaceAndReachTheHeader) {
    FilePart part("old");
    part.setFilePath("new");
    EXPECT_EQ(part.getFilePath(), "new");
    part.setHeader(PartHeader("n", "t").withCustomHeaderValue("A", "1"));
    part.setPartName("m");
    part.setContentType("u");
    part.addCustomHeaderValue("a", "2");
    EXPECT_EQ(part.getHeader().getPartName(), "m");
    EXPECT_EQ(part.getHeader().getContentType(), "u");
    EXPECT_THAT(part.getHeader().getCustomHeaders(), ElementsAre(Pair("A", "1"), Pair("a", "2")));
    part.setCustomHeaders(HttpHeaders{{"B", "3"}});
    EXPECT_THAT(part.getHeader().getCustomHeaders(), ElementsAre(Pair("B", "3")));
    EXPECT_EQ(part.getFilePath(), "new");
}

TEST(FilePartTest, GetHeaderReturnsACopy) {
    const FilePart part(PartHeader("n"), "file");
    part.getHeader().setPartName("m");
    EXPECT_EQ(part.getHeader().getPartName(), "n");
}

TEST(FilePartTest, FluentFormsDoTheSameAndReturnTheObject) {
    FilePart part("file");
    EXPECT_EQ(&part.withHeader(PartHeader("h", "t")), &part);
    EXPECT_EQ(part.getHeader().getPartName(), "h");
    EXPECT_EQ(&part.withPartName("n"), &part);
    EXPECT_EQ(&part.withContentType("u"), &part);
    EXPECT_EQ(&part.withCustomHeaderValue("A", "1"), &part);
    EXPECT_EQ(part.getHeader().getPartName(), "n");
    EXPECT_EQ(part.getHeader().getContentType(), "u");
    EXPECT_THAT(part.getHeader().getCustomHeaders(), ElementsAre(Pair("A", "1")));
    EXPECT_EQ(part.getFilePath(), "file");
}

TEST(FilePartTest, CopyAndMoveCarryEveryField) {
    const FilePart original(PartHeader("n", "t"), "file");
    FilePart copy = original;
    copy.withPartName("m").setFilePath("other");
    EXPECT_EQ(original.getHeader().getPartName(), "n");
    EXPECT_EQ(original.getFilePath(), "file");
    const FilePart moved = std::move(copy);
    EXPECT_EQ(moved.getHeader().getPartName(), "m");
    EXPECT_EQ(moved.getFilePath(), "other");
    copy = original;
    EXPECT_EQ(copy.getFilePath(), "file");
    copy = FilePart("last");
    EXPECT_EQ(copy.getFilePath(), "last");
    EXPECT_EQ(copy.getHeader().getPartName(), "");
}

}  // namespace
}  // namespace foundation::httpclient_core
