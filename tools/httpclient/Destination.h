#pragma once
#include "tools/httpclient/BodyFile.h"
#include "tools/httpclient/Interrupts.h"

#include <filesystem>
#include <memory>
#include <string>

namespace foundation::httpclient_tool {

/// Where a body ends up. It is collected in a temporary file and gets there as a whole, after everything
/// else has gone well; a destination that is destroyed unpublished leaves nothing behind.
class Destination {
public:
    virtual ~Destination() = default;
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    const std::shared_ptr<BodyFile>& body() const noexcept { return body_; }
    /// The name for messages.
    const std::string& name() const noexcept { return name_; }
    /// Puts the whole body where it belongs. Called once.
    /// @throws Failure with `ExitCode::OutputFailed` when that fails.
    virtual void publish() = 0;

protected:
    Destination(std::string name, std::shared_ptr<BodyFile> body);
    /// Ends the attempt to publish.
    [[noreturn]] void throwCannotWrite(int error) const;

private:
    std::string name_;
    std::shared_ptr<BodyFile> body_;
};

/// Returns the destination for the option -o: no path is standard output. A regular file, or none yet, is
/// replaced at once by renaming the finished temporary file beside it, "FILE.part"; what was there keeps
/// its permissions and, until that moment, its content. Everything else (standard output, pipes, devices)
/// cannot be rewound when a download starts over, so the body waits in an unnamed temporary file and is
/// copied at the end.
/// @throws Failure with `ExitCode::OutputFailed` when the temporary file cannot be created or the path
/// cannot be written.
std::unique_ptr<Destination> openDestination(const std::filesystem::path& path,
                                             int standardOutput,
                                             Interrupts& interrupts);

}  // namespace foundation::httpclient_tool
