#include "output/Journal.h"
#include "output/Sha256.h"
#include "report/Failure.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace foundation::httpclient_tool {
namespace {

using testing::TemporaryFolder;

class JournalTest : public ::testing::Test {
protected:
    std::unique_ptr<Journal> open() {
        Journal::Opened opened = Journal::open(path_);
        EXPECT_EQ(opened.absence, Journal::Absence::None);
        return std::move(opened.journal);
    }

    static Checkpoint at(std::int64_t offset) {
        return {.offset = offset, .digest = Sha256::of(std::to_string(offset))};
    }

    static std::vector<std::int64_t> offsets(const Journal& journal) {
        std::vector<std::int64_t> offsets;
        for (const Checkpoint& checkpoint : journal.checkpoints()) {
            EXPECT_EQ(checkpoint.digest, at(checkpoint.offset).digest);
            offsets.push_back(checkpoint.offset);
        }
        return offsets;
    }

    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "f.part.journal";
    JournalHeader header_{.url = "http://h/f?...",
                          .urlDigest = Sha256::of("http://h/f?x"),
                          .validator = "\"v\"",
                          .length = 1000};
};

using Offsets = std::vector<std::int64_t>;

TEST_F(JournalTest, TellsTheNextProcessHowFarItIs) {
    {
        const auto journal = open();
        EXPECT_FALSE(journal->header().has_value());
        EXPECT_TRUE(journal->begin(header_));
        EXPECT_TRUE(journal->record(at(100)));
    }
    const auto journal = open();
    ASSERT_TRUE(journal->header().has_value());
    EXPECT_EQ(journal->header()->url, header_.url);
    EXPECT_EQ(journal->header()->urlDigest, header_.urlDigest);
    EXPECT_EQ(journal->header()->validator, "\"v\"");
    EXPECT_EQ(journal->header()->length, 1000);
    EXPECT_EQ(offsets(*journal), Offsets{100});
}

TEST_F(JournalTest, KeepsTheDurableCheckpointAndTheLastTwo) {
    {
        const auto journal = open();
        journal->begin(header_);
        journal->recordDurable(at(50));
        for (std::int64_t offset = 100; offset <= 500; offset += 100) {
            journal->record(at(offset));
        }
    }
    EXPECT_EQ(offsets(*open()), (Offsets{50, 400, 500}));
}

TEST_F(JournalTest, ANewBodyHasNoCheckpoints) {
    {
        const auto journal = open();
        journal->begin(header_);
        journal->record(at(100));
        header_.validator = "\"w\"";
        journal->begin(header_);
    }
    const auto journal = open();
    EXPECT_EQ(journal->header()->validator, "\"w\"");
    EXPECT_EQ(offsets(*journal), Offsets{});
}

TEST_F(JournalTest, ACheckpointOfAnotherBodyDoesNotCount) {
    {
        const auto journal = open();
        journal->begin(header_);
        journal->record(at(100));
    }
    std::string text = folder_.read("f.part.journal");
    const std::size_t place = text.find("\"\\\"v\\\"\"");
    ASSERT_NE(place, std::string::npos);
    text[place + 3] = 'w';
    folder_.write("f.part.journal", text);
    const auto journal = open();
    EXPECT_EQ(journal->header()->validator, "\"w\"");
    EXPECT_EQ(offsets(*journal), Offsets{});
}

TEST_F(JournalTest, ATornCheckpointDoesNotCount) {
    {
        const auto journal = open();
        journal->begin(header_);
        journal->record(at(100));
        journal->record(at(200));
    }
    std::string text = folder_.read("f.part.journal");
    text[text.find("200 ")] = '9';
    folder_.write("f.part.journal", text);
    EXPECT_EQ(offsets(*open()), Offsets{100});
}

TEST_F(JournalTest, EveryShorterFileIsAnEmptyJournal) {
    {
        const auto journal = open();
        journal->begin(header_);
        journal->record(at(100));
    }
    const std::string whole = folder_.read("f.part.journal");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        folder_.write("f.part.journal", whole.substr(0, size));
        const Journal::Opened opened = Journal::open(path_);
        ASSERT_NE(opened.journal, nullptr) << size;
        EXPECT_FALSE(opened.journal->header().has_value()) << size;
        EXPECT_EQ(offsets(*opened.journal), Offsets{}) << size;
        EXPECT_TRUE(opened.journal->wasThere());
        EXPECT_EQ(opened.journal->hadBegun(), size >= whole.find('\n') + 1) << size;
    }
}

TEST_F(JournalTest, WhatIsLeftOfALongerHeaderDoesNotCount) {
    open()->begin(header_);
    folder_.write("f.part.journal", folder_.read("f.part.journal") + "{\"url\": 1}\n");
    {
        const auto journal = open();
        ASSERT_TRUE(journal->header().has_value());
        EXPECT_EQ(journal->header()->validator, "\"v\"");
        journal->begin(header_);
    }
    const std::string text = folder_.read("f.part.journal");
    EXPECT_EQ(text.find("{\"url\": 1}"), std::string::npos);
}

TEST_F(JournalTest, OneProcessAtATimeHasIt) {
    const auto journal = open();
    EXPECT_EQ(Journal::open(path_).absence, Journal::Absence::Locked);
}

TEST_F(JournalTest, OneThatWasRemovedIsMadeAnew) {
    auto journal = open();
    journal->begin(header_);
    journal->remove();
    journal.reset();
    EXPECT_FALSE(open()->header().has_value());
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"f.part.journal"});
}

TEST_F(JournalTest, ForeignFilesAreNotTouched) {
    folder_.write("f.part.journal", "my notes");
    EXPECT_EQ(Journal::open(path_).absence, Journal::Absence::Foreign);
    EXPECT_EQ(folder_.read("f.part.journal"), "my notes");
    folder_.write("f.part.journal", std::string(5000, 'x'));
    EXPECT_EQ(Journal::open(path_).absence, Journal::Absence::Foreign);
    std::filesystem::remove(path_);
    std::filesystem::create_symlink("victim", path_);
    EXPECT_EQ(Journal::open(path_).absence, Journal::Absence::Foreign);
    std::filesystem::remove(path_);
    std::filesystem::create_directory(path_);
    EXPECT_EQ(Journal::open(path_).absence, Journal::Absence::Foreign);
    std::filesystem::remove(path_);
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    EXPECT_EQ(Journal::open(path_).absence, Journal::Absence::Foreign);
}

TEST_F(JournalTest, OnlyItsOwnerReadsIt) {
    open();
    struct stat status{};
    ASSERT_EQ(::stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(JournalTest, RemovesNoFileOfSomebodyElse) {
    const auto journal = Journal::open(folder_ / "j").journal;
    folder_.write("other", "theirs");
    std::filesystem::rename(folder_ / "other", folder_ / "j");
    journal->remove();
    EXPECT_EQ(folder_.read("j"), "theirs");
}

TEST_F(JournalTest, AFolderThatIsMissingIsAFailure) {
    EXPECT_THROW(Journal::open(folder_ / "none" / "f"), Failure);
}

}  // namespace
}  // namespace foundation::httpclient_tool
