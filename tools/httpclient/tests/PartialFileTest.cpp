#include "output/PartialFile.h"
#include "tools/httpclient/tests/FailsWith.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace foundation::httpclient_tool {
namespace {

using ::testing::ElementsAre;
using testing::failsWith;
using ::testing::IsEmpty;
using testing::TemporaryFolder;

const Entity strong{.validator = "\"v\"", .total = 10'000'000, .continuable = true};

std::string randomBytes(std::size_t size) {
    std::mt19937 engine(1);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(engine() & 0xFFU); });
    return bytes;
}

class PartialFileTest : public ::testing::Test {
protected:
    std::unique_ptr<PartialFile> open(bool resume, const std::string& url = "http://h/f?secret") {
        return PartialFile::open(
            {.name = (folder_ / "f").string(), .target = folder_ / "f", .url = url}, resume);
    }

    // What is on the disk while a process works: a process that is killed leaves it so.
    void leave(const std::string& body, const Entity& entity = strong) {
        const TemporaryFolder copy;
        {
            const auto file = open(false);
            const std::uint64_t ticket = file->begin(0, entity);
            for (std::size_t at = 0; at < body.size(); at += 100'000) {
                EXPECT_TRUE(file->append(ticket, std::string_view(body).substr(at, 100'000)));
            }
            for (const char* name : {"f.part", "f.part.journal"}) {
                copy.write(name, folder_.read(name));
            }
        }
        for (const char* name : {"f.part", "f.part.journal"}) {
            folder_.write(name, copy.read(name));
        }
    }

    TemporaryFolder folder_;
};

TEST_F(PartialFileTest, AnotherProcessGoesOnAtTheLastCheckpoint) {
    const std::string body = randomBytes(2'500'000);
    leave(body);
    const auto file = open(true);
    const auto held = file->heldPart();
    ASSERT_TRUE(held.has_value());
    EXPECT_GE(held->size, 2'500'000 - PartialFile::interval);
    EXPECT_EQ(held->validator, "\"v\"");
    EXPECT_EQ(held->length, 10'000'000);
    EXPECT_EQ(file->size(), held->size);
    const std::uint64_t ticket = file->begin(held->size, strong);
    EXPECT_TRUE(file->append(ticket, body.substr(static_cast<std::size_t>(held->size))));
    file->publish();
    EXPECT_TRUE(folder_.read("f") == body);
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(PartialFileTest, WhatIsKeptIsKeptToTheLastByte) {
    {
        const auto file = open(false);
        EXPECT_TRUE(file->append(file->begin(0, strong), "0123456"));
        EXPECT_TRUE(file->keepForLater());
    }
    EXPECT_THAT(folder_.names(), ElementsAre("f.part", "f.part.journal"));
    EXPECT_EQ(open(true)->heldPart()->size, 7);
}

TEST_F(PartialFileTest, TheRestCanBreakOffAndBeKeptAgain) {
    {
        const auto file = open(false);
        EXPECT_TRUE(file->append(file->begin(0, strong), "01234"));
        EXPECT_TRUE(file->keepForLater());
    }
    {
        const auto file = open(true);
        // The answer with the rest need not repeat what pins the version.
        EXPECT_TRUE(file->append(file->begin(5, Entity()), "567"));
        EXPECT_TRUE(file->keepForLater());
    }
    const auto file = open(true);
    EXPECT_EQ(file->heldPart()->size, 8);
    EXPECT_TRUE(file->append(file->begin(8, strong), "9"));
    file->publish();
    EXPECT_EQ(folder_.read("f"), "012345679");
}

TEST_F(PartialFileTest, TheRestCanBeginAgain) {
    {
        const auto file = open(false);
        EXPECT_TRUE(file->append(file->begin(0, strong), "01234"));
        EXPECT_TRUE(file->keepForLater());
    }
    {
        const auto file = open(true);
        EXPECT_TRUE(file->append(file->begin(5, strong), "5XYZ"));
        EXPECT_TRUE(file->append(file->begin(5, strong), "56"));
        EXPECT_TRUE(file->keepForLater());
    }
    const auto file = open(true);
    EXPECT_EQ(file->heldPart()->size, 7);
    EXPECT_TRUE(file->append(file->begin(7, strong), "7"));
    file->publish();
    EXPECT_EQ(folder_.read("f"), "01234567");
}

TEST_F(PartialFileTest, WithoutResumeItStartsOver) {
    leave(randomBytes(2'500'000));
    const auto file = open(false);
    EXPECT_FALSE(file->heldPart().has_value());
    EXPECT_TRUE(file->append(file->begin(0, strong), "new"));
    file->publish();
    EXPECT_EQ(folder_.read("f"), "new");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(PartialFileTest, WhereNothingBeganTheFormerPartStays) {
    leave(randomBytes(2'500'000));
    const std::string part = folder_.read("f.part");
    open(false);
    open(true);
    EXPECT_TRUE(folder_.read("f.part").substr(0, 2'000'000) == part.substr(0, 2'000'000));
    EXPECT_GE(open(true)->heldPart()->size, 2'500'000 - PartialFile::interval);
}

TEST_F(PartialFileTest, AWholePartIsAskedForItsLastByte) {
    const Entity entity{.validator = "\"v\"", .total = 5, .continuable = true};
    {
        const auto file = open(false);
        EXPECT_TRUE(file->append(file->begin(0, entity), "01234"));
        EXPECT_TRUE(file->keepForLater());
    }
    const auto file = open(true);
    EXPECT_EQ(file->heldPart()->size, 4);
    EXPECT_TRUE(file->append(file->begin(4, entity), "4"));
    file->publish();
    EXPECT_EQ(folder_.read("f"), "01234");
}

TEST_F(PartialFileTest, ABodyWithoutAStrongValidatorIsNotKept) {
    {
        const auto file = open(false);
        EXPECT_TRUE(file->append(file->begin(0, Entity{.validator = "", .total = 10}), "01234"));
        EXPECT_FALSE(file->keepForLater());
    }
    EXPECT_THAT(folder_.names(), IsEmpty());
    leave(randomBytes(2'500'000), Entity{.validator = "", .total = 10'000'000});
    EXPECT_FALSE(open(true)->heldPart().has_value());
}

TEST_F(PartialFileTest, BytesThatDoNotFitTheirChecksumAreNotBuiltOn) {
    leave(randomBytes(2'500'000));
    std::string part = folder_.read("f.part");
    part[10] = static_cast<char>(part[10] ^ 1);
    folder_.write("f.part", part);
    EXPECT_FALSE(open(true)->heldPart().has_value());
}

TEST_F(PartialFileTest, AnEarlierCheckpointThatFitsIsTaken) {
    leave(randomBytes(2'500'000));
    std::string part = folder_.read("f.part");
    part[1'500'000] = static_cast<char>(part[1'500'000] ^ 1);
    folder_.write("f.part", part);
    const auto held = open(true)->heldPart();
    ASSERT_TRUE(held.has_value());
    EXPECT_LE(held->size, 1'500'000);
    EXPECT_GE(held->size, 1'000'000);
}

TEST_F(PartialFileTest, APartThatIsShorterThanItsJournalSaysIsNotBuiltOn) {
    leave(randomBytes(2'500'000));
    folder_.write("f.part", folder_.read("f.part").substr(0, 500'000));
    EXPECT_FALSE(open(true)->heldPart().has_value());
}

TEST_F(PartialFileTest, AFileOfSomebodyElseUnderThePartialNameIsNeverPublished) {
    {
        const auto file = open(false);
        EXPECT_TRUE(file->append(file->begin(0, strong), "ours"));
        folder_.write("other", "theirs");
        std::filesystem::rename(folder_ / "other", folder_ / "f.part");
        EXPECT_TRUE(failsWith(ExitCode::Failed,
                              "cannot write " + (folder_ / "f").string() + ": " +
                                  (folder_ / "f.part").string() +
                                  " was replaced or removed meanwhile; choose another name",
                              [&] { file->publish(); }));
    }
    EXPECT_THAT(folder_.names(), ElementsAre("f.part"));
    EXPECT_EQ(folder_.read("f.part"), "theirs");
}

TEST_F(PartialFileTest, TheServerMayStartOverOrRefuse) {
    leave(randomBytes(2'500'000));
    const auto file = open(true);
    const std::int64_t size = file->heldPart()->size;
    EXPECT_TRUE(failsWith(ExitCode::ResumeRefused,
                          "cannot resume " + (folder_ / "f.part").string() +
                              ": the server sent another part; run again without --resume",
                          [&] { file->begin(size - 1, strong); }));
    EXPECT_TRUE(file->append(file->begin(0, strong), "another version"));
    file->publish();
    EXPECT_EQ(folder_.read("f"), "another version");
}

TEST_F(PartialFileTest, APartOfAnotherUrlIsNotResumed) {
    leave(randomBytes(2'500'000));
    EXPECT_TRUE(failsWith(ExitCode::ResumeRefused,
                          "cannot resume " + (folder_ / "f.part").string() +
                              ": it belongs to another URL; without --resume it is replaced",
                          [this] { open(true, "http://h/f?other"); }));
    EXPECT_THAT(folder_.names(), ElementsAre("f.part", "f.part.journal"));
}

TEST_F(PartialFileTest, ThePartOfAWorkingProcessIsNotResumed) {
    const auto first = open(false);
    EXPECT_TRUE(failsWith(ExitCode::ResumeRefused,
                          "cannot resume " + (folder_ / "f.part").string() +
                              ": another process is working on it; wait for its end",
                          [this] { open(true); }));
}

TEST_F(PartialFileTest, TwoDownloadsOfOneFileDoNotMix) {
    const auto first = open(false);
    const auto second = open(false);
    EXPECT_TRUE(first->append(first->begin(0, strong), "first"));
    EXPECT_TRUE(second->append(second->begin(0, strong), "second"));
    EXPECT_THAT(folder_.names(),
                ElementsAre("f.part", "f.part.1", "f.part.1.journal", "f.part.journal"));
    first->publish();
    EXPECT_EQ(folder_.read("f"), "first");
    second->publish();
    EXPECT_EQ(folder_.read("f"), "second");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(PartialFileTest, ForeignPartFilesAreNeverTouched) {
    folder_.write("f.part", "foreign");
    std::filesystem::create_symlink("victim", folder_ / "f.part.1");
    folder_.write("f.part.2.journal", "foreign too");
    const auto file = open(false);
    EXPECT_TRUE(file->append(file->begin(0, strong), "content"));
    EXPECT_THAT(folder_.names(), ElementsAre("f.part", "f.part.1", "f.part.2.journal", "f.part.3",
                                             "f.part.3.journal"));
    file->publish();
    EXPECT_THAT(folder_.names(), ElementsAre("f", "f.part", "f.part.1", "f.part.2.journal"));
    EXPECT_EQ(folder_.read("f.part"), "foreign");
    EXPECT_EQ(folder_.read("f.part.2.journal"), "foreign too");
}

TEST_F(PartialFileTest, OneThatWasStoppedBeforeTheFirstByteIsTakenOver) {
    for (const bool hasPart : {false, true}) {
        folder_.write("f.part.journal", "");
        if (hasPart) {
            folder_.write("f.part", "");
        }
        const auto file = open(true);
        EXPECT_FALSE(file->heldPart().has_value());
        EXPECT_TRUE(file->append(file->begin(0, strong), "content"));
        file->publish();
        EXPECT_THAT(folder_.names(), ElementsAre("f"));
    }
}

TEST_F(PartialFileTest, OneThatWasStoppedBehindItsRenamingLeavesAJournalOnly) {
    leave(randomBytes(2'500'000));
    std::filesystem::remove(folder_ / "f.part");
    const auto file = open(true, "http://h/other");
    EXPECT_FALSE(file->heldPart().has_value());
    EXPECT_TRUE(file->append(file->begin(0, strong), "content"));
    file->publish();
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(PartialFileTest, OneWhoseJournalWasTornIsOursAllTheSame) {
    leave(randomBytes(2'500'000));
    folder_.write("f.part.journal", folder_.read("f.part.journal").substr(0, 100));
    const auto file = open(true);
    EXPECT_FALSE(file->heldPart().has_value());
    EXPECT_TRUE(file->append(file->begin(0, strong), "content"));
    file->publish();
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "content");
}

TEST_F(PartialFileTest, AnEmptyJournalBesideAForeignPartIsNoPermission) {
    folder_.write("f.part.journal", "");
    folder_.write("f.part", "foreign");
    open(false);
    EXPECT_EQ(folder_.read("f.part"), "foreign");
}

TEST_F(PartialFileTest, TheJournalHoldsNoSecret) {
    leave(randomBytes(2'500'000));
    EXPECT_EQ(folder_.read("f.part.journal").find("secret"), std::string::npos);
}

TEST_F(PartialFileTest, HeldBytesCanBeReadBack) {
    const auto file = open(false);
    EXPECT_TRUE(file->append(file->begin(0, strong), "0123456789"));
    std::string bytes(4, '\0');
    EXPECT_EQ(file->read(3, bytes.data(), bytes.size()), 4);
    EXPECT_EQ(bytes, "3456");
    EXPECT_EQ(file->read(10, bytes.data(), bytes.size()), 0);
}

}  // namespace
}  // namespace foundation::httpclient_tool
