#include "report/Report.h"

#include "report/HeadText.h"
#include "text/SafeText.h"

#include <foundation/httpclient_core/Version.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace foundation::httpclient_tool {
namespace {

// Keeps the order in which the keys were added.
using Json = nlohmann::ordered_json;

double milliseconds(std::chrono::microseconds time) {
    return static_cast<double>(time.count()) / 1000;
}

const char* nameOf(httpclient_curl::WaitSource source) {
    switch (source) {
        case httpclient_curl::WaitSource::RetryAfterSeconds:
            return "retry-after-seconds";
        case httpclient_curl::WaitSource::RetryAfterDate:
            return "retry-after-date";
        case httpclient_curl::WaitSource::Backoff:
            break;
    }
    return "backoff";
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(safeText(text));
}

Json waitJson(const httpclient_curl::RetryNotice& notice) {
    return {{"milliseconds", notice.wait.count()},
            {"source", nameOf(notice.source)},
            {"cause", safeText(notice.reason)}};
}

Json attemptJson(const AttemptRecord& record) {
    const httpclient_curl::AttemptReport& report = record.report;
    std::ostringstream method;
    method << report.method;
    return {{"attempt", report.attempt},
            {"method", method.str()},
            {"url", shownUrl(report.url)},
            {"status", static_cast<int>(report.code)},
            {"error", textOrNull(errorText(report.error))},
            {"redirects", report.redirects},
            {"bytes_kept", report.bytesKept},
            {"bytes_received", report.bytesReceived},
            {"bytes_discarded", report.bytesDiscarded},
            {"resumed", report.resumed},
            {"validator", textOrNull(report.validator)},
            {"connection_reused", report.connectionReused},
            {"remote_address", textOrNull(report.remoteAddress)},
            {"timings_ms",
             {{"name_lookup", milliseconds(report.nameLookup)},
              {"connect", milliseconds(report.connect)},
              {"tls", milliseconds(report.tls)},
              {"first_byte", milliseconds(report.firstByte)},
              {"total", milliseconds(report.total)}}},
            {"wait", record.wait.has_value() ? waitJson(*record.wait) : Json()}};
}

Json headersJson(const httpclient_core::HttpHeaders& headers) {
    Json json = Json::object();
    for (const auto& [name, value] : headers) {
        if (mayBeShown(name) && !json.contains(name)) {
            json[name] = safeText(shownValue(name, value));
        }
    }
    return json;
}

Json resultJson(const TransferResult& result) {
    Json attempts = Json::array();
    for (const AttemptRecord& record : result.attempts) {
        attempts.push_back(attemptJson(record));
    }
    return {{"url", shownUrl(result.url)},
            {"method", result.method},
            {"output", textOrNull(result.output)},
            {"exit_code", static_cast<int>(result.code)},
            {"failure", textOrNull(result.failure)},
            {"status", result.status},
            {"reason", safeText(result.reason)},
            {"headers", headersJson(result.headers)},
            {"effective_url", textOrNull(shownUrl(result.effectiveUrl))},
            {"redirects", result.redirects},
            {"bytes", result.bytes},
            {"resumed_from", result.resumedFrom},
            {"attempts", std::move(attempts)}};
}

}  // namespace

std::string jsonReport(ExitCode code, const std::vector<TransferResult>& results) {
    Json list = Json::array();
    for (const TransferResult& result : results) {
        list.push_back(resultJson(result));
    }
    const Json report = {{"program", "httpclient " FOUNDATION_HTTPCLIENT_VERSION},
                         {"exit_code", static_cast<int>(code)},
                         {"results", std::move(list)}};
    // Bytes of a server that are no UTF-8 become replacement characters.
    return report.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

}  // namespace foundation::httpclient_tool
