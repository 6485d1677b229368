#pragma once
#include "command/CommandLine.h"
#include "output/BodyFile.h"
#include "signals/Interrupts.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/MultipartBody.h>

#include <memory>
#include <optional>

namespace foundation::httpclient_tool {

/// Makes the requests of a command line: headers, body and settings are the same for all its URLs.
///
/// @par Thread safety
/// thread-compatible
class RequestBuilder {
public:
    /// Reads what the body needs: standard input and pipes are copied into an unnamed temporary file first,
    /// since a request may have to be sent twice.
    /// @throws Failure with `ExitCode::Failed` when a file cannot be read, with `ExitCode::Usage` for a form
    /// field without a name.
    RequestBuilder(const RequestOptions& options, int standardInput, Interrupts& interrupts);

    /// A request for the URL with headers and body, without a configuration and callbacks.
    httpclient_core::HttpRequest request(const httpclient_core::URL& url) const;
    /// Everything but the retry strategy.
    httpclient_core::ClientConfiguration configuration() const;

private:
    void readData(const std::string& data, int standardInput, Interrupts& interrupts);
    httpclient_core::HttpHeaders headers() const;
    std::unique_ptr<std::istream> openBody() const;

    const RequestOptions& options_;
    std::string text_;                    ///< A literal body.
    std::filesystem::path file_;          ///< A body that is a regular file.
    std::shared_ptr<BodyFile> copy_;      ///< A body that could be read once only.
    std::optional<std::int64_t> length_;  ///< Of the body; nothing without one.
    std::optional<httpclient_core::MultipartBody> form_;
};

}  // namespace foundation::httpclient_tool
