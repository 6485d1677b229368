#include "message/MemoryStream.h"
#include "support/Streams.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ios>
#include <istream>
#include <iterator>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using Traits = std::char_traits<char>;

constexpr std::ios::openmode both = std::ios::in | std::ios::out;
const std::streampos failed(std::streamoff{-1});

std::string everything(std::iostream& stream) {
    return support::readWhole(stream);
}

std::string digits(std::size_t count) {
    std::string text(count, '\0');
    for (std::size_t index = 0; index < count; ++index) {
        text[index] = static_cast<char>('0' + index % 10);
    }
    return text;
}

TEST(MemoryStreamTest, ReadsWhatWasWritten) {
    MemoryStream stream;
    stream << "The answer is " << 42 << "\n";
    std::string line;
    std::getline(stream, line);
    EXPECT_EQ(line, "The answer is 42");
    stream.seekg(14);
    int answer = 0;
    stream >> answer;
    EXPECT_EQ(answer, 42);
}

// Every behaviour below must be that of a string stream, and must not depend on where chunks end.
struct Kind {
    const char* label;
    std::function<std::unique_ptr<std::iostream>()> make;
    friend std::ostream& operator<<(std::ostream& os, const Kind& kind) { return os << kind.label; }
};

class MemoryStreamBehaviourTest : public ::testing::TestWithParam<Kind> {
protected:
    std::iostream& stream() { return *stream_; }
    std::streambuf& buffer() { return *stream_->rdbuf(); }

private:
    std::unique_ptr<std::iostream> stream_ = GetParam().make();
};

TEST_P(MemoryStreamBehaviourTest, BeginsEmptyAtPositionZero) {
    EXPECT_TRUE(stream().good());
    EXPECT_EQ(stream().tellg(), std::streampos(0));
    EXPECT_EQ(stream().tellp(), std::streampos(0));
    EXPECT_EQ(buffer().in_avail(), 0);
    EXPECT_EQ(buffer().sgetc(), Traits::eof());
    EXPECT_EQ(buffer().sungetc(), Traits::eof());
    EXPECT_EQ(buffer().sputbackc('x'), Traits::eof());
    EXPECT_EQ(everything(stream()), "");
}

TEST_P(MemoryStreamBehaviourTest, PositionsAreSeparate) {
    stream() << "0123456789";
    EXPECT_EQ(stream().tellg(), std::streampos(0));
    EXPECT_EQ(stream().tellp(), std::streampos(10));
    EXPECT_EQ(stream().get(), '0');
    EXPECT_EQ(stream().tellg(), std::streampos(1));
    EXPECT_EQ(stream().tellp(), std::streampos(10));
    stream().seekg(5);
    EXPECT_EQ(stream().tellp(), std::streampos(10));
    stream().seekp(3);
    EXPECT_EQ(stream().tellg(), std::streampos(5));
    EXPECT_EQ(stream().tellp(), std::streampos(3));
}

TEST_P(MemoryStreamBehaviourTest, OverwritingInTheMiddleKeepsTheTail) {
    stream() << "0123456789";
    stream().seekp(2);
    stream() << "abc";
    EXPECT_EQ(stream().tellp(), std::streampos(5));
    EXPECT_EQ(everything(stream()), "01abc56789");
    stream().seekp(8);
    stream() << "XYZ";
    EXPECT_EQ(everything(stream()), "01abc567XYZ");
}

TEST_P(MemoryStreamBehaviourTest, ReaderSeesWhatIsOverwrittenBeforeIt) {
    stream() << "0123456789";
    stream().get();
    stream().seekp(1);
    stream() << "ab";
    EXPECT_EQ(support::readRest(stream()), "ab3456789");
}

TEST_P(MemoryStreamBehaviourTest, ReaderSeesWhatIsWrittenAfterItMetTheEnd) {
    stream() << "abc";
    EXPECT_EQ(support::readRest(stream()), "abc");
    EXPECT_EQ(buffer().sgetc(), Traits::eof());
    stream() << "def";
    EXPECT_EQ(buffer().sgetc(), 'd');
    EXPECT_EQ(support::readRest(stream()), "def");
    std::string text;
    stream() >> text;
    EXPECT_TRUE(stream().eof() && stream().fail());
    stream().clear();
    stream() << "g";
    stream() >> text;
    EXPECT_EQ(text, "g");
}

