#pragma once
#include "output/BodyFile.h"
#include "output/Destination.h"
#include "output/Journal.h"
#include "output/Sha256.h"

#include <chrono>

namespace foundation::httpclient_tool {

/// A file that appears under its name only when it is whole. Until then its bytes are in "FILE.part", and
/// "FILE.part.journal" says of which resource and how far they are known to be right, so that another
/// process can go on with them, whatever ended this one. A number is added to the names where such a file
/// is there already and is not ours, or another process is working on it.
///
/// The journal gets a checkpoint after each `interval` bytes or `intervalTime`, whichever comes first: at
/// most that is lost when the process is killed. Each `intervalTime` the bytes, and then the checkpoint, are
/// forced to the disk as well: at most that is lost when the machine stops.
class PartialFile final : public Destination {
public:
    static constexpr std::int64_t interval = std::int64_t{1024} * 1024;
    static constexpr std::chrono::milliseconds intervalTime{500};

    struct Place {
        std::string name;              ///< For messages.
        std::filesystem::path target;  ///< What it becomes; no symbolic link.
        std::string url;               ///< What it is a part of.
    };

    /// Opens the partial file for `place`. With `resume` one that an earlier process left is continued up to
    /// its last checkpoint that fits its bytes; reads them all. Otherwise it starts over.
    /// @throws Failure with `ExitCode::Failed` when it cannot be created; with `ExitCode::ResumeRefused`
    /// when it is to be resumed but belongs to another URL or another process is working on it.
    static std::unique_ptr<PartialFile> open(const Place& place, bool resume);

    /// Removes the partial file and its journal, unless they were published or kept, or no body began: then
    /// those of an earlier process stay as they were.
    ~PartialFile() override;

    std::optional<HeldPart> heldPart() const override { return held_; }
    std::int64_t read(std::int64_t offset, char* bytes, std::size_t capacity) const override;
    std::int64_t size() const noexcept override { return body_->size(); }
    std::optional<Failure> trouble() const override;
    void publish() override;
    bool keepForLater() override;

private:
    using Clock = std::chrono::steady_clock;

    PartialFile(Place place, std::filesystem::path part, std::unique_ptr<Journal> journal);
    static std::unique_ptr<PartialFile> openAt(const Place& place, int number, bool resume);
    bool attach(bool resume);
    void findHeldPart(const JournalHeader& header);
    void beginAt(std::int64_t offset, const Entity& entity) override;
    bool add(std::string_view bytes) override;
    void recordProgress();
    Checkpoint checkpoint() const;

    Place place_;
    std::filesystem::path part_;
    std::unique_ptr<Journal> journal_;
    std::shared_ptr<BodyFile> body_;
    std::optional<HeldPart> held_;
    Sha256 digest_;              ///< Of the whole partial file.
    Sha256 heldDigest_;          ///< Of the held part.
    bool begun_ = false;         ///< In this process.
    bool continuable_ = false;   ///< The body that has begun is worth checkpoints.
    std::int64_t recorded_ = 0;  ///< Offset of the newest checkpoint.
    Clock::time_point recordedAt_;
    Clock::time_point synchronisedAt_;
    bool settled_ = false;  ///< Published or kept.
};

}  // namespace foundation::httpclient_tool
