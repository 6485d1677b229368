#pragma once
#include <foundation/httpclient_core/URL.h>

#include <cstdint>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API TransactionReport {
public:
    TransactionReport(long redirectCount, URL effectiveURL);
    std::int32_t redirectCount() const noexcept;
    URL effectiveURL() const;

private:
    std::int32_t count_;
    URL url_;
};
}  // namespace foundation::httpclient_core
