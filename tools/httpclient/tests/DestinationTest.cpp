#include "tools/httpclient/Destination.h"
#include "tools/httpclient/tests/FailsWith.h"
#include "tools/httpclient/tests/SmallFilesOnly.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

using ::testing::ElementsAre;
using testing::failsWith;
using ::testing::IsEmpty;
using testing::TemporaryFolder;

class DestinationTest : public ::testing::Test {
protected:
    std::unique_ptr<Destination> open(const std::filesystem::path& path, int standardOutput = -1) {
        return openDestination(path, standardOutput, interrupts_);
    }

    mode_t permissions(const std::string& name) {
        struct stat status{};
        EXPECT_EQ(::stat((folder_ / name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    TemporaryFolder folder_;
    Interrupts interrupts_;
};

TEST_F(DestinationTest, TheFileAppearsWholeWhenPublished) {
    const auto destination = open(folder_ / "f");
    EXPECT_TRUE(destination->body()->write(0, "content"));
    EXPECT_THAT(folder_.names(), ElementsAre("f.part"));
    destination->publish();
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "content");
}

TEST_F(DestinationTest, UnpublishedItLeavesNothing) {
    EXPECT_TRUE(open(folder_ / "f")->body()->write(0, "content"));
    EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DestinationTest, AnExistingFileStaysUntilPublished) {
    folder_.write("f", "old");
    ::chmod((folder_ / "f").c_str(), 06640);
    {
        const auto destination = open(folder_ / "f");
        EXPECT_TRUE(destination->body()->write(0, "new"));
        EXPECT_EQ(folder_.read("f"), "old");
    }
    EXPECT_EQ(folder_.read("f"), "old");
    const auto destination = open(folder_ / "f");
    EXPECT_TRUE(destination->body()->write(0, "new"));
    destination->publish();
    EXPECT_EQ(folder_.read("f"), "new");
    EXPECT_EQ(permissions("f"), 0640U);
}

TEST_F(DestinationTest, ANewFileFollowsTheUmask) {
    const mode_t former = ::umask(027);
    open(folder_ / "f")->publish();
    ::umask(former);
    EXPECT_EQ(permissions("f"), 0640U);
}

TEST_F(DestinationTest, ForeignPartFilesAreNeverTouched) {
    folder_.write("f.part", "foreign");
    std::filesystem::create_symlink("victim", folder_ / "f.part.1");
    const auto destination = open(folder_ / "f");
    EXPECT_TRUE(destination->body()->write(0, "content"));
    EXPECT_THAT(folder_.names(), ElementsAre("f.part", "f.part.1", "f.part.2"));
    destination->publish();
    EXPECT_THAT(folder_.names(), ElementsAre("f", "f.part", "f.part.1"));
    EXPECT_EQ(folder_.read("f.part"), "foreign");
    EXPECT_EQ(folder_.read("f"), "content");
}

TEST_F(DestinationTest, TwoDownloadsOfOneFileDoNotMix) {
    const auto first = open(folder_ / "f");
    const auto second = open(folder_ / "f");
    EXPECT_TRUE(first->body()->write(0, "first"));
    EXPECT_TRUE(second->body()->write(0, "second"));
    first->publish();
    EXPECT_EQ(folder_.read("f"), "first");
    second->publish();
    EXPECT_EQ(folder_.read("f"), "second");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(DestinationTest, TheFileBehindASymbolicLinkIsReplaced) {
    const TemporaryFolder other;
    other.write("real", "old");
    std::filesystem::create_symlink(other / "real", folder_ / "link");
    const auto destination = open(folder_ / "link");
    EXPECT_TRUE(destination->body()->write(0, "new"));
    EXPECT_THAT(other.names(), ElementsAre("real", "real.part"));
    destination->publish();
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link"));
    EXPECT_EQ(other.read("real"), "new");
}

TEST_F(DestinationTest, AFolderThatIsMissingOrNoFolderFailsAtOnce) {
    const std::string missing = (folder_ / "no").string() + "/f";
    EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                          "cannot create " + missing + ".part: No such file or directory",
                          [&] { open(missing); }));
    EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                          "cannot write " + folder_.path().string() + ": Is a directory",
                          [&] { open(folder_.path()); }));
}

