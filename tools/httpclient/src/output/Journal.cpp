#include "output/Journal.h"

#include "entity/ContentRange.h"
#include "output/FileIdentity.h"
#include "output/Interruption.h"
#include "output/Sha256.h"
#include "report/SystemFailure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

// Line 1 of the file; then three lines of fixed length for the checkpoints; then the header as one line of
// JSON; what follows is left of a longer one.
constexpr std::string_view magic = "httpclient journal 1\n";
constexpr std::size_t slotSize = 128;
constexpr int slotCount = 3;  // 0 is the durable one
constexpr std::size_t headerPosition = magic.size() + (slotSize * slotCount);

std::string encodeHeader(const JournalHeader& header) {
    return nlohmann::json{{"url", header.url},
                          {"url_sha256", header.urlDigest},
                          {"validator", header.validator},
                          {"length", header.length}}
               .dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) +
           "\n";
}

std::optional<JournalHeader> decodeHeader(const std::string& text) {
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    try {
        return JournalHeader{.url = json.at("url"),
                             .urlDigest = json.at("url_sha256"),
                             .validator = json.at("validator"),
                             .length = json.at("length")};
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

// Ties a checkpoint to its header: one that an earlier body left does not fit the next.
std::string checkOf(const std::string& headerText, const std::string& record) {
    constexpr std::size_t enough = 16;
    return Sha256::of(headerText + record).substr(0, enough);
}

std::string encodeSlot(const std::string& headerText, const Checkpoint& checkpoint) {
    const std::string record = std::to_string(checkpoint.offset) + " " + checkpoint.digest;
    std::string line = record + " " + checkOf(headerText, record);
    line.resize(slotSize - 1, ' ');
    return line + "\n";
}

std::optional<Checkpoint> decodeSlot(const std::string& headerText, std::string_view line) {
    const std::size_t first = line.find(' ');
    const std::size_t second = line.find(' ', first == std::string_view::npos ? first : first + 1);
    if (second == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string record(line.substr(0, second));
    const std::string_view check = line.substr(second + 1);
    const auto offset = parseSize(line.substr(0, first));
    if (!offset.has_value() ||
        check.substr(0, check.find(' ')) != std::string_view(checkOf(headerText, record))) {
        return std::nullopt;
    }
    return Checkpoint{.offset = *offset, .digest = record.substr(first + 1)};
}

bool writeAt(int descriptor, std::size_t position, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written =
            ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(position));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        position += static_cast<std::size_t>(written);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> chunk{};
    constexpr std::size_t largest = 1 << 20;
    for (;;) {
        const ssize_t got =
            ::pread(descriptor, chunk.data(), chunk.size(), static_cast<off_t>(text.size()));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0 || text.size() > largest) {
            return text;
        }
        text.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

// EINVAL: a file system that cannot synchronise.
bool isSynchronised(int result) noexcept {
    return result == 0 || errno == EINVAL;
}

}  // namespace

Journal::Journal(std::filesystem::path path, int descriptor, bool wasThere)
    : path_(std::move(path)), descriptor_(descriptor), wasThere_(wasThere) {}

Journal::~Journal() {
    ::close(descriptor_);
}

Journal::Opened Journal::open(const std::filesystem::path& path) {
    for (;;) {
        const int flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
        const auto open = [&path](int how) {
            return uninterrupted([&path, how] { return ::open(path.c_str(), how, 0600); });
        };
        int descriptor = open(flags | O_EXCL);
        const bool wasThere = descriptor < 0 && errno == EEXIST;
        if (wasThere) {
            descriptor = open(flags);
        }
        if (descriptor < 0 && (errno == ELOOP || errno == EISDIR || errno == ENXIO)) {
            return {.journal = nullptr, .absence = Absence::Foreign};
        }
        if (descriptor < 0) {
            throw systemFailure("cannot create " + path.string(), errno);
        }
        std::unique_ptr<Journal> journal(new Journal(path, descriptor, wasThere));
        if (uninterrupted([descriptor] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) != 0) {
            const int error = errno;
            if (error == EWOULDBLOCK) {
                return {.journal = nullptr, .absence = Absence::Locked};
            }
            if (!wasThere) {
                ::unlink(path.c_str());
            }
            throw systemFailure("cannot lock " + path.string(), error);
        }
        // Whoever held the lock before may have removed the file meanwhile.
        if (!journal->isStillThere()) {
            continue;
        }
        if (!journal->load()) {
            return {.journal = nullptr, .absence = Absence::Foreign};
        }
        return {.journal = std::move(journal), .absence = Absence::None};
    }
}

bool Journal::isStillThere() const noexcept {
    const auto mine = identityOf(descriptor_);
    return mine.has_value() && mine == identityAt(path_);
}

// False when the file is somebody else's.
bool Journal::load() {
    struct stat status{};
    if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const std::string text = readAll(descriptor_);
    hadBegun_ = text.starts_with(magic);
    if (text.size() < headerPosition) {
        // Stopped between creating the file and writing all of it.
        return magic.starts_with(text) || hadBegun_;
    }
    const std::size_t end = text.find('\n', headerPosition);
    if (!hadBegun_ || end == std::string::npos) {
        return hadBegun_;
    }
    headerText_ = text.substr(headerPosition, end + 1 - headerPosition);
    header_ = decodeHeader(headerText_);
    for (int slot = 0; header_.has_value() && slot < slotCount; ++slot) {
        const std::size_t position = magic.size() + (slotSize * static_cast<std::size_t>(slot));
        const auto checkpoint =
            decodeSlot(headerText_, std::string_view(text).substr(position, slotSize));
        if (checkpoint.has_value()) {
            checkpoints_.push_back(*checkpoint);
        }
    }
    std::sort(checkpoints_.begin(), checkpoints_.end(),
              [](const Checkpoint& a, const Checkpoint& b) { return a.offset < b.offset; });
    return true;
}

bool Journal::begin(const JournalHeader& header) {
    checkpoints_.clear();
    headerText_ = encodeHeader(header);
    const std::string text =
        std::string(magic) + std::string(slotSize * slotCount, ' ') + headerText_;
    // Written over at once: a process that is killed leaves the one or the other.
    return writeAt(descriptor_, 0, text) &&
           uninterrupted([this, &text] {
               return ::ftruncate(descriptor_, static_cast<off_t>(text.size()));
           }) == 0;
}

bool Journal::write(int slot, const Checkpoint& checkpoint) {
    return writeAt(descriptor_, magic.size() + (slotSize * static_cast<std::size_t>(slot)),
                   encodeSlot(headerText_, checkpoint));
}

bool Journal::record(const Checkpoint& checkpoint) {
    nextSlot_ = 3 - nextSlot_;
    return write(nextSlot_, checkpoint);
}

bool Journal::recordDurable(const Checkpoint& checkpoint) {
    return write(0, checkpoint) &&
           isSynchronised(uninterrupted([this] { return ::fdatasync(descriptor_); }));
}

void Journal::remove() noexcept {
    // Somebody may have put a file of his own there meanwhile.
    if (isStillThere()) {
        ::unlink(path_.c_str());
    }
}

}  // namespace foundation::httpclient_tool
