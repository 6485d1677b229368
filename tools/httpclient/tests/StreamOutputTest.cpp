#include "output/StreamOutput.h"
#include "tools/httpclient/tests/FailsWith.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

using testing::failsWith;
using testing::TemporaryFolder;

class StreamOutputTest : public ::testing::Test {
protected:
    ~StreamOutputTest() override { std::fclose(file_); }

    std::string shown() const {
        std::string text(2'000'000, '\0');
        const ssize_t size = ::pread(::fileno(file_), text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(size));
        return text;
    }

    static bool begins(StreamOutput& output, std::string_view bytes) {
        return output.append(output.begin(0, Entity()), bytes);
    }

    TemporaryFolder folder_;
    std::FILE* file_ = std::tmpfile();
    std::unique_ptr<StreamOutput> output_ =
        StreamOutput::onDescriptor("standard output", ::fileno(file_));
};

TEST_F(StreamOutputTest, BytesGoOutAsTheyCome) {
    const std::uint64_t ticket = output_->begin(0, Entity());
    EXPECT_TRUE(output_->append(ticket, "one "));
    EXPECT_EQ(shown(), "one ");
    EXPECT_TRUE(output_->append(ticket, "two"));
    EXPECT_EQ(shown(), "one two");
    EXPECT_EQ(output_->size(), 7);
    output_->publish();
    EXPECT_EQ(shown(), "one two");
}

TEST_F(StreamOutputTest, ABodyThatBeginsAgainGoesOnBehindWhatWentOut) {
    EXPECT_TRUE(begins(*output_, "0123"));
    const std::uint64_t again = output_->begin(0, Entity());
    EXPECT_TRUE(output_->append(again, "01"));
    EXPECT_EQ(output_->size(), 4);
    EXPECT_TRUE(output_->append(again, "2345"));
    EXPECT_TRUE(output_->append(again, "67"));
    output_->publish();
    EXPECT_EQ(shown(), "01234567");
}

TEST_F(StreamOutputTest, ABodyThatBeginsAgainTwiceIsComparedFromItsStart) {
    EXPECT_TRUE(begins(*output_, "0123"));
    EXPECT_TRUE(begins(*output_, "01"));
    EXPECT_TRUE(begins(*output_, "012345"));
    EXPECT_EQ(shown(), "012345");
}

TEST_F(StreamOutputTest, AnotherBodyIsNeverMixedIn) {
    EXPECT_TRUE(begins(*output_, "0123"));
    EXPECT_FALSE(begins(*output_, "012X4567"));
    EXPECT_EQ(shown(), "0123");
    ASSERT_TRUE(output_->trouble().has_value());
    const char* const text =
        "standard output: the resource changed after 4 bytes had gone out; throw them away and "
        "start "
        "over";
    EXPECT_EQ(output_->trouble()->code(), ExitCode::ResumeRefused);
    EXPECT_STREQ(output_->trouble()->what(), text);
    EXPECT_FALSE(begins(*output_, "01234567"));
    EXPECT_TRUE(failsWith(ExitCode::ResumeRefused, text, [this] { output_->publish(); }));
    EXPECT_EQ(shown(), "0123");
}

TEST_F(StreamOutputTest, AShorterBodyIsAnotherOne) {
    EXPECT_TRUE(begins(*output_, "0123"));
    EXPECT_TRUE(begins(*output_, "012"));
    EXPECT_TRUE(failsWith(ExitCode::ResumeRefused,
                          "standard output: the resource changed after 4 bytes had gone out; throw "
                          "them away and start over",
                          [this] { output_->publish(); }));
    EXPECT_EQ(shown(), "0123");
}

