#include "output/PartialFile.h"

#include "output/Interruption.h"
#include "report/SystemFailure.h"
#include "text/SafeText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace foundation::httpclient_tool {
namespace {

// A rename is on the disk only when its folder is. Some file systems cannot tell; the file is complete
// in any case.
void synchroniseFolder(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const int descriptor = uninterrupted(
        [&folder] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (descriptor >= 0) {
        uninterrupted([descriptor] { return ::fsync(descriptor); });
        ::close(descriptor);
    }
}

std::filesystem::path withSuffix(std::filesystem::path path, const std::string& suffix) {
    path += suffix;
    return path;
}

[[noreturn]] void refuse(const std::filesystem::path& part, const std::string& why) {
    throw Failure(ExitCode::ResumeRefused, "cannot resume " + part.string() + ": " + why);
}

// Adds the bytes from the digest's own position up to `end`.
bool digestUpTo(Sha256& digest, std::int64_t& position, std::int64_t end, const BodyFile& file) {
    std::vector<char> chunk(std::size_t{256} * 1024);
    while (position < end) {
        const auto wanted = std::min(static_cast<std::int64_t>(chunk.size()), end - position);
        const std::int64_t got =
            file.read(position, chunk.data(), static_cast<std::size_t>(wanted));
        if (got <= 0) {
            return false;
        }
        digest.add({chunk.data(), static_cast<std::size_t>(got)});
        position += got;
    }
    return true;
}

}  // namespace

std::unique_ptr<PartialFile> PartialFile::open(const Place& place, bool resume) {
    constexpr int enough = 100;
    for (int number = 0; number < enough; ++number) {
        if (auto file = openAt(place, number, resume)) {
            return file;
        }
    }
    throw systemFailure("cannot create " + place.target.string() + ".part", EEXIST);
}

std::unique_ptr<PartialFile> PartialFile::openAt(const Place& place, int number, bool resume) {
    const std::filesystem::path part =
        withSuffix(place.target, number == 0 ? ".part" : ".part." + std::to_string(number));
    Journal::Opened opened = Journal::open(withSuffix(part, ".journal"));
    if (opened.journal == nullptr) {
        if (resume && opened.absence == Journal::Absence::Locked) {
            refuse(part, "another process is working on it; wait for its end");
        }
        return nullptr;
    }
    std::unique_ptr<PartialFile> file(new PartialFile(place, part, std::move(opened.journal)));
    return file->attach(resume) ? std::move(file) : nullptr;
}

PartialFile::PartialFile(Place place, std::filesystem::path part, std::unique_ptr<Journal> journal)
    : Destination(place.name),
      place_(std::move(place)),
      part_(std::move(part)),
      journal_(std::move(journal)) {}

PartialFile::~PartialFile() {
    if (settled_ ||
        (!begun_ && body_ != nullptr && journal_->header().has_value() && body_->size() > 0)) {
        return;
    }
    if (body_ != nullptr && body_->isAt(part_)) {
        ::unlink(part_.c_str());
    }
    journal_->remove();
}

// False when there is a file of that name that is not ours: without a journal that speaks of it nothing
// tells that it may be overwritten.
bool PartialFile::attach(bool resume) {
    body_ = journal_->wasThere() ? BodyFile::openAt(part_) : nullptr;
    // An empty one may be ours, too: stopped before the first byte, which a beginning comes before.
    if (body_ != nullptr && !journal_->hadBegun() && body_->size() > 0) {
        body_ = nullptr;
    }
    if (body_ == nullptr) {
        body_ = BodyFile::createAt(part_, 0666);
    }
    const std::optional<JournalHeader>& header = journal_->header();
    if (body_ == nullptr || body_->size() == 0 || !resume || !header.has_value()) {
        return body_ != nullptr;
    }
    if (header->urlDigest != Sha256::of(place_.url)) {
        settled_ = true;
        refuse(part_, "it belongs to another URL; without --resume it is replaced");
    }
    findHeldPart(*header);
    return true;
}

void PartialFile::findHeldPart(const JournalHeader& header) {
    if (header.validator.empty()) {
        return;
    }
    Sha256 digest;
    std::int64_t position = 0;
    for (const Checkpoint& checkpoint : journal_->checkpoints()) {
        if (checkpoint.offset <= 0 || !digestUpTo(digest, position, checkpoint.offset, *body_)) {
            continue;
        }
        if (digest.hex() == checkpoint.digest) {
            held_ = {.size = position, .validator = header.validator, .length = header.length};
            digest_ = digest;
        }
    }
    // Nothing can be asked for behind the last byte, so that one is fetched again: its answer tells whether
    // the rest is still what the server has.
    if (held_.has_value() && held_->size == held_->length) {
        --held_->size;
        position = 0;
        digest_ = Sha256();
        digestUpTo(digest_, position, held_->size, *body_);
    }
    if (held_.has_value() && held_->size == 0) {
        held_.reset();
    }
    if (held_.has_value()) {
        body_->truncate(held_->size);
        heldDigest_ = digest_;
    }
}

void PartialFile::beginAt(std::int64_t offset, const Entity& entity) {
    const std::int64_t heldSize = held_.has_value() ? held_->size : 0;
    if (offset != 0 && offset != heldSize) {
        throw Failure(ExitCode::ResumeRefused, "cannot resume " + part_.string() +
                                                   ": the server sent another part; "
                                                   "run again without --resume");
    }
    begun_ = true;
    // What follows a held part is of the same version, whether or not its head says so again.
    continuable_ = entity.continuable || offset != 0;
    recordedAt_ = synchronisedAt_ = Clock::now();
    if (offset != 0) {
        // The rest may begin several times, too.
        body_->truncate(offset);
        digest_ = heldDigest_;
        recorded_ = offset;
        return;
    }
    held_.reset();
    digest_ = Sha256();
    recorded_ = 0;
    // The journal first: a journal that still spoke of the former body would be refuted by its checksums
    // only.
    const bool begun =
        journal_->begin({.url = shownUrl(place_.url),
                         .urlDigest = Sha256::of(place_.url),
                         .validator = entity.continuable ? entity.validator : std::string(),
                         .length = entity.total});
    if (!begun) {
        throw cannotWrite(errno);
    }
    body_->truncate(0);
}

bool PartialFile::add(std::string_view bytes) {
    while (!bytes.empty()) {
        // Cut at the next checkpoint, so that no kill costs more than an interval.
        const auto room = static_cast<std::size_t>(recorded_ + interval - body_->size());
        const std::string_view piece =
            continuable_ ? bytes.substr(0, std::min(bytes.size(), room)) : bytes;
        if (!body_->write(body_->size(), piece)) {
            return false;
        }
        bytes.remove_prefix(piece.size());
        if (continuable_) {
            digest_.add(piece);
            recordProgress();
        }
    }
    return true;
}

Checkpoint PartialFile::checkpoint() const {
    return {.offset = body_->size(), .digest = digest_.hex()};
}

// Checkpoints that cannot be written cost a later resume some bytes, never the download.
void PartialFile::recordProgress() {
    const Clock::time_point now = Clock::now();
    if (now - synchronisedAt_ >= intervalTime) {
        const Checkpoint reached = checkpoint();
        if (body_->synchronise()) {
            journal_->recordDurable(reached);
        }
        recorded_ = reached.offset;
        recordedAt_ = synchronisedAt_ = Clock::now();
    } else if (body_->size() - recorded_ >= interval || now - recordedAt_ >= intervalTime) {
        journal_->record(checkpoint());
        recorded_ = body_->size();
        recordedAt_ = now;
    }
}

std::int64_t PartialFile::read(std::int64_t offset, char* bytes, std::size_t capacity) const {
    return body_->read(offset, bytes, capacity);
}

std::optional<Failure> PartialFile::trouble() const {
    const int error = body_->error();
    return error != 0 ? std::optional(cannotWrite(error)) : std::nullopt;
}

void PartialFile::publish() {
    struct stat former{};
    if (::stat(place_.target.c_str(), &former) == 0) {
        body_->setPermissions(former.st_mode);
    }
    if (!body_->commit()) {
        throw cannotWrite(body_->error());
    }
    // Somebody may have a use of his own for that name; his file must not pass for this body.
    if (!body_->isAt(part_)) {
        throw Failure(ExitCode::Failed,
                      "cannot write " + name() + ": " + part_.string() +
                          " was replaced or removed meanwhile; choose another name");
    }
    if (::rename(part_.c_str(), place_.target.c_str()) != 0) {
        throw cannotWrite(errno);
    }
    settled_ = true;
    synchroniseFolder(place_.target);
    journal_->remove();
}

bool PartialFile::keepForLater() {
    if (!begun_) {
        return held_.has_value();
    }
    settled_ = continuable_ && body_->size() > 0 && body_->synchronise() &&
               journal_->recordDurable(checkpoint());
    return settled_;
}

}  // namespace foundation::httpclient_tool
