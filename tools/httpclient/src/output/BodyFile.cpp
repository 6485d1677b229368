#include "output/BodyFile.h"

#include "output/Interruption.h"
#include "report/SystemFailure.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

[[noreturn]] void throwCannotCreate(const std::filesystem::path& path, int error) {
    throw systemFailure("cannot create " + path.string(), error);
}

}  // namespace

std::shared_ptr<BodyFile> BodyFile::createAt(const std::filesystem::path& path, mode_t mode) {
    const int descriptor = uninterrupted([&path, mode] {
        return ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    });
    if (descriptor < 0 && errno == EEXIST) {
        return nullptr;
    }
    if (descriptor < 0) {
        throwCannotCreate(path, errno);
    }
    return std::make_shared<BodyFile>(descriptor);
}

std::shared_ptr<BodyFile> BodyFile::openAt(const std::filesystem::path& path) {
    const int descriptor = uninterrupted(
        [&path] { return ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK); });
    struct stat status{};
    if (descriptor >= 0 && (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))) {
        ::close(descriptor);
        return nullptr;
    }
    return descriptor >= 0 ? std::make_shared<BodyFile>(descriptor, status.st_size) : nullptr;
}

std::shared_ptr<BodyFile> BodyFile::createUnnamed(const std::filesystem::path& folder) {
    std::string name;
    const int descriptor = uninterrupted([&name, &folder] {
        name = (folder / "httpclient-XXXXXX").string();
        return ::mkostemp(name.data(), O_CLOEXEC);
    });
    if (descriptor < 0) {
        throwCannotCreate(name, errno);
    }
    ::unlink(name.c_str());
    return std::make_shared<BodyFile>(descriptor);
}

BodyFile::~BodyFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool BodyFile::failed(int error) noexcept {
    int none = 0;
    error_.compare_exchange_strong(none, error);
    return false;
}

bool BodyFile::write(std::int64_t position, std::string_view bytes) noexcept {
    while (!bytes.empty() && error() == 0) {
        const ssize_t written = ::pwrite(descriptor_, bytes.data(), bytes.size(), position);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return failed(written < 0 ? errno : ENOSPC);
        }
        position += written;
        size_.store(std::max(size(), position), std::memory_order_relaxed);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return error() == 0;
}

std::int64_t BodyFile::read(std::int64_t position,
                            char* bytes,
                            std::size_t capacity) const noexcept {
    for (;;) {
        const ssize_t got = ::pread(descriptor_, bytes, capacity, position);
        if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

bool BodyFile::truncate(std::int64_t size) noexcept {
    if (uninterrupted([this, size] { return ::ftruncate(descriptor_, size); }) != 0) {
        return failed(errno);
    }
    size_.store(size, std::memory_order_relaxed);
    return error() == 0;
}

bool BodyFile::synchronise() noexcept {
    // EINVAL: a file system that cannot synchronise.
    if (uninterrupted([this] { return ::fdatasync(descriptor_); }) != 0 && errno != EINVAL) {
        failed(errno);
    }
    return error() == 0;
}

void BodyFile::setPermissions(mode_t mode) const noexcept {
    // A file system without permissions refuses; the body matters more.
    static_cast<void>(::fchmod(descriptor_, mode & 0777U));
}

bool BodyFile::commit() noexcept {
    // EINVAL: a file system that cannot synchronise.
    if (uninterrupted([this] { return ::fsync(descriptor_); }) != 0 && errno != EINVAL) {
        failed(errno);
    }
    if (closeOnce(std::exchange(descriptor_, -1)) != 0) {
        failed(errno);
    }
    return error() == 0;
}

}  // namespace foundation::httpclient_tool
