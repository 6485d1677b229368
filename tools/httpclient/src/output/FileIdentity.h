#pragma once
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <utility>

namespace foundation::httpclient_tool {

/// Which file it is, whatever its names are. Equal for the same file as long as it exists.
using FileIdentity = std::pair<dev_t, ino_t>;

/// The identity of an open file; nothing when that fails.
inline std::optional<FileIdentity> identityOf(int descriptor) noexcept {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0
               ? std::optional(FileIdentity(status.st_dev, status.st_ino))
               : std::nullopt;
}

/// The identity of what has that name, of a symbolic link itself; nothing where nothing has it.
inline std::optional<FileIdentity> identityAt(const std::filesystem::path& path) noexcept {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0
               ? std::optional(FileIdentity(status.st_dev, status.st_ino))
               : std::nullopt;
}

}  // namespace foundation::httpclient_tool