TEST_P(MemoryStreamBehaviourTest, WriteAfterEndOfFileIsLostUntilTheStateIsCleared) {
    stream() << "abc";
    std::string text;
    stream() >> text;
    ASSERT_EQ(stream().rdstate(), std::ios::eofbit);
    stream() << "def";
    EXPECT_EQ(stream().tellp(), std::streampos(3));
    stream().clear();
    stream() << "ghi";
    EXPECT_EQ(everything(stream()), "abcghi");
}

TEST_P(MemoryStreamBehaviourTest, ZeroBytesAndHighBytesAreBytes) {
    const std::string text("a\0\xFF\x80z", 5);
    stream().write(text.data(), 5);
    EXPECT_EQ(everything(stream()), text);
    EXPECT_EQ(buffer().sbumpc(), 'a');
    EXPECT_EQ(buffer().sbumpc(), 0);
    EXPECT_EQ(buffer().sbumpc(), 0xFF);
    EXPECT_EQ(buffer().sungetc(), 0xFF);
    EXPECT_EQ(buffer().sputbackc('\xFE'), 0xFE);
    EXPECT_EQ(buffer().sputc('\xFF'), 0xFF);
    EXPECT_EQ(everything(stream()), std::string("a\xFE\xFF\x80z\xFF", 6));
}

struct SeekRow {
    std::streamoff offset;
    std::ios::seekdir from;
    std::ios::openmode which;
    std::streamoff result;
    std::streamoff readAt;
    std::streamoff writeAt;
};

void expectSeek(std::streambuf& buffer, const SeekRow& row) {
    SCOPED_TRACE(::testing::Message() << "offset " << row.offset << ", direction " << row.from
                                      << ", which " << row.which);
    EXPECT_EQ(buffer.pubseekoff(row.offset, row.from, row.which), std::streampos(row.result));
    EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur, std::ios::in), std::streampos(row.readAt));
    EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur, std::ios::out), std::streampos(row.writeAt));
}

TEST_P(MemoryStreamBehaviourTest, SeeksFromTheThreePlaces) {
    constexpr std::streamoff most = std::numeric_limits<std::streamoff>::max();
    constexpr std::streamoff least = std::numeric_limits<std::streamoff>::min();
    const std::vector<SeekRow> rows{
        {0, std::ios::beg, both, 0, 0, 0},
        {10, std::ios::beg, both, 10, 10, 10},
        {11, std::ios::beg, both, -1, 4, 7},
        {-1, std::ios::beg, both, -1, 4, 7},
        {0, std::ios::end, both, 10, 10, 10},
        {-10, std::ios::end, both, 0, 0, 0},
        {-11, std::ios::end, both, -1, 4, 7},
        {1, std::ios::end, both, -1, 4, 7},
        // From two current positions at once there is no way.
        {0, std::ios::cur, both, -1, 4, 7},
        {1, std::ios::cur, both, -1, 4, 7},
        {6, std::ios::cur, std::ios::in, 10, 10, 7},
        {7, std::ios::cur, std::ios::in, -1, 4, 7},
        {-4, std::ios::cur, std::ios::in, 0, 0, 7},
        {-5, std::ios::cur, std::ios::in, -1, 4, 7},
        {3, std::ios::cur, std::ios::out, 10, 4, 10},
        {4, std::ios::cur, std::ios::out, -1, 4, 7},
        {-7, std::ios::cur, std::ios::out, 0, 4, 0},
        {-8, std::ios::cur, std::ios::out, -1, 4, 7},
        {2, std::ios::beg, std::ios::in, 2, 2, 7},
        {2, std::ios::beg, std::ios::out, 2, 4, 2},
        {-2, std::ios::end, std::ios::in, 8, 8, 7},
        {-2, std::ios::end, std::ios::out, 8, 4, 8},
        {0, std::ios::beg, std::ios::openmode{}, -1, 4, 7},
        {0, std::ios::cur, std::ios::openmode{}, -1, 4, 7},
        {0, std::ios::beg, both | std::ios::app, 0, 0, 0},
        {most, std::ios::beg, both, -1, 4, 7},
        {least, std::ios::beg, both, -1, 4, 7},
        {least, std::ios::end, both, -1, 4, 7},
    };
    stream() << "0123456789";
    for (const SeekRow& row : rows) {
        buffer().pubseekpos(4, std::ios::in);
        buffer().pubseekpos(7, std::ios::out);
        expectSeek(buffer(), row);
    }
}

