#include "support/Streams.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <istream>
#include <limits>
#include <new>
#include <ostream>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

namespace foundation::httpclient_core::support {
namespace {

// A buffer that can be read and written but has no positions, as that of a pipe.
class PipeBuffer : public std::streambuf {
public:
    explicit PipeBuffer(std::string text) : text_(std::move(text)) {
        setg(text_.data(), text_.data(), text_.data() + text_.size());
    }
    std::string written;

protected:
    int_type overflow(int_type c) override {
        written += traits_type::to_char_type(c);
        return c;
    }

private:
    std::string text_;
};

TEST(StreamsTest, RewoundStreamReadsItsTextAgain) {
    std::istringstream stream("body");
    EXPECT_EQ(readRest(stream), "body");
    rewind(stream);
    EXPECT_EQ(readRest(stream), "body");
}

TEST(StreamsTest, RewindRepairsAStreamThatWasReadPastItsEnd) {
    std::istringstream stream("body");
    std::string text;
    stream >> text >> text;
    ASSERT_TRUE(stream.eof() && stream.fail());
    rewind(stream);
    EXPECT_TRUE(stream.good());
    stream >> text;
    EXPECT_EQ(text, "body");
}

TEST(StreamsTest, RewindGoesToTheVeryStart) {
    std::istringstream stream("0123456789");
    stream.seekg(7);
    rewind(stream);
    EXPECT_EQ(stream.tellg(), std::streampos(0));
}

TEST(StreamsTest, RewindOfAnUnseekableStreamLeavesItFailedWithoutThrowing) {
    PipeBuffer buffer("body");
    std::istream stream(&buffer);
    rewind(stream);
    EXPECT_TRUE(stream.fail());
    EXPECT_FALSE(stream.bad());
}

TEST(StreamsTest, ReadRestGivesTheTextFromTheReadPosition) {
    std::istringstream stream("head tail");
    std::string word;
    stream >> word;
    EXPECT_EQ(readRest(stream), " tail");
    EXPECT_EQ(readRest(stream), "");
}

TEST(StreamsTest, ReadRestReadsTextsOfEverySizeAroundABlock) {
    for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 8192U, 100'000U}) {
        std::string text(size, 'x');
        if (size > 0) {
            text.back() = '\0';
        }
        std::istringstream stream(text);
        EXPECT_EQ(readRest(stream), text) << size;
    }
}

// A buffer that tells its position but cannot go back to an earlier one.
class ForwardBuffer : public PipeBuffer {
public:
    using PipeBuffer::PipeBuffer;

protected:
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode) override {
        return offset == 0 && from == std::ios::cur ? pos_type(gptr() - eback())
                                                    : pos_type(off_type(-1));
    }
};

TEST(StreamsTest, ReadWholeOfAStreamThatCannotGoBackGivesTheRest) {
    ForwardBuffer buffer("head tail");
    std::istream stream(&buffer);
    std::string word;
    stream >> word;
    ASSERT_EQ(stream.tellg(), std::streampos(4));
    EXPECT_EQ(readWhole(stream), " tail");
    EXPECT_EQ(readWhole(stream), "");
}

// A buffer that announces nothing, or the wrong amount, of what it can give.
class AnnouncingBuffer : public std::streambuf {
public:
    AnnouncingBuffer(std::string text, std::streamsize announced)
        : text_(std::move(text)), announced_(announced) {}

protected:
    int_type underflow() override {
        if (gptr() != nullptr) {
            return traits_type::eof();
        }
        setg(text_.data(), text_.data(), text_.data() + text_.size());
        return text_.empty() ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }
    std::streamsize showmanyc() override { return announced_; }

private:
    std::string text_;
    std::streamsize announced_;
};

