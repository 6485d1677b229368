#include "output/Destination.h"

#include "output/PartialFile.h"
#include "output/StreamOutput.h"
#include "report/SystemFailure.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

[[noreturn]] void throwCannotWrite(const std::filesystem::path& path, int error) {
    throw systemFailure("cannot write " + path.string(), error);
}

// Where the file is made that a symbolic link names and that is not there yet.
std::filesystem::path behindLinks(std::filesystem::path path) {
    constexpr int enough = 40;  // as many as the system follows itself
    for (int links = 0; links < enough; ++links) {
        std::error_code error;
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        if (error) {
            return path;
        }
        path = path.parent_path() / next;
    }
    throwCannotWrite(path, ELOOP);
}

// The file behind a symbolic link is replaced, not the link.
std::filesystem::path targetOf(const std::filesystem::path& path, bool exists) {
    if (!exists) {
        return behindLinks(path);
    }
    std::error_code error;
    std::filesystem::path target = std::filesystem::canonical(path, error);
    if (error) {
        throwCannotWrite(path, error.value());
    }
    // A rename would ask for the folder's permission only.
    if (::access(target.c_str(), W_OK) != 0) {
        throwCannotWrite(path, errno);
    }
    return target;
}

}  // namespace

std::uint64_t Destination::begin(std::int64_t offset, const Entity& entity) {
    ++ticket_;
    beginAt(offset, entity);
    return ticket_;
}

bool Destination::append(std::uint64_t ticket, std::string_view bytes) {
    return ticket == ticket_ && add(bytes);
}

Failure Destination::cannotWrite(int error) const {
    return systemFailure("cannot write " + name_, error);
}

std::unique_ptr<Destination> openDestination(const DestinationRequest& request) {
    const std::filesystem::path& path = request.path;
    if (path.empty()) {
        return StreamOutput::onDescriptor("standard output", request.standardOutput);
    }
    struct stat status{};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        throwCannotWrite(path, EISDIR);
    }
    if (exists && !S_ISREG(status.st_mode)) {
        return StreamOutput::onPath(path);
    }
    return PartialFile::open(
        {.name = path.string(), .target = targetOf(path, exists), .url = request.url},
        request.resume);
}

}  // namespace foundation::httpclient_tool
