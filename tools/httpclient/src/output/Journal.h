#pragma once
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace foundation::httpclient_tool {

/// What a journal says of the partial file beside it.
struct JournalHeader {
    std::string url;           ///< For people: without user information and query.
    std::string urlDigest;     ///< SHA-256 of the whole URL.
    std::string validator;     ///< Strong; empty when the body cannot be continued.
    std::int64_t length = -1;  ///< Of the whole; -1 where that is not known.
};

/// So many bytes of the body were in the partial file, with this SHA-256.
struct Checkpoint {
    std::int64_t offset = 0;
    std::string digest;
};

/// The small file that makes a partial file worth something to another process: which resource it is a
/// part of, and how far it is known to be right. Locked as long as it is open, so that one process works
/// on a partial file at a time.
///
/// It has a fixed place for each of three checkpoints, each with a check of its own: two that take turns,
/// so that a torn write leaves the other one, and one that is written only after the bytes it speaks of
/// are on the disk. A reader takes the one that reaches farthest and fits the bytes.
///
/// @par Thread safety
/// thread-compatible
class Journal {
public:
    /// Why there is no journal.
    enum class Absence {
        None,     ///< There is one.
        Locked,   ///< Another process works on it.
        Foreign,  ///< There is a file of that name, but none of this program.
    };
    struct Opened {
        std::unique_ptr<Journal> journal;
        Absence absence = Absence::None;
    };

    /// Opens or creates the journal at `path` and locks it.
    /// @throws Failure with `ExitCode::Failed` "cannot create PATH: " or "cannot lock PATH: " when that fails.
    static Opened open(const std::filesystem::path& path);

    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    ~Journal();

    /// Whether there was a file before it was opened.
    bool wasThere() const noexcept { return wasThere_; }
    /// Whether a body had begun in it: the file beside it is ours then.
    bool hadBegun() const noexcept { return hadBegun_; }
    /// What was found when it was opened; nothing in a new file and in one that makes no sense.
    const std::optional<JournalHeader>& header() const noexcept { return header_; }
    /// What was found, by growing offset.
    const std::vector<Checkpoint>& checkpoints() const noexcept { return checkpoints_; }

    /// Speaks of another body from here on: no checkpoint is left. False after an error.
    bool begin(const JournalHeader& header);
    /// Records a checkpoint; kept when the process is killed. False after an error.
    bool record(const Checkpoint& checkpoint);
    /// Records a checkpoint whose bytes are on the disk, and waits until it is there, too. False after an
    /// error.
    bool recordDurable(const Checkpoint& checkpoint);
    /// Removes the file, unless another one has its name by now; it stays locked.
    void remove() noexcept;

private:
    Journal(std::filesystem::path path, int descriptor, bool wasThere);
    bool isStillThere() const noexcept;
    bool load();
    bool write(int slot, const Checkpoint& checkpoint);

    std::filesystem::path path_;
    int descriptor_;
    bool wasThere_;
    bool hadBegun_ = false;
    std::string headerText_;
    std::optional<JournalHeader> header_;
    std::vector<Checkpoint> checkpoints_;
    int nextSlot_ = 1;
};

}  // namespace foundation::httpclient_tool