TEST_P(MemoryStreamBehaviourTest, SeeksOfAnEmptyTextStayAtZero) {
    for (const std::ios::seekdir from : {std::ios::beg, std::ios::cur, std::ios::end}) {
        for (const std::ios::openmode which : {std::ios::in, std::ios::out, both}) {
            const bool possible = which != both || from != std::ios::cur;
            expectSeek(buffer(), {0, from, which, possible ? 0 : -1, 0, 0});
            expectSeek(buffer(), {1, from, which, -1, 0, 0});
            expectSeek(buffer(), {-1, from, which, -1, 0, 0});
        }
    }
    EXPECT_EQ(buffer().pubseekpos(0), std::streampos(0));
    EXPECT_EQ(buffer().pubseekpos(1), failed);
    EXPECT_EQ(buffer().pubseekpos(0, std::ios::openmode{}), failed);
}

TEST_P(MemoryStreamBehaviourTest, SeeksToAPositionMoveWhatIsNamed) {
    stream() << "0123456789";
    EXPECT_EQ(buffer().pubseekpos(3), std::streampos(3));
    EXPECT_EQ(buffer().sgetc(), '3');
    EXPECT_EQ(buffer().pubseekpos(5, std::ios::out), std::streampos(5));
    stream() << "x";
    EXPECT_EQ(buffer().pubseekpos(11), failed);
    EXPECT_EQ(buffer().pubseekpos(-1), failed);
    EXPECT_EQ(stream().tellg(), std::streampos(3));
    EXPECT_EQ(stream().tellp(), std::streampos(6));
    EXPECT_EQ(everything(stream()), "01234x6789");
}

TEST_P(MemoryStreamBehaviourTest, SeekBeyondTheEndFailsAndMovesNothing) {
    stream() << "abc";
    stream().seekg(4);
    EXPECT_EQ(stream().rdstate(), std::ios::failbit);
    stream().clear();
    stream().seekp(4);
    EXPECT_EQ(stream().rdstate(), std::ios::failbit);
    stream().clear();
    EXPECT_EQ(stream().tellg(), std::streampos(0));
    EXPECT_EQ(stream().tellp(), std::streampos(3));
}

TEST_P(MemoryStreamBehaviourTest, SeekgDropsEofbitAndSeekpDoesNot) {
    stream() << "abc";
    stream().seekg(0, std::ios::end);
    EXPECT_EQ(stream().peek(), Traits::eof());
    stream().seekg(0);
    EXPECT_TRUE(stream().good());
    stream().seekg(0, std::ios::end);
    stream().peek();
    stream().seekp(0);
    EXPECT_EQ(stream().rdstate(), std::ios::eofbit);
}

TEST_P(MemoryStreamBehaviourTest, GoesBackByCharactersToTheStart) {
    const std::string text = digits(40);
    stream() << text;
    EXPECT_EQ(support::readRest(stream()), text);
    for (std::size_t index = text.size(); index-- > 0;) {
        ASSERT_EQ(buffer().sungetc(), text[index]);
    }
    EXPECT_EQ(buffer().sungetc(), Traits::eof());
    EXPECT_EQ(support::readRest(stream()), text);
}

TEST_P(MemoryStreamBehaviourTest, PutsBackTheSameCharacter) {
    stream() << "abc";
    stream().ignore(2);
    EXPECT_EQ(buffer().sputbackc('b'), 'b');
    EXPECT_EQ(buffer().sputbackc('a'), 'a');
    EXPECT_EQ(buffer().sputbackc('a'), Traits::eof());
    EXPECT_EQ(support::readRest(stream()), "abc");
}

TEST_P(MemoryStreamBehaviourTest, PuttingBackAnotherCharacterWritesIt) {
    const std::string text = digits(40);
    stream() << text;
    stream().ignore(40);
    for (int count = 0; count < 40; ++count) {
        ASSERT_EQ(buffer().sputbackc('x'), 'x');
    }
    EXPECT_EQ(buffer().sputbackc('x'), Traits::eof());
    EXPECT_EQ(everything(stream()), std::string(40, 'x'));
    EXPECT_EQ(stream().tellp(), std::streampos(40));
}

TEST_P(MemoryStreamBehaviourTest, PutbackBeyondTheStartSetsBadbit) {
    stream() << "abc";
    stream().unget();
    EXPECT_EQ(stream().rdstate(), std::ios::badbit);
    stream().clear();
    stream().putback('x');
    EXPECT_EQ(stream().rdstate(), std::ios::badbit);
}

