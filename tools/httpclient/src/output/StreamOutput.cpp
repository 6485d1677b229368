#include "output/StreamOutput.h"

#include "output/DescriptorWriter.h"
#include "output/Interruption.h"
#include "report/SystemFailure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_tool {

std::unique_ptr<StreamOutput> StreamOutput::onDescriptor(std::string name, int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    const int copy = flags < 0 ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    const int error = copy < 0 ? errno : EBADF;
    if (copy < 0 || (flags & O_ACCMODE) == O_RDONLY) {
        if (copy >= 0) {
            ::close(copy);
        }
        throw systemFailure("cannot write " + name, error);
    }
    return std::unique_ptr<StreamOutput>(new StreamOutput(std::move(name), {}, copy));
}

std::unique_ptr<StreamOutput> StreamOutput::onPath(const std::filesystem::path& path) {
    return std::unique_ptr<StreamOutput>(new StreamOutput(path.string(), path, -1));
}

StreamOutput::StreamOutput(std::string name, std::filesystem::path path, int descriptor)
    : Destination(std::move(name)),
      path_(std::move(path)),
      descriptor_(descriptor),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

StreamOutput::~StreamOutput() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    if (wake_ >= 0) {
        ::close(wake_);
    }
}

void StreamOutput::wake() noexcept {
    const std::uint64_t one = 1;
    // Fails only where the counter is full, and a full one wakes as well.
    [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof(one));
}

std::optional<Failure> StreamOutput::trouble() const {
    const std::lock_guard lock(mutex_);
    return trouble_;
}

bool StreamOutput::fail(Failure failure) {
    const std::lock_guard lock(mutex_);
    if (!trouble_.has_value()) {
        trouble_ = std::move(failure);
    }
    return false;
}

Failure StreamOutput::changed() const {
    return {ExitCode::ResumeRefused, name() + ": the resource changed after " +
                                         std::to_string(emitted_) +
                                         " bytes had gone out; throw them away and start over"};
}

void StreamOutput::beginAt(std::int64_t offset, const Entity& /*entity*/) {
    // A part that the caller asked for counts from its own first byte.
    static_cast<void>(offset);
    if (emitted_ > 0) {
        compared_ = 0;
        again_ = Sha256();
    }
}

bool StreamOutput::add(std::string_view bytes) {
    if (trouble().has_value()) {
        return false;
    }
    if (compared_ >= 0) {
        bytes = verified(bytes);
    }
    return !trouble().has_value() && (bytes.empty() || emit(bytes));
}

// Takes what was put out before from the front; what is left is new.
std::string_view StreamOutput::verified(std::string_view bytes) {
    const auto count = std::min(bytes.size(), static_cast<std::size_t>(emitted_ - compared_));
    again_.add(bytes.substr(0, count));
    compared_ += static_cast<std::int64_t>(count);
    if (compared_ == emitted_) {
        compared_ = -1;
        if (again_.hex() != digest_.hex()) {
            fail(changed());
        }
    }
    return bytes.substr(count);
}

bool StreamOutput::open() {
    // A pipe that nobody reads refuses; without O_NONBLOCK the wait for a reader could not be ended.
    while (descriptor_ < 0) {
        descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (descriptor_ >= 0 || errno == EINTR) {
            continue;
        }
        if (errno != ENXIO) {
            return fail(cannotWrite(errno));
        }
        pollfd woken{.fd = wake_, .events = POLLIN, .revents = 0};
        constexpr int milliseconds = 20;
        if (::poll(&woken, 1, milliseconds) > 0) {
            return fail(cannotWrite(ECANCELED));
        }
    }
    return true;
}

bool StreamOutput::emitPreamble() {
    const std::string text = std::exchange(preamble_, {});
    const int error = text.empty() ? 0 : writeAll(descriptor_, text, wake_);
    return error == 0 || fail(cannotWrite(error));
}

bool StreamOutput::emit(std::string_view bytes) {
    if (!open() || !emitPreamble()) {
        return false;
    }
    const int error = writeAll(descriptor_, bytes, wake_);
    if (error != 0) {
        return fail(cannotWrite(error));
    }
    digest_.add(bytes);
    remember(bytes);
    emitted_ += static_cast<std::int64_t>(bytes.size());
    return true;
}

void StreamOutput::remember(std::string_view bytes) {
    std::int64_t position = emitted_;
    if (bytes.size() > memory) {
        position += static_cast<std::int64_t>(bytes.size() - memory);
        bytes.remove_prefix(bytes.size() - memory);
    }
    while (!bytes.empty()) {
        const std::size_t place = static_cast<std::size_t>(position) % memory;
        const std::size_t count = std::min(bytes.size(), memory - place);
        bytes.copy(last_.data() + place, count);
        position += static_cast<std::int64_t>(count);
        bytes.remove_prefix(count);
    }
}

std::int64_t StreamOutput::read(std::int64_t offset, char* bytes, std::size_t capacity) const {
    const std::int64_t oldest = emitted_ - static_cast<std::int64_t>(memory);
    // While a second body is compared, what it brought is not here: only its digest is.
    if (compared_ >= 0 || offset < 0 || offset < oldest || offset > emitted_) {
        return -1;
    }
    const std::size_t place = static_cast<std::size_t>(offset) % memory;
    const auto count =
        std::min({capacity, memory - place, static_cast<std::size_t>(emitted_ - offset)});
    std::copy_n(last_.data() + place, count, bytes);
    return static_cast<std::int64_t>(count);
}

void StreamOutput::requireContinued() {
    if (compared_ >= 0) {
        fail(changed());
    }
    if (const auto failure = trouble()) {
        throw Failure(*failure);
    }
}

void StreamOutput::publish() {
    requireContinued();
    // A pipe without any bytes is opened and closed all the same: its reader waits for the end.
    if (!open() || !emitPreamble()) {
        throw trouble().value_or(cannotWrite(EIO));
    }
    // A file behind standard output may report a full disk this late; what is no file cannot be
    // synchronised and says so.
    if (uninterrupted([this] { return ::fsync(descriptor_); }) != 0 && errno != EINVAL &&
        errno != EROFS && errno != ENOTSUP) {
        throw cannotWrite(errno);
    }
    if (closeOnce(std::exchange(descriptor_, -1)) != 0) {
        throw cannotWrite(errno);
    }
}

}  // namespace foundation::httpclient_tool