TEST(StreamsTest, ReadRestTakesEverythingWhateverTheBufferAnnounces) {
    const std::string text(10'000, 'x');
    for (const std::streamsize announced :
         {-1L, 0L, 1L, 5'000L, 10'000L, 20'000L, std::numeric_limits<std::streamsize>::max()}) {
        AnnouncingBuffer buffer(text, announced);
        std::istream stream(&buffer);
        EXPECT_EQ(readRest(stream), text) << announced;
    }
}

TEST(StreamsTest, ReadingLeavesTheStateSoThatTheNextWriteCounts) {
    std::stringstream stream;
    write(stream, "first");
    EXPECT_EQ(readRest(stream), "first");
    EXPECT_TRUE(stream.good());
    stream << " second";
    EXPECT_EQ(readWhole(stream), "first second");
    EXPECT_TRUE(stream.good());
}

// A buffer that takes so many characters and then throws, or takes no more.
class LimitedBuffer : public std::streambuf {
public:
    LimitedBuffer(std::size_t limit, bool throws) : limit_(limit), throws_(throws) {}
    std::string written;

protected:
    int_type overflow(int_type c) override {
        if (written.size() < limit_) {
            written += traits_type::to_char_type(c);
            return c;
        }
        if (throws_) {
            throw std::bad_alloc();
        }
        return traits_type::eof();
    }

private:
    std::size_t limit_;
    bool throws_;
};

TEST(StreamsTest, WhatABufferThrowsLeavesTheStreamBad) {
    for (const std::ios::iostate mask : {std::ios::goodbit, std::ios::badbit}) {
        LimitedBuffer buffer(3, true);
        std::ostream stream(&buffer);
        stream.exceptions(mask);
        EXPECT_THROW(write(stream, "text"), std::bad_alloc);
        EXPECT_TRUE(stream.bad());
        EXPECT_EQ(stream.exceptions(), mask);
        EXPECT_EQ(buffer.written, "tex");
    }
}

TEST(StreamsTest, ABufferThatTakesNoMoreLeavesTheStreamBad) {
    LimitedBuffer buffer(3, false);
    std::ostream stream(&buffer);
    write(stream, "text");
    EXPECT_TRUE(stream.bad());
    write(stream, "more");
    EXPECT_EQ(buffer.written, "tex");
    LimitedBuffer other(3, false);
    std::ostream strict(&other);
    strict.exceptions(std::ios::badbit);
    EXPECT_THROW(write(strict, "text"), std::ios::failure);
}

TEST(StreamsTest, ReadingDoesNotClearBitsThatAreSet) {
    std::istringstream stream("text");
    stream.setstate(std::ios::failbit);
    EXPECT_EQ(readRest(stream), "text");
    EXPECT_EQ(readWhole(stream), "text");
    EXPECT_EQ(stream.rdstate(), std::ios::failbit);
}

TEST(StreamsTest, ReadWholeRestoresTheReadPosition) {
    std::istringstream stream("0123456789");
    stream.seekg(4);
    EXPECT_EQ(readWhole(stream), "0123456789");
    EXPECT_EQ(stream.tellg(), std::streampos(4));
    EXPECT_EQ(readRest(stream), "456789");
}

TEST(StreamsTest, ReadWholeLeavesTheWritePosition) {
    std::stringstream stream;
    write(stream, "abc");
    EXPECT_EQ(readWhole(stream), "abc");
    write(stream, "def");
    EXPECT_EQ(readWhole(stream), "abcdef");
}

TEST(StreamsTest, ReadWholeOfAnEmptyStreamIsEmpty) {
    std::stringstream stream;
    EXPECT_EQ(readWhole(stream), "");
    EXPECT_TRUE(stream.good());
    write(stream, "x");
    EXPECT_EQ(readWhole(stream), "x");
}

TEST(StreamsTest, ReadWholeOfAnUnseekableStreamConsumesTheRest) {
    PipeBuffer buffer("head tail");
    std::istream stream(&buffer);
    std::string word;
    stream >> word;
    EXPECT_EQ(readWhole(stream), " tail");
    EXPECT_EQ(readWhole(stream), "");
    EXPECT_TRUE(stream.good());
}

TEST(StreamsTest, StreamWithoutABufferIsEmptyAndTakesNothing) {
    std::iostream stream(nullptr);
    EXPECT_EQ(readRest(stream), "");
    EXPECT_EQ(readWhole(stream), "");
    write(stream, "x");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(writePosition(stream), unknownPosition);
}

TEST(StreamsTest, WriteCountsAfterAReaderMetTheEnd) {
    std::stringstream stream("abc", std::ios::in | std::ios::out | std::ios::ate);
    std::string text;
    stream >> text;
    ASSERT_TRUE(stream.eof());
    write(stream, "def");
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.str(), "abcdef");
}

TEST(StreamsTest, WriteTakesEveryByte) {
    std::ostringstream stream;
    write(stream, std::string("a\0\n\xFF", 4));
    write(stream, "");
    EXPECT_EQ(stream.str(), std::string("a\0\n\xFF", 4));
}

TEST(StreamsTest, WriteKeepsBadbitAndWritesNothing) {
    std::ostringstream stream;
    stream.setstate(std::ios::badbit | std::ios::eofbit);
    write(stream, "x");
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(stream.str(), "");
}

TEST(StreamsTest, WritePositionOfAFreshStreamIsZero) {
    std::stringstream stream;
    EXPECT_EQ(writePosition(stream), 0);
}

TEST(StreamsTest, WritePositionFollowsTheWrites) {
    std::stringstream stream;
    write(stream, "12345");
    EXPECT_EQ(writePosition(stream), 5);
    readRest(stream);
    EXPECT_EQ(writePosition(stream), 5);
}

TEST(StreamsTest, WritePositionIsToldAfterAReaderMetTheEnd) {
    std::stringstream stream;
    write(stream, "12345");
    std::string text;
    stream >> text >> text;
    ASSERT_TRUE(stream.fail());
    EXPECT_EQ(writePosition(stream), 5);
    EXPECT_TRUE(stream.good());
}

TEST(StreamsTest, WritePositionIsUnknownWithoutPositions) {
    PipeBuffer buffer("");
    std::ostream stream(&buffer);
    write(stream, "abc");
    EXPECT_EQ(buffer.written, "abc");
    EXPECT_EQ(writePosition(stream), unknownPosition);
}

TEST(StreamsTest, WritePositionIsUnknownWithBadbit) {
    std::ostringstream stream("text");
    stream.setstate(std::ios::badbit);
    EXPECT_EQ(writePosition(stream), unknownPosition);
    EXPECT_TRUE(stream.bad());
}

TEST(StreamsTest, SeekWritePositionReplacesWithoutCuttingOff) {
    std::stringstream stream;
    write(stream, "0123456789");
    std::string text;
    stream >> text >> text;
    seekWritePosition(stream, 3);
    EXPECT_EQ(writePosition(stream), 3);
    write(stream, "ab");
    EXPECT_EQ(readWhole(stream), "012ab56789");
}

TEST(StreamsTest, SeekWritePositionRepairsABrokenStream) {
    std::stringstream stream;
    write(stream, "0123");
    stream.setstate(std::ios::badbit);
    seekWritePosition(stream, 1);
    EXPECT_TRUE(stream.good());
    write(stream, "x");
    EXPECT_EQ(stream.str(), "0x23");
}

TEST(StreamsTest, FilesKeepOnePositionForReadingAndWriting) {
    const std::filesystem::path path = std::filesystem::path(::testing::TempDir()) /
                                       ("StreamsTest." + std::to_string(std::random_device()()));
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::trunc);
        write(file, "0123456789");
        EXPECT_EQ(writePosition(file), 10);
        EXPECT_EQ(readRest(file), "");
        EXPECT_EQ(readWhole(file), "0123456789");
        EXPECT_EQ(writePosition(file), 10);
        write(file, "!");
        rewind(file);
        EXPECT_EQ(readRest(file), "0123456789!");
    }
    std::filesystem::remove(path);
}

}  // namespace
}  // namespace foundation::httpclient_core::support
