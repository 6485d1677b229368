#pragma once
#include "terminal/ErrorOutput.h"

#include <foundation/httpclient_curl/AttemptReport.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <mutex>
#include <optional>
#include <vector>

namespace foundation::httpclient_tool {

/// One attempt and the wait behind it, if there was one.
struct AttemptRecord {
    httpclient_curl::AttemptReport report;
    std::optional<httpclient_curl::RetryNotice> wait;
};

/// Collects what the transport and the retry strategies tell of each attempt, and with --explain tells it
/// on standard error as it happens.
///
/// @par Thread safety
/// Internally locked: the mutex covers the records.
class AttemptLog {
public:
    AttemptLog(ErrorOutput& errors, bool explains) : errors_(errors), explains_(explains) {}

    /// For `CurlClientOptions::attemptObserver`.
    void attempted(const httpclient_curl::AttemptReport& report);
    /// For `ResumingRetryOptions::onRetry` of the transfer with this number; see `records()`. The line
    /// begins with `place`.
    void waiting(std::size_t transfer,
                 const httpclient_curl::RetryNotice& notice,
                 const std::string& place = {});

    /// The attempts of the client's requests with these ids, which belong to one transfer, in order, and the
    /// waits told for it.
    std::vector<AttemptRecord> records(const std::vector<unsigned long>& ids,
                                       std::size_t transfer) const;

private:
    ErrorOutput& errors_;
    bool explains_;
    struct Attempt {
        std::size_t number;
        httpclient_curl::AttemptReport report;
    };
    struct Wait {
        std::size_t number;
        std::size_t transfer;
        httpclient_curl::RetryNotice notice;
    };
    mutable std::mutex mutex_;
    std::size_t told_ = 0;  ///< Counts both: a wait belongs to the attempt told last before it.
    std::vector<Attempt> attempts_;
    std::vector<Wait> waits_;
};

/// One line for people, such as "attempt 1: GET http://h/f: 200, 700000 bytes received, ...".
std::string describe(const httpclient_curl::AttemptReport& report);
/// One line for people, such as "waits 0.2 s (back-off) before attempt 2: HTTP status 503".
std::string describe(const httpclient_curl::RetryNotice& notice);
/// "back-off", "Retry-After in seconds" or "Retry-After date".
const char* describe(httpclient_curl::WaitSource source) noexcept;
/// The text of an error; empty for none.
std::string errorText(const std::exception_ptr& error);

}  // namespace foundation::httpclient_tool
