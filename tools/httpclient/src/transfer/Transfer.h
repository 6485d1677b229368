#pragma once
#include "command/CommandLine.h"
#include "output/Destination.h"
#include "report/AttemptLog.h"
#include "report/FailureText.h"
#include "transfer/RequestBuilder.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/Progress.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace foundation::httpclient_tool {

class StreamOutput;

/// What a transfer needs of the run that it belongs to.
struct TransferContext {
    const RequestOptions& options;
    const RequestBuilder& builder;
    ErrorOutput& errors;
    AttemptLog& log;
    int standardOutput;
    /// True when nothing more makes sense: interrupted, or out of time.
    std::function<bool()> mustStop;
    /// Called with the number of the transfer, the bytes held and the bytes missing, 0 for unknown.
    std::function<void(std::size_t number, std::int64_t bytes, std::int64_t missing)> onProgress;
    std::function<void()> onRetry;
};

/// One URL of the command line: its request, and where the body goes.
///
/// @par Thread safety
/// thread-compatible, but for `wake()`
class Transfer {
public:
    /// Opens the destination.
    /// @throws Failure when that fails or the URL is none.
    Transfer(std::size_t number, std::string url, const TransferContext& context);

    /// The next request to make; it refers to this object.
    httpclient_core::HttpRequest request();
    /// Takes the end of the request over.
    /// @return true when another request is to be made: what was held could not be continued.
    bool wantsAnother(const Outcome& outcome);
    /// Puts the body where it belongs.
    /// @throws Failure for every outcome that is no success. What can be continued is kept then.
    void conclude(Outcome& outcome);
    /// Ends with a failure that the outcome does not tell; keeps what can be continued.
    Failure giveUp(Failure failure);
    /// Ends waits for whoever takes the output.
    void wake() noexcept { destination_->wake(); }

    std::size_t number() const noexcept { return number_; }
    const Destination& destination() const noexcept { return *destination_; }
    /// Bytes of an earlier run that this one built on.
    std::int64_t resumedFrom() const noexcept { return resumedFrom_; }

private:
    std::filesystem::path outputPath() const;
    std::unique_ptr<std::iostream> bodyStream(httpclient_core::HttpResponseCode code,
                                              const std::string& reason,
                                              const httpclient_core::HttpHeaders& headers);
    std::int64_t offsetOf(httpclient_core::HttpResponseCode code,
                          const httpclient_core::HttpHeaders& headers,
                          const Entity& entity) const;
    void tellHead(const httpclient_core::HttpRequest& request) const;
    void tellHead(const httpclient_core::HttpResponse& response) const;
    httpclient_core::RetryStrategy retryStrategy();
    void explain(const std::string& text) const;
    /// What a note begins with, so that it can be told which of several URLs it is about.
    std::string place() const;
    void requireWhole(const httpclient_core::HttpResponse& response) const;
    void publish(const httpclient_core::HttpResponse& response);
    StreamOutput* standardOutput() const noexcept;
    RequestFacts facts() const;

    std::size_t number_;
    std::string url_;
    std::string shownUrl_;  ///< For messages.
    const TransferContext& context_;
    httpclient_core::URL parsedUrl_;
    std::shared_ptr<Destination> destination_;
    std::optional<HeldPart> asked_;  ///< The rest of this was asked for.
    bool refused_ = false;           ///< The server sent something else than the rest.
    bool begun_ = false;             ///< A body of a success has begun.
    std::int64_t resumedFrom_ = 0;
    std::atomic<std::uint64_t> heads_{0};  ///< Changes of the answer's head.
};

}  // namespace foundation::httpclient_tool