TEST_P(MemoryStreamBehaviourTest, BlocksGoInAndOutWhole) {
    const std::string text = digits(10'000);
    EXPECT_EQ(buffer().sputn(text.data(), 10'000), 10'000);
    EXPECT_EQ(buffer().sputn(text.data(), 0), 0);
    std::string read(20'000, '\0');
    EXPECT_EQ(buffer().sgetn(read.data(), 1), 1);
    EXPECT_EQ(buffer().sgetn(read.data() + 1, 7'777), 7'777);
    EXPECT_EQ(buffer().sgetn(read.data() + 7'778, 20'000 - 7'778), 10'000 - 7'778);
    EXPECT_EQ(buffer().sgetn(read.data(), 1), 0);
    read.resize(10'000);
    EXPECT_EQ(read, text);
}

TEST_P(MemoryStreamBehaviourTest, ReadOfMoreThanThereIsTakesTheRest) {
    stream() << "abc";
    std::string read(10, '.');
    stream().read(read.data(), 10);
    EXPECT_EQ(stream().gcount(), 3);
    EXPECT_EQ(stream().rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(read, "abc.......");
}

TEST_P(MemoryStreamBehaviourTest, AvailableIsZeroAtTheEndOnly) {
    EXPECT_EQ(buffer().in_avail(), 0);
    stream() << digits(30);
    for (std::streamsize rest = 30; rest > 0; --rest) {
        EXPECT_GT(buffer().in_avail(), 0);
        EXPECT_LE(buffer().in_avail(), rest);
        buffer().sbumpc();
    }
    EXPECT_EQ(buffer().in_avail(), 0);
    stream() << "x";
    EXPECT_EQ(buffer().in_avail(), 1);
}

TEST_P(MemoryStreamBehaviourTest, IteratorsAndBuffersTakeEverything) {
    const std::string text = digits(3'000);
    stream() << text;
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream()), {}), text);
    stream().seekg(1'000);
    std::ostringstream copy;
    copy << stream().rdbuf();
    EXPECT_EQ(copy.str(), text.substr(1'000));
    std::istringstream source(text);
    stream() << source.rdbuf();
    EXPECT_EQ(everything(stream()), text + text);
}

TEST_P(MemoryStreamBehaviourTest, LinesAreFoundAcrossChunks) {
    const std::string line = digits(700);
    stream() << line << '\n' << line << "\n\nend";
    std::string read;
    for (const std::string& expected : {line, line, std::string(), std::string("end")}) {
        ASSERT_TRUE(std::getline(stream(), read));
        EXPECT_EQ(read, expected);
    }
    EXPECT_TRUE(stream().eof());
    EXPECT_FALSE(std::getline(stream(), read));
}

TEST_P(MemoryStreamBehaviourTest, FlushChangesNothing) {
    stream() << "abc";
    stream().get();
    stream().flush();
    EXPECT_EQ(stream().sync(), 0);
    EXPECT_EQ(stream().tellg(), std::streampos(1));
    EXPECT_EQ(stream().tellp(), std::streampos(3));
}

TEST_P(MemoryStreamBehaviourTest, PositionsInTheMiddleOfALongTextAreFound) {
    std::string text;
    for (int block = 0; block < 300; ++block) {
        text += std::to_string(block) + digits(16'000);
    }
    stream() << text;
    const auto size = static_cast<std::streamoff>(text.size());
    for (std::streamoff position = 1; position < size; position += 123'457) {
        stream().seekg(position);
        stream().seekp(position);
        const char expected = text[static_cast<std::size_t>(position)];
        ASSERT_EQ(stream().get(), expected);
        ASSERT_EQ(stream().tellg(), std::streampos(position + 1));
        stream().put('x');
        ASSERT_EQ(stream().tellp(), std::streampos(position + 1));
        text[static_cast<std::size_t>(position)] = 'x';
    }
    EXPECT_TRUE(everything(stream()) == text);
}

Kind chunked(const char* label, std::streamoff first, std::streamoff longest) {
    return {label, [=] { return std::make_unique<MemoryStream>(ChunkLayout(first, longest)); }};
}

INSTANTIATE_TEST_SUITE_P(
    Kinds,
    MemoryStreamBehaviourTest,
    ::testing::Values(Kind{"StringStream", [] { return std::make_unique<std::stringstream>(); }},
                      Kind{"Default", [] { return std::make_unique<MemoryStream>(); }},
                      chunked("ChunksOfOneByte", 1, 1),
                      chunked("ChunksOfFourToEightBytes", 4, 8),
                      chunked("ChunksThatNeverStopGrowing", 1, std::streamoff{1} << 40),
                      chunked("ChunksOfOneLength", 512, 512)),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_core
