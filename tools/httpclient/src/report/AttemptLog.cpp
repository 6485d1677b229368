#include "report/AttemptLog.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <algorithm>
#include <sstream>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpResponseCode;
using httpclient_curl::AttemptReport;
using httpclient_curl::RetryNotice;
using httpclient_curl::WaitSource;

// "12.3 ms"; the standard stream formats would follow the user's locale.
std::string timeText(std::chrono::microseconds time) {
    const auto tenths = time.count() / 100;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " ms";
}

bool isCancelled(const AttemptReport& report) {
    try {
        if (report.error != nullptr) {
            std::rethrow_exception(report.error);
        }
    } catch (const httpclient_core::HttpRequestCancelledException&) {
        return true;
    } catch (...) {
        return false;
    }
    return false;
}

std::string statusText(const AttemptReport& report) {
    if (report.code == HttpResponseCode::RequestNotMade) {
        // A transport forgets the code of what was cancelled; there may have been an answer.
        return isCancelled(report) ? "given up" : "not sent";
    }
    if (report.code == HttpResponseCode::ResponseNotReceived) {
        // Its head may have come and been refused.
        return report.firstByte.count() > 0 ? "no usable answer" : "no answer";
    }
    return "status " + to_string(report.code);
}

}  // namespace

std::string errorText(const std::exception_ptr& error) {
    if (error == nullptr) {
        return {};
    }
    try {
        std::rethrow_exception(error);
    } catch (const httpclient_core::HttpRequestTimeoutException&) {
        return "timed out";
    } catch (const std::exception& failure) {
        return failure.what();
    } catch (...) {
        return "unknown error";
    }
}

const char* describe(WaitSource source) noexcept {
    switch (source) {
        case WaitSource::RetryAfterSeconds:
            return "Retry-After in seconds";
        case WaitSource::RetryAfterDate:
            return "Retry-After date";
        case WaitSource::Backoff:
            break;
    }
    return "back-off";
}

std::string describe(const AttemptReport& report) {
    std::ostringstream place;
    place << report.method << ' ' << report.url << ": ";
    std::ostringstream text;
    text << "attempt " << report.attempt << ": " << place.str() << statusText(report);
    if (report.error != nullptr) {
        // Most errors name the place themselves.
        const std::string error = errorText(report.error);
        text << ", " << (error.starts_with(place.str()) ? error.substr(place.str().size()) : error);
    }
    text << "; " << report.bytesReceived << " bytes received, " << report.bytesKept << " kept, "
         << report.bytesDiscarded << " thrown away";
    if (report.resumed) {
        text << ", resumed";
    }
    if (!report.validator.empty()) {
        text << ", version " << report.validator;
    }
    if (report.redirects > 0) {
        text << "; redirects: " << report.redirects;
    }
    if (!report.remoteAddress.empty()) {
        text << "; " << report.remoteAddress
             << (report.connectionReused ? ", connection reused" : ", new connection");
    }
    text << "; name " << timeText(report.nameLookup) << ", connect " << timeText(report.connect)
         << ", TLS " << timeText(report.tls) << ", first byte " << timeText(report.firstByte)
         << ", total " << timeText(report.total);
    return text.str();
}

std::string describe(const RetryNotice& notice) {
    const auto tenths = notice.wait.count() / 100;
    return "waits " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s (" +
           describe(notice.source) + ") before attempt " + std::to_string(notice.retry + 1) + ": " +
           notice.reason;
}

void AttemptLog::attempted(const AttemptReport& report) {
    if (explains_) {
        errors_.note(describe(report));
    }
    const std::lock_guard lock(mutex_);
    attempts_.push_back({.number = told_++, .report = report});
}

void AttemptLog::waiting(std::size_t transfer,
                         const RetryNotice& notice,
                         const std::string& place) {
    if (explains_) {
        errors_.note(place + describe(notice));
    }
    const std::lock_guard lock(mutex_);
    waits_.push_back({.number = told_++, .transfer = transfer, .notice = notice});
}

std::vector<AttemptRecord> AttemptLog::records(const std::vector<unsigned long>& ids,
                                               std::size_t transfer) const {
    const std::lock_guard lock(mutex_);
    std::vector<AttemptRecord> records;
    std::vector<std::size_t> numbers;
    for (const Attempt& attempt : attempts_) {
        const auto& id = attempt.report.requestId;
        if (id.has_value() && std::find(ids.begin(), ids.end(), *id) != ids.end()) {
            records.push_back({.report = attempt.report, .wait = std::nullopt});
            numbers.push_back(attempt.number);
        }
    }
    for (const Wait& wait : waits_) {
        const auto behind = std::upper_bound(numbers.begin(), numbers.end(), wait.number);
        if (wait.transfer == transfer && behind != numbers.begin()) {
            records[static_cast<std::size_t>(behind - numbers.begin()) - 1].wait = wait.notice;
        }
    }
    return records;
}

}  // namespace foundation::httpclient_tool