TEST_F(DestinationTest, ATooLongNameFailsAtOnce) {
    const std::filesystem::path path = folder_ / std::string(255, 'x');
    EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                          "cannot create " + path.string() + ".part: File name too long",
                          [&] { open(path); }));
}

TEST_F(DestinationTest, AWriteThatFailedIsNeverPublished) {
    folder_.write("f", "old");
    {
        const auto destination = open(folder_ / "f");
        {
            const testing::SmallFilesOnly limit(4);
            EXPECT_FALSE(destination->body()->write(0, "content"));
        }
        EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                              "cannot write " + (folder_ / "f").string() + ": File too large",
                              [&] { destination->publish(); }));
    }
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "old");
}

TEST_F(DestinationTest, ARenameThatFailsLeavesNothing) {
    {
        const auto destination = open(folder_ / "f");
        std::filesystem::create_directory(folder_ / "f");
        EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                              "cannot write " + (folder_ / "f").string() + ": Is a directory",
                              [&] { destination->publish(); }));
    }
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(DestinationTest, StandardOutputGetsItsBytesWhenPublished) {
    std::FILE* file = std::tmpfile();
    const auto destination = open({}, ::fileno(file));
    EXPECT_EQ(destination->name(), "standard output");
    const std::string content(200000, 'x');
    EXPECT_TRUE(destination->body()->write(0, content));
    EXPECT_EQ(::lseek(::fileno(file), 0, SEEK_END), 0);
    destination->publish();
    EXPECT_EQ(::lseek(::fileno(file), 0, SEEK_END), 200000);
    std::fclose(file);
}

TEST_F(DestinationTest, AFullDeviceIsNoticed) {
    const auto destination = open("/dev/full");
    EXPECT_TRUE(destination->body()->write(0, "x"));
    EXPECT_TRUE(failsWith(ExitCode::OutputFailed, "cannot write /dev/full: No space left on device",
                          [&] { destination->publish(); }));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(DestinationTest, DevicesAreWrittenNotReplaced) {
    const auto destination = open("/dev/null");
    EXPECT_TRUE(destination->body()->write(0, "x"));
    destination->publish();
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(DestinationTest, APipeIsFilledWhileItsReaderReads) {
    const std::filesystem::path path = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const auto destination = open(path);
    const std::string content(300000, 'y');
    EXPECT_TRUE(destination->body()->write(0, content));
    auto reader = std::async(std::launch::async, [this] { return folder_.read("pipe"); });
    destination->publish();
    EXPECT_EQ(reader.get(), content);
    EXPECT_THAT(folder_.names(), ElementsAre("pipe"));
}

TEST_F(DestinationTest, APipeThatDoesNotBlockIsWaitedFor) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ASSERT_EQ(::fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
    const auto destination = open({}, ends[1]);
    const std::string content(300000, 'z');
    EXPECT_TRUE(destination->body()->write(0, content));
    auto reader = std::async(std::launch::async, [&ends, &content] {
        std::string text(content.size(), '\0');
        std::size_t size = 0;
        while (size < text.size()) {
            const ssize_t got = ::read(ends[0], text.data() + size, text.size() - size);
            if (got <= 0) {
                break;
            }
            size += static_cast<std::size_t>(got);
        }
        return text;
    });
    destination->publish();
    EXPECT_EQ(reader.get(), content);
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(DestinationTest, AClosedStandardOutputIsAnError) {
    const auto destination = open({}, -1);
    EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                          "cannot write standard output: Bad file descriptor",
                          [&] { destination->publish(); }));
}

TEST_F(DestinationTest, WithoutAFolderForTemporaryFilesItFailsAtOnce) {
    const char* former = std::getenv("TMPDIR");
    const std::string saved = former != nullptr ? former : "";
    ::setenv("TMPDIR", "/nonexistent", 1);
    EXPECT_TRUE(failsWith(ExitCode::OutputFailed,
                          "cannot find a folder for temporary files: No such file or directory",
                          [&] { open({}, 1); }));
    former != nullptr ? ::setenv("TMPDIR", saved.c_str(), 1) : ::unsetenv("TMPDIR");
}

}  // namespace
}  // namespace foundation::httpclient_tool
