#include "retry/RetryAfter.h"

#include "request/HeaderText.h"
#include "retry/HttpDate.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace foundation::httpclient_curl {
namespace {

std::string field(const httpclient_core::HttpResponse& response, const std::string& name) {
    // Asked for first: reading a missing header would write a log record.
    return response.hasHeader(name) ? response.getHeaderValue(name) : std::string();
}

}  // namespace

std::optional<RetryAfter> RetryAfter::of(const httpclient_core::HttpResponse& response,
                                         std::chrono::system_clock::time_point now) {
    if (isSuccess(response)) {
        return std::nullopt;
    }
    const std::string value = field(response, "Retry-After");
    const std::string_view text = trimmed(value);
    const bool isNumber = !text.empty() && std::all_of(text.begin(), text.end(),
                                                       [](char c) { return c >= '0' && c <= '9'; });
    if (isNumber) {
        // Longer than anybody waits, and far from overflowing as milliseconds.
        constexpr std::int64_t century = 100LL * 366 * 24 * 3600;
        std::int64_t seconds = 0;
        // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
        const auto result = std::from_chars(text.data(), text.data() + text.size(), seconds);
        const bool isHuge = result.ec == std::errc::result_out_of_range;
        return RetryAfter{
            .wait = std::chrono::seconds(isHuge ? century : std::min(seconds, century)),
            .isDate = false};
    }
    const auto until = parseHttpDate(text, now);
    if (!until.has_value()) {
        return std::nullopt;
    }
    const std::string date = field(response, "Date");
    const auto answered = parseHttpDate(trimmed(date), now);
    // Milliseconds, not the clock's nanoseconds, which end in the year 2262.
    using Moment = std::chrono::sys_time<std::chrono::milliseconds>;
    const Moment begin = answered.has_value() ? Moment(*answered)
                                              : std::chrono::floor<std::chrono::milliseconds>(now);
    const std::chrono::milliseconds wait = *until - begin;
    return RetryAfter{.wait = std::max(wait, std::chrono::milliseconds::zero()), .isDate = true};
}

}  // namespace foundation::httpclient_curl
