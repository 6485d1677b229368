#include "output/AnswerStream.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace foundation::httpclient_tool {
namespace {

using testing::TemporaryFolder;

class AnswerStreamTest : public ::testing::Test {
protected:
    std::unique_ptr<AnswerStream> begin(std::int64_t offset = 0) {
        const std::uint64_t ticket = file_->begin(offset, entity_);
        return std::make_unique<AnswerStream>(file_, ticket, offset, [this] { return isCurrent_; });
    }

    TemporaryFolder folder_;
    Entity entity_{.validator = "\"v\"", .total = -1, .continuable = true};
    bool isCurrent_ = true;
    std::shared_ptr<Destination> file_ = openDestination(
        {.path = folder_ / "f", .standardOutput = -1, .url = "http://h/", .resume = false});
};

TEST_F(AnswerStreamTest, WhatIsWrittenIsInTheDestinationAndCanBeReadBack) {
    const auto stream = begin();
    *stream << "Hello" << ' ' << 42;
    EXPECT_EQ(file_->size(), 8);
    EXPECT_EQ(stream->tellp(), std::streampos(8));
    std::string text;
    std::getline(*stream, text);
    EXPECT_EQ(text, "Hello 42");
}

TEST_F(AnswerStreamTest, TellsNoPositionBeforeTheFirstByte) {
    const auto stream = begin();
    EXPECT_EQ(stream->tellp(), std::streampos(-1));
    EXPECT_TRUE(stream->good());
    *stream << 'x';
    EXPECT_EQ(stream->tellp(), std::streampos(1));
}

TEST_F(AnswerStreamTest, ReadsFromWhereItWasSoughtTo) {
    const auto stream = begin();
    *stream << "0123456789";
    stream->seekg(-4, std::ios::end);
    EXPECT_EQ(stream->get(), '6');
    EXPECT_EQ(stream->tellg(), std::streampos(7));
    *stream << "ab";
    EXPECT_EQ(testing::readAll(*stream), "789ab");
    stream->clear();
    stream->seekg(2);
    EXPECT_EQ(stream->get(), '2');
    stream->seekg(13);
    EXPECT_TRUE(stream->fail());
}

TEST_F(AnswerStreamTest, WhatWentOutCannotBeWrittenOver) {
    const auto stream = begin();
    *stream << "0123";
    stream->seekp(2);
    EXPECT_TRUE(stream->fail());
    stream->clear();
    stream->seekp(4);
    EXPECT_TRUE(stream->good());
    *stream << "4";
    EXPECT_EQ(testing::readAll(*stream), "01234");
}

TEST_F(AnswerStreamTest, PositionZeroIsTheFirstByteOfTheAnswer) {
    *begin() << "01234";
    ASSERT_TRUE(file_->keepForLater());
    file_.reset();
    file_ = openDestination(
        {.path = folder_ / "f", .standardOutput = -1, .url = "http://h/", .resume = true});
    const auto stream = begin(5);
    *stream << "567";
    EXPECT_EQ(stream->tellp(), std::streampos(3));
    EXPECT_EQ(testing::readAll(*stream), "567");
    EXPECT_EQ(file_->size(), 8);
}

TEST_F(AnswerStreamTest, AStreamOfAnEarlierBodyTakesNothing) {
    const auto first = begin();
    *first << "first";
    const auto second = begin();
    *second << "second";
    *first << "late";
    EXPECT_TRUE(first->bad());
    EXPECT_EQ(file_->size(), 6);
}

TEST_F(AnswerStreamTest, TheFirstByteOfAnotherAnswerIsRefused) {
    const auto stream = begin();
    isCurrent_ = false;
    *stream << "an error page";
    EXPECT_TRUE(stream->bad());
    EXPECT_EQ(file_->size(), 0);
}

TEST_F(AnswerStreamTest, ABodyThatHasBegunIsContinuedByTheNextAnswer) {
    const auto stream = begin();
    *stream << "01";
    isCurrent_ = false;
    *stream << "23";
    EXPECT_EQ(testing::readAll(*stream), "0123");
}

TEST_F(AnswerStreamTest, WithoutADestinationEverythingVanishes) {
    AnswerStream stream;
    stream << "an error page";
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.tellp(), std::streampos(-1));
    EXPECT_EQ(testing::readAll(stream), "");
}

}  // namespace
}  // namespace foundation::httpclient_tool
