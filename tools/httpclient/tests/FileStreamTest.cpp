#include "tools/httpclient/tests/SmallFilesOnly.h"
#include "tools/httpclient/tests/TemporaryFolder.h"
#include "transfer/FileStream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace foundation::httpclient_tool {
namespace {

std::shared_ptr<BodyFile> makeFile() {
    return BodyFile::createUnnamed(std::filesystem::temp_directory_path());
}

TEST(FileStreamTest, WhatIsWrittenCanBeReadBack) {
    const auto file = makeFile();
    FileStream stream(file);
    stream << "Hello" << ' ' << 42;
    EXPECT_EQ(stream.tellp(), std::streampos(8));
    EXPECT_EQ(file->size(), 8);
    std::string text;
    std::getline(stream, text);
    EXPECT_EQ(text, "Hello 42");
}

TEST(FileStreamTest, IsInTheFileAtOnceWithoutFlush) {
    const auto file = makeFile();
    FileStream stream(file);
    stream.put('x');
    char byte = 0;
    EXPECT_EQ(file->read(0, &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST(FileStreamTest, PositionsForReadingAndWritingAreTwo) {
    FileStream stream(makeFile());
    stream << "0123456789";
    EXPECT_EQ(stream.tellg(), std::streampos(0));
    stream.seekp(2);
    stream << "ab";
    EXPECT_EQ(stream.tellp(), std::streampos(4));
    stream.seekg(-9, std::ios::end);
    EXPECT_EQ(stream.get(), '1');
    EXPECT_EQ(stream.get(), 'a');
    EXPECT_EQ(stream.tellg(), std::streampos(3));
    stream.seekg(1, std::ios::cur);
    EXPECT_EQ(stream.get(), '4');
    EXPECT_TRUE(stream.good());
    stream.seekp(-1);
    EXPECT_TRUE(stream.fail());
}

TEST(FileStreamTest, ReadsMoreThanItsBuffer) {
    FileStream stream(makeFile());
    const std::string text(10000, 'x');
    stream << text << "end";
    EXPECT_EQ(testing::readAll(stream), text + "end");
}

TEST(FileStreamTest, ANewStreamAfterClearStartsOverWhileTheOldOneStillLives) {
    const auto file = makeFile();
    FileStream old(file);
    old << "old content";
    file->clear();
    FileStream fresh(file);
    EXPECT_EQ(fresh.tellp(), std::streampos(0));
    fresh << "new";
    old.flush();
    EXPECT_EQ(testing::readAll(fresh), "new");
    EXPECT_EQ(file->size(), 3);
}

TEST(FileStreamTest, AWriteThatFailsShowsAtOnceAndForEver) {
    const auto file = makeFile();
    FileStream stream(file);
    {
        const testing::SmallFilesOnly limit(10);
        stream << "123456789";
        EXPECT_TRUE(stream.good());
        stream << "abc";
        EXPECT_TRUE(stream.bad());
        EXPECT_EQ(file->error(), EFBIG);
    }
    stream.clear();
    stream << "x";
    EXPECT_TRUE(stream.bad());
    EXPECT_FALSE(file->commit());
}

TEST(FileStreamTest, CommitOfAGoodFileSucceeds) {
    const auto file = makeFile();
    EXPECT_TRUE(file->write(0, "x"));
    EXPECT_TRUE(file->commit());
    EXPECT_EQ(file->error(), 0);
}

}  // namespace
}  // namespace foundation::httpclient_tool
