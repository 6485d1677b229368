#include "tools/httpclient/Destination.h"

#include "tools/httpclient/DescriptorWriter.h"
#include "tools/httpclient/Failure.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

std::string describe(int error) {
    return std::generic_category().message(error);
}

[[noreturn]] void fail(const std::string& text, int error) {
    throw Failure(ExitCode::OutputFailed, text + ": " + describe(error));
}

std::optional<struct stat> statusOf(const std::filesystem::path& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

// The temporary file beside the target, named so that people know what it is. A number is added where
// such a file is there already: another download of the same file may be writing it.
std::pair<std::filesystem::path, std::shared_ptr<BodyFile>> createPart(
    const std::filesystem::path& target) {
    std::filesystem::path path = target;
    path += ".part";
    const std::filesystem::path first = path;
    for (int number = 1; number <= 100; ++number) {
        if (auto body = BodyFile::createAt(path, 0666)) {
            return {path, std::move(body)};
        }
        path = first;
        path += ".";
        path += std::to_string(number);
    }
    fail("cannot create " + first.string(), EEXIST);
}

// A rename is on the disk only when its folder is. Some file systems cannot tell; the file is complete
// in any case.
void synchroniseFolder(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        ::fsync(descriptor);
        ::close(descriptor);
    }
}

class ReplacedFile final : public Destination {
public:
    ReplacedFile(std::string name,
                 std::filesystem::path target,
                 std::pair<std::filesystem::path, std::shared_ptr<BodyFile>> part)
        : Destination(std::move(name), std::move(part.second)),
          target_(std::move(target)),
          part_(std::move(part.first)) {}
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;
    ~ReplacedFile() override {
        if (!published_) {
            ::unlink(part_.c_str());
        }
    }

    void publish() override {
        if (const auto former = statusOf(target_)) {
            body()->setPermissions(former->st_mode);
        }
        if (!body()->commit()) {
            throwCannotWrite(body()->error());
        }
        if (::rename(part_.c_str(), target_.c_str()) != 0) {
            throwCannotWrite(errno);
        }
        published_ = true;
        synchroniseFolder(target_);
    }

private:
    std::filesystem::path target_;
    std::filesystem::path part_;
    bool published_ = false;
};

class CopiedStream final : public Destination {
public:
    CopiedStream(std::filesystem::path path, int standardOutput, Interrupts& interrupts)
        : Destination(path.empty() ? "standard output" : path.string(),
                      BodyFile::createUnnamed(temporaryFolder())),
          path_(std::move(path)),
          standardOutput_(standardOutput),
          interrupts_(interrupts) {}

    void publish() override {
        // Opening and writing a pipe may wait for ever for its reader, and nothing can wake a blocked
        // write here. Nothing is left to be cleaned up either, so a wish to stop ends the process.
        const Interrupts::Scope scope(interrupts_,
                                      [] { std::_Exit(static_cast<int>(ExitCode::Interrupted)); });
        const int descriptor = path_.empty() ? ::fcntl(standardOutput_, F_DUPFD_CLOEXEC, 0)
                                             : ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor < 0) {
            throwCannotWrite(errno);
        }
        const int copyError = copyTo(descriptor);
        const int closeError = ::close(descriptor) == 0 ? 0 : errno;
        if (copyError != 0 || closeError != 0) {
            throwCannotWrite(copyError != 0 ? copyError : closeError);
        }
    }

private:
    static std::filesystem::path temporaryFolder() {
        std::error_code error;
        std::filesystem::path folder = std::filesystem::temp_directory_path(error);
        if (error) {
            throw Failure(ExitCode::OutputFailed,
                          "cannot find a folder for temporary files: " + error.message());
        }
        return folder;
    }

    // 0, or the errno of what failed.
    int copyTo(int descriptor) const {
        std::array<char, 65536> chunk{};
        std::int64_t position = 0;
        for (;;) {
            const std::int64_t got = body()->read(position, chunk.data(), chunk.size());
            if (got < 0) {
                return errno;
            }
            if (got == 0) {
                break;
            }
            const int error = writeAll(descriptor, {chunk.data(), static_cast<std::size_t>(got)});
            if (error != 0) {
                return error;
            }
            position += got;
        }
        // A file behind standard output may report a full disk this late; what is no file cannot be
        // synchronised and says so.
        const bool synchronised =
            ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
        return synchronised ? 0 : errno;
    }

    std::filesystem::path path_;
    int standardOutput_;
    Interrupts& interrupts_;
};

std::unique_ptr<Destination> replacedFile(const std::filesystem::path& path, bool exists) {
    std::filesystem::path target = path;
    if (exists) {
        // The file behind a symbolic link is replaced, not the link.
        std::error_code error;
        target = std::filesystem::canonical(path, error);
        if (error) {
            fail("cannot write " + path.string(), error.value());
        }
        // A rename would ask for the folder's permission only.
        if (::access(target.c_str(), W_OK) != 0) {
            fail("cannot write " + path.string(), errno);
        }
    }
    return std::make_unique<ReplacedFile>(path.string(), target, createPart(target));
}

}  // namespace

Destination::Destination(std::string name, std::shared_ptr<BodyFile> body)
    : name_(std::move(name)), body_(std::move(body)) {}

void Destination::throwCannotWrite(int error) const {
    fail("cannot write " + name_, error);
}

std::unique_ptr<Destination> openDestination(const std::filesystem::path& path,
                                             int standardOutput,
                                             Interrupts& interrupts) {
    const auto status = path.empty() ? std::nullopt : statusOf(path);
    if (status.has_value() && S_ISDIR(status->st_mode)) {
        fail("cannot write " + path.string(), EISDIR);
    }
    if (path.empty() || (status.has_value() && !S_ISREG(status->st_mode))) {
        return std::make_unique<CopiedStream>(path, standardOutput, interrupts);
    }
    return replacedFile(path, status.has_value());
}

}  // namespace foundation::httpclient_tool
