#pragma once
#include "entity/Entity.h"
#include "report/Failure.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace foundation::httpclient_tool {

/// What a partial file of an earlier run holds.
struct HeldPart {
    std::int64_t size = 0;
    std::string validator;     ///< Strong; never empty.
    std::int64_t length = -1;  ///< Of the whole; -1 where that is not known.
};

/// Where the body of one request ends up. A body may begin several times before it is whole: each time
/// the server starts over.
///
/// @par Thread safety
/// `begin()`, `append()` and `read()` are called by one thread at a time, the transport's; `size()`,
/// `trouble()` and `wake()` from any thread; the others before the request starts or after its end.
class Destination {
public:
    virtual ~Destination() = default;
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    /// The name for messages.
    const std::string& name() const noexcept { return name_; }
    /// What can be continued; nothing where the body must begin at 0.
    virtual std::optional<HeldPart> heldPart() const { return std::nullopt; }

    /// A body begins; its first byte is byte `offset` of the entity. Earlier streams lose the right to
    /// append.
    /// @return what append() takes from now on.
    /// @throws Failure when the body cannot begin there.
    std::uint64_t begin(std::int64_t offset, const Entity& entity);
    /// Adds bytes to the body that began with this ticket. False, and nothing is added, when another one
    /// has begun since, after an error, and when the bytes contradict what was put out before.
    bool append(std::uint64_t ticket, std::string_view bytes);
    /// Reads bytes of the body that were appended, at this offset of the entity. Negative where they cannot
    /// be had any more.
    virtual std::int64_t read(std::int64_t offset, char* bytes, std::size_t capacity) const = 0;

    /// Bytes of the entity that are safe here: in the file, or put out.
    virtual std::int64_t size() const noexcept = 0;
    /// Why no attempt makes sense any more; nothing while all is well.
    virtual std::optional<Failure> trouble() const = 0;
    /// Ends a wait for whoever takes the bytes, for good.
    virtual void wake() noexcept {}

    /// The last body that has begun has ended in order.
    /// @throws Failure when it ended before the bytes that an earlier one had put out.
    virtual void requireContinued() {}
    /// The body is whole: puts it where it belongs. Called once.
    /// @throws Failure when that fails.
    virtual void publish() = 0;
    /// The body will not become whole in this process. Keeps what another one can go on with, if there is
    /// something.
    /// @return whether there was.
    virtual bool keepForLater() { return false; }

protected:
    explicit Destination(std::string name) : name_(std::move(name)) {}

    virtual void beginAt(std::int64_t offset, const Entity& entity) = 0;
    virtual bool add(std::string_view bytes) = 0;
    /// "cannot write NAME: " and the text of the errno.
    Failure cannotWrite(int error) const;

private:
    std::string name_;
    std::uint64_t ticket_ = 0;
};

/// How a destination is opened.
struct DestinationRequest {
    std::filesystem::path path;  ///< Empty: standard output.
    int standardOutput = -1;
    std::string url;      ///< Tells whether a partial file is one of this resource.
    bool resume = false;  ///< Go on with the partial file of an earlier run.
};

/// Returns the destination for the options -o and -O. A regular file, or none yet, is replaced at once by
/// renaming the finished partial file beside it; see PartialFile. Everything else (standard output, pipes,
/// devices) gets the bytes as they come; see StreamOutput.
/// @throws Failure with `ExitCode::Failed` when the destination cannot be written, and with
/// `ExitCode::ResumeRefused` when it is to be continued and cannot be.
std::unique_ptr<Destination> openDestination(const DestinationRequest& request);

}  // namespace foundation::httpclient_tool
