#include "output/Destination.h"
#include "tools/httpclient/tests/FailsWith.h"
#include "tools/httpclient/tests/SmallFilesOnly.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
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
        return openDestination(
            {.path = path, .standardOutput = standardOutput, .url = "http://h/f", .resume = false});
    }

    static bool fill(Destination& destination, std::string_view bytes) {
        return destination.append(destination.begin(0, Entity()), bytes);
    }

    mode_t permissions(const std::string& name) {
        struct stat status{};
        EXPECT_EQ(::stat((folder_ / name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    TemporaryFolder folder_;
};

TEST_F(DestinationTest, TheFileAppearsWholeWhenPublished) {
    const auto destination = open(folder_ / "f");
    EXPECT_TRUE(fill(*destination, "content"));
    EXPECT_THAT(folder_.names(), ElementsAre("f.part", "f.part.journal"));
    destination->publish();
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "content");
}

TEST_F(DestinationTest, UnpublishedItLeavesNothing) {
    EXPECT_TRUE(fill(*open(folder_ / "f"), "content"));
    EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DestinationTest, OnlyTheLatestBodyIsTaken) {
    const auto destination = open(folder_ / "f");
    const std::uint64_t first = destination->begin(0, Entity());
    EXPECT_TRUE(destination->append(first, "first body"));
    const std::uint64_t second = destination->begin(0, Entity());
    EXPECT_FALSE(destination->append(first, "late"));
    EXPECT_TRUE(destination->append(second, "second"));
    destination->publish();
    EXPECT_EQ(folder_.read("f"), "second");
}

TEST_F(DestinationTest, AnExistingFileStaysUntilPublished) {
    folder_.write("f", "old");
    ::chmod((folder_ / "f").c_str(), 06640);
    {
        const auto destination = open(folder_ / "f");
        EXPECT_TRUE(fill(*destination, "new"));
        EXPECT_EQ(folder_.read("f"), "old");
    }
    EXPECT_EQ(folder_.read("f"), "old");
    const auto destination = open(folder_ / "f");
    EXPECT_TRUE(fill(*destination, "new"));
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

TEST_F(DestinationTest, TheFileBehindASymbolicLinkIsReplaced) {
    const TemporaryFolder other;
    other.write("real", "old");
    std::filesystem::create_symlink(other / "real", folder_ / "link");
    const auto destination = open(folder_ / "link");
    EXPECT_TRUE(fill(*destination, "new"));
    EXPECT_THAT(other.names(), ElementsAre("real", "real.part", "real.part.journal"));
    destination->publish();
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link"));
    EXPECT_EQ(other.read("real"), "new");
}

TEST_F(DestinationTest, ALinkToNothingYetStaysALink) {
    const TemporaryFolder other;
    std::filesystem::create_symlink(other / "real", folder_ / "far");
    std::filesystem::create_symlink("far", folder_ / "near");
    const auto destination = open(folder_ / "near");
    EXPECT_TRUE(fill(*destination, "new"));
    destination->publish();
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "near"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "far"));
    EXPECT_EQ(other.read("real"), "new");
}

TEST_F(DestinationTest, LinksInACircleFailAtOnceAndStay) {
    std::filesystem::create_symlink("b", folder_ / "a");
    std::filesystem::create_symlink("a", folder_ / "b");
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot write " + (folder_ / "a").string() +
                              ": Too many levels of symbolic links; check the symbolic links",
                          [&] { open(folder_ / "a"); }));
    EXPECT_THAT(folder_.names(), ElementsAre("a", "b"));
}

TEST_F(DestinationTest, AFolderThatIsMissingOrNoFolderFailsAtOnce) {
    const std::string missing = (folder_ / "no").string() + "/f";
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot create " + missing +
                              ".part.journal: No such file or directory; "
                              "check the name and its folder",
                          [&] { open(missing); }));
    EXPECT_TRUE(
        failsWith(ExitCode::Failed,
                  "cannot write " + folder_.path().string() + ": Is a directory; name a file",
                  [&] { open(folder_.path()); }));
}

TEST_F(DestinationTest, ATooLongNameFailsAtOnce) {
    const std::filesystem::path path = folder_ / std::string(255, 'x');
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot create " + path.string() +
                              ".part.journal: File name too long; choose a shorter name",
                          [&] { open(path); }));
}

TEST_F(DestinationTest, AWriteThatFailedIsNeverPublished) {
    folder_.write("f", "old");
    {
        const auto destination = open(folder_ / "f");
        const std::uint64_t ticket = destination->begin(0, Entity());
        {
            const testing::SmallFilesOnly limit(4);
            EXPECT_FALSE(destination->append(ticket, "content"));
        }
        ASSERT_TRUE(destination->trouble().has_value());
        EXPECT_TRUE(failsWith(ExitCode::Failed,
                              "cannot write " + (folder_ / "f").string() +
                                  ": File too large; allow larger files, or choose another place",
                              [&] { destination->publish(); }));
    }
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "old");
}

TEST_F(DestinationTest, ARenameThatFailsLeavesNothing) {
    {
        const auto destination = open(folder_ / "f");
        std::filesystem::create_directory(folder_ / "f");
        EXPECT_TRUE(
            failsWith(ExitCode::Failed,
                      "cannot write " + (folder_ / "f").string() + ": Is a directory; name a file",
                      [&] { destination->publish(); }));
    }
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(DestinationTest, StandardOutputHasNoName) {
    std::FILE* file = std::tmpfile();
    const auto destination = open({}, ::fileno(file));
    EXPECT_EQ(destination->name(), "standard output");
    EXPECT_TRUE(fill(*destination, "content"));
    EXPECT_EQ(::lseek(::fileno(file), 0, SEEK_END), 7);
    destination->publish();
    std::fclose(file);
}

TEST_F(DestinationTest, DevicesAreWrittenNotReplaced) {
    const auto destination = open("/dev/null");
    EXPECT_TRUE(fill(*destination, "x"));
    destination->publish();
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(DestinationTest, AFullDeviceIsNoticed) {
    const auto destination = open("/dev/full");
    EXPECT_FALSE(fill(*destination, "x"));
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot write /dev/full: No space left on device; free some "
                          "space, or choose another place",
                          [&] { destination->publish(); }));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace foundation::httpclient_tool
