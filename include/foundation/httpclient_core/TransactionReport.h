#pragma once
#include <foundation/httpclient_core/URL.h>

#include <cstdint>
namespace foundation::httpclient_core {

/// How an exchange went: how many redirects were followed, and which URL answered in the end.
///
/// A plain value without setters; the transport makes one and gives it to the response. A client
/// rebuilds a request that was answered 426 only if the effective URL differs from the first one.
/// Copying and moving are those of the two fields; a moved-from report keeps its count.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Two redirects, and the report of a response that was not made:
/// @code{.cpp}
/// const TransactionReport report(2, "https://example.com/moved");
/// assert(report.redirectCount() == 2);
/// assert(report.effectiveURL().getProtocol() == "https");
/// assert(HttpResponse().getTransactionReport().effectiveURL().toAsciiString().empty());
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API TransactionReport {
public:
    /// Makes a report. Nothing is validated. Of the count the low 32 bits are kept, as a signed
    /// number: 4294967297 becomes 1 where long has 64 bits.
    TransactionReport(long redirectCount, URL effectiveURL);

    /// Returns the number of redirects that were followed.
    std::int32_t redirectCount() const noexcept;
    /// Returns a copy of the URL that answered; of a response that was not made the empty URL.
    URL effectiveURL() const;

private:
    std::int32_t count_;
    URL url_;
};

}  // namespace foundation::httpclient_core
