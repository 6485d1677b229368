#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/MultipartBody.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::string_literals;
using testing::LogCapture;
using testing::throwsExactly;

DataPart data(const std::string& name, const std::string& content) {
    return DataPart(PartHeader(name), content);
}

FilePart file(const std::string& name, const std::string& path) {
    return FilePart(PartHeader(name), path);
}

// One line per part: kind, name and content.
std::vector<std::string> describe(const MultipartBody& body) {
    std::vector<std::string> lines;
    for (const auto& part : body.getContent()) {
        if (const auto* dataPart = std::get_if<0>(&part)) {
            lines.push_back("data " + dataPart->getHeader().getPartName() + ": " +
                            dataPart->getData());
        } else {
            const FilePart& filePart = std::get<1>(part);
            lines.push_back("file " + filePart.getHeader().getPartName() + ": " +
                            filePart.getFilePath().native());
        }
    }
    return lines;
}

TEST(MultipartBodyTest, CollectsPartsAndFindsThemByName) {
    MultipartBody body;
    body.withPart(data("title", "My cat")).withPart(file("picture", "cat.png"));
    EXPECT_EQ(body.getDataPart("title").getData(), "My cat");
    EXPECT_EQ(body.getFilePart("picture").getFilePath(), "cat.png");
    EXPECT_THAT(describe(body), ElementsAre("data title: My cat", "file picture: cat.png"));
}

TEST(MultipartBodyTest, IsEmptyWithoutParts) {
    MultipartBody body;
    EXPECT_TRUE(body.empty());
    EXPECT_THAT(body.getContent(), IsEmpty());
    body.addPart(DataPart());
    EXPECT_FALSE(body.empty());
    body.removePart("");
    EXPECT_TRUE(body.empty());
    body.addPart(FilePart("f"));
    EXPECT_FALSE(body.empty());
}

TEST(MultipartBodyTest, PartsKeepTheOrderInWhichTheyWereAdded) {
    MultipartBody body;
    body.addPart(file("b", "1"));
    body.addPart(data("a", "2"));
    body.addPart(file("a", "3"));
    body.addPart(data("a", "4"));
    EXPECT_THAT(describe(body), ElementsAre("file b: 1", "data a: 2", "file a: 3", "data a: 4"));
}

TEST(MultipartBodyTest, FluentFormsReturnTheBody) {
    MultipartBody body;
    EXPECT_EQ(&body.withPart(data("a", "1")), &body);
    EXPECT_EQ(&body.withPart(file("a", "2")), &body);
    EXPECT_THAT(describe(body), ElementsAre("data a: 1", "file a: 2"));
}

TEST(MultipartBodyTest, DuplicatesAreKeptAndTheFirstAnswers) {
    MultipartBody body;
    body.withPart(data("f", "1")).withPart(data("f", "2"));
    body.withPart(file("f", "x")).withPart(file("f", "y"));
    EXPECT_EQ(body.getContent().size(), 4U);
    EXPECT_EQ(body.getDataPart("f").getData(), "1");
    EXPECT_EQ(body.getFilePart("f").getFilePath(), "x");
    body.removePart("f");
    EXPECT_TRUE(body.empty());
}

TEST(MultipartBodyTest, BothKindsMayShareANameAndGoTogether) {
    MultipartBody body;
    body.withPart(file("f", "x")).withPart(data("f", "1"));
    EXPECT_TRUE(body.hasDataPart("f"));
    EXPECT_TRUE(body.hasFilePart("f"));
    body.removePart("f");
    EXPECT_FALSE(body.hasDataPart("f"));
    EXPECT_FALSE(body.hasFilePart("f"));
}

TEST(MultipartBodyTest, NamesAreMatchedExactly) {
    MultipartBody body;
    body.withPart(data("f", "1")).withPart(file("g", "x"));
    for (const std::string& name : {"F"s, "f "s, " f"s, ""s, "ff"s, "f\0"s}) {
        EXPECT_FALSE(body.hasDataPart(name)) << '"' << name << '"';
    }
    EXPECT_TRUE(body.hasDataPart("f"));
    EXPECT_FALSE(body.hasFilePart("G"));
    body.removePart("F");
    body.removePart("G");
    EXPECT_EQ(body.getContent().size(), 2U);
}

TEST(MultipartBodyTest, LookUpsSeeTheirOwnKindOnly) {
    const MultipartBody body = MultipartBody().withPart(data("d", "1")).withPart(file("f", "x"));
    EXPECT_TRUE(body.hasDataPart("d"));
    EXPECT_FALSE(body.hasFilePart("d"));
    EXPECT_TRUE(body.hasFilePart("f"));
    EXPECT_FALSE(body.hasDataPart("f"));
}

TEST(MultipartBodyTest, GetDataPartOfAMissingNameThrowsOutOfRange) {
    const LogCapture log;
    MultipartBody body;
    body.withPart(file("x", "f")).withPart(file("x", "g"));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { body.getDataPart("x"); },
                                                 "Data part with name=\"x\" not found."));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { body.getDataPart(""); },
                                                 "Data part with name=\"\" not found."));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { body.getDataPart("a \"b\"\n"); },
                                                 "Data part with name=\"a \"b\"\n\" not found."));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(MultipartBodyTest, GetFilePartOfAMissingNameThrowsOutOfRange) {
    const LogCapture log;
    MultipartBody body;
    body.withPart(data("x", "1"));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { body.getFilePart("x"); },
                                                 "File part with name=\"x\" not found."));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([] { MultipartBody().getFilePart("X y"); },
                                                 "File part with name=\"X y\" not found."));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(MultipartBodyTest, EmptyNameIsANameLikeAnyOther) {
    MultipartBody body;
    body.withPart(data("a", "1")).withPart(DataPart("nameless")).withPart(FilePart("path"));
    EXPECT_TRUE(body.hasDataPart(""));
    EXPECT_EQ(body.getDataPart("").getData(), "nameless");
    EXPECT_EQ(body.getFilePart("").getFilePath(), "path");
    body.removePart("");
    EXPECT_THAT(describe(body), ElementsAre("data a: 1"));
}

TEST(MultipartBodyTest, RemovePartKeepsTheOrderOfTheOthers) {
    MultipartBody body;
    for (const char* name : {"a", "x", "b", "x", "c"}) {
        body.withPart(data(name, "1")).withPart(file(name, "2"));
    }
    body.removePart("x");
    EXPECT_THAT(describe(body), ElementsAre("data a: 1", "file a: 2", "data b: 1", "file b: 2",
                                            "data c: 1", "file c: 2"));
    body.removePart("absent");
    EXPECT_EQ(body.getContent().size(), 6U);
}

TEST(MultipartBodyTest, GettersReturnCopies) {
    MultipartBody body;
    body.addPart(data("a", "1"));
    body.getDataPart("a").setData("2");
    body.getContent().clear();
    EXPECT_THAT(describe(body), ElementsAre("data a: 1"));
}

TEST(MultipartBodyTest, CopyAndMoveCarryEveryPart) {
    const MultipartBody original =
        MultipartBody().withPart(data("a", "1")).withPart(file("b", "2"));
    MultipartBody copy = original;
    copy.removePart("a");
    EXPECT_EQ(original.getContent().size(), 2U);
    const MultipartBody moved = std::move(copy);
    EXPECT_THAT(describe(moved), ElementsAre("file b: 2"));
    copy = original;
    EXPECT_THAT(describe(copy), ElementsAre("data a: 1", "file b: 2"));
    copy = MultipartBody();
    EXPECT_TRUE(copy.empty());
}

}  // namespace
}  // namespace foundation::httpclient_core
