#include <foundation/httpclient_core/TransactionReport.h>

#include <foundation/httpclient_core/URL.h>

#include <cstdint>
#include <utility>

namespace foundation::httpclient_core {

TransactionReport::TransactionReport(long redirectCount, URL effectiveURL)
    : count_(static_cast<std::int32_t>(redirectCount)), url_(std::move(effectiveURL)) {}

std::int32_t TransactionReport::redirectCount() const noexcept {
    return count_;
}

URL TransactionReport::effectiveURL() const {
    return url_;
}

}  // namespace foundation::httpclient_core
