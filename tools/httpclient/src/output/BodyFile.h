#pragma once
#include "output/FileIdentity.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <sys/types.h>

namespace foundation::httpclient_tool {

/// A temporary file that a body is collected in, with positions of the caller's own, so that several
/// streams over one file cannot disturb each other. Remembers the first write that failed.
///
/// @par Thread safety
/// `size()` and `error()` are thread-safe; everything else is thread-compatible.
class BodyFile {
public:
    /// Creates a file at `path`; symbolic links are not followed. Null when something is there already.
    /// @throws Failure with `ExitCode::Failed` when that fails for another reason.
    static std::shared_ptr<BodyFile> createAt(const std::filesystem::path& path, mode_t mode);
    /// Opens the regular file at `path`; symbolic links are not followed. Null when there is none or it
    /// cannot be written.
    static std::shared_ptr<BodyFile> openAt(const std::filesystem::path& path);
    /// Creates a file without a name in `folder`; the system removes it when the process ends, whatever
    /// ends it.
    /// @throws Failure with `ExitCode::Failed` when that fails.
    static std::shared_ptr<BodyFile> createUnnamed(const std::filesystem::path& folder);

    /// Takes the descriptor over. `size` is that of the file.
    explicit BodyFile(int descriptor, std::int64_t size = 0) noexcept
        : descriptor_(descriptor), identity_(identityOf(descriptor)), size_(size) {}
    BodyFile(const BodyFile&) = delete;
    BodyFile& operator=(const BodyFile&) = delete;
    ~BodyFile();

    /// Writes all bytes at `position`. False after an error, and for ever after one.
    bool write(std::int64_t position, std::string_view bytes) noexcept;
    /// Reads up to `capacity` bytes at `position`; 0 at the end, negative after an error.
    std::int64_t read(std::int64_t position, char* bytes, std::size_t capacity) const noexcept;
    /// Drops the bytes from `size` on. False after an error.
    bool truncate(std::int64_t size) noexcept;
    /// Drops all bytes. False after an error.
    bool clear() noexcept { return truncate(0); }
    /// Waits until the bytes are on the disk. False after an error, now or in an earlier write.
    bool synchronise() noexcept;
    /// Takes over the permissions of another file, without its set-id bits.
    void setPermissions(mode_t mode) const noexcept;
    /// Makes sure that the bytes are on the disk and closes the file. False after an error, now or in an
    /// earlier write.
    bool commit() noexcept;

    /// Whether the file still has that name, also after `commit()`.
    bool isAt(const std::filesystem::path& path) const noexcept {
        return identity_.has_value() && identity_ == identityAt(path);
    }
    std::int64_t size() const noexcept { return size_.load(std::memory_order_relaxed); }
    /// The errno of the first operation that failed; 0 while none has.
    int error() const noexcept { return error_.load(std::memory_order_relaxed); }

private:
    bool failed(int error) noexcept;

    int descriptor_;
    std::optional<FileIdentity> identity_;
    std::atomic<std::int64_t> size_;
    std::atomic<int> error_{0};
};

}  // namespace foundation::httpclient_tool