TEST_F(StreamOutputTest, TheLastBytesCanBeReadBack) {
    const std::uint64_t ticket = output_->begin(0, Entity());
    std::string sent;
    for (int i = 0; sent.size() < 3 * StreamOutput::memory; ++i) {
        const std::string piece(static_cast<std::size_t>(7000 + i),
                                static_cast<char>('a' + i % 26));
        EXPECT_TRUE(output_->append(ticket, piece));
        sent += piece;
    }
    const auto start = static_cast<std::int64_t>(sent.size() - 65536);
    std::string got;
    while (got.size() < 65536) {
        std::array<char, 5000> chunk{};
        const std::int64_t count = output_->read(start + static_cast<std::int64_t>(got.size()),
                                                 chunk.data(), chunk.size());
        ASSERT_GT(count, 0);
        got.append(chunk.data(), static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(got == sent.substr(sent.size() - 65536));
    char byte = 0;
    EXPECT_EQ(output_->read(output_->size(), &byte, 1), 0);
    EXPECT_EQ(output_->read(0, &byte, 1), -1);
}

TEST_F(StreamOutputTest, OnePieceAboveTheMemoryIsRememberedAtItsEnd) {
    std::string sent(StreamOutput::memory + 1000, 'x');
    sent.back() = 'e';
    sent[1000] = 's';
    EXPECT_TRUE(begins(*output_, sent));
    char byte = 0;
    EXPECT_EQ(output_->read(1000, &byte, 1), 1);
    EXPECT_EQ(byte, 's');
    EXPECT_EQ(output_->read(static_cast<std::int64_t>(sent.size()) - 1, &byte, 1), 1);
    EXPECT_EQ(byte, 'e');
}

TEST_F(StreamOutputTest, NothingIsReadWhileABodyIsCompared) {
    EXPECT_TRUE(begins(*output_, "0123"));
    EXPECT_TRUE(begins(*output_, "01"));
    char byte = 0;
    EXPECT_EQ(output_->read(0, &byte, 1), -1);
}

TEST_F(StreamOutputTest, ThePreambleStandsBeforeTheBodyOnce) {
    output_->setPreamble("head\n");
    EXPECT_TRUE(begins(*output_, "01"));
    EXPECT_TRUE(begins(*output_, "0123"));
    output_->publish();
    EXPECT_EQ(shown(), "head\n0123");
    EXPECT_EQ(output_->size(), 4);
}

TEST_F(StreamOutputTest, WithoutABodyThePreambleIsAll) {
    output_->setPreamble("head\n");
    output_->publish();
    EXPECT_EQ(shown(), "head\n");
}

TEST_F(StreamOutputTest, AClosedDescriptorFailsAtOnce) {
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot write standard output: Bad file descriptor; it is closed; "
                          "open it, or choose another place",
                          [] { StreamOutput::onDescriptor("standard output", -1); }));
}

TEST_F(StreamOutputTest, ADescriptorForReadingFailsAtOnce) {
    const int readOnly = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot write standard output: Bad file descriptor; it is closed; "
                          "open it, or choose another place",
                          [=] { StreamOutput::onDescriptor("standard output", readOnly); }));
    ::close(readOnly);
}

TEST_F(StreamOutputTest, APipeIsFilledWhileItsReaderReads) {
    const std::filesystem::path path = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const auto output = StreamOutput::onPath(path);
    auto reader = std::async(std::launch::async, [this] { return folder_.read("pipe"); });
    const std::string content(300000, 'y');
    EXPECT_TRUE(begins(*output, content));
    output->publish();
    EXPECT_EQ(reader.get(), content);
}

TEST_F(StreamOutputTest, APipeThatDoesNotBlockIsWaitedFor) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ASSERT_EQ(::fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
    const auto output = StreamOutput::onDescriptor("standard output", ends[1]);
    ::close(ends[1]);
    const std::string content(300000, 'z');
    auto reader = std::async(std::launch::async, [&ends] {
        std::string text;
        std::array<char, 4096> chunk{};
        for (ssize_t got = 0; (got = ::read(ends[0], chunk.data(), chunk.size())) > 0;) {
            text.append(chunk.data(), static_cast<std::size_t>(got));
        }
        return text;
    });
    EXPECT_TRUE(begins(*output, content));
    output->publish();
    EXPECT_EQ(reader.get(), content);
    ::close(ends[0]);
}

TEST_F(StreamOutputTest, AWaitForAReaderThatDoesNotReadIsEnded) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const auto output = StreamOutput::onDescriptor("standard output", ends[1]);
    auto writer = std::async(std::launch::async,
                             [&output] { return begins(*output, std::string(300000, 'z')); });
    output->wake();
    EXPECT_FALSE(writer.get());
    EXPECT_TRUE(output->trouble().has_value());
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(StreamOutputTest, AWaitForAReaderThatNeverOpensIsEnded) {
    const std::filesystem::path path = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const auto output = StreamOutput::onPath(path);
    auto writer = std::async(std::launch::async, [&output] { return begins(*output, "x"); });
    output->wake();
    EXPECT_FALSE(writer.get());
}

TEST_F(StreamOutputTest, AReaderThatWentAwayIsAnError) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const auto output = StreamOutput::onDescriptor("standard output", ends[1]);
    ::close(ends[0]);
    ::close(ends[1]);
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_FALSE(begins(*output, "x"));
    std::signal(SIGPIPE, former);
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot write standard output: Broken pipe; its reader has gone; "
                          "let it read to the end",
                          [&output] { output->publish(); }));
}

}  // namespace
}  // namespace foundation::httpclient_tool
