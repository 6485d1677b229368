#pragma once
#include <foundation/httpclient_core/HttpMethod.h>

#include <curl/curl.h>

#include <exception>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// What an error message says of the request: never a query, which may hold secrets.
struct TransferContext {
    httpclient_core::HttpMethod method;
    std::string url;
};

/// The exception for what libcurl reports. `detail` is the text of its error buffer, `osError` the error of the
/// system behind it, or 0.
std::exception_ptr transferError(CURLcode code,
                                 long osError,
                                 const std::string& detail,
                                 const TransferContext& context);
/// The text with control characters as "\\x1B": what others had a part in must not move a terminal's
/// cursor.
std::string printable(const std::string& text);
/// A failure of the transport's own in the same form.
std::exception_ptr transferFailure(const std::string& text, const TransferContext& context);

/// Whether the next attempt would meet this again: 1 unsupported protocol, 3 malformed URL, 60 peer
/// certificate not verified, 77 unreadable CA file, 83 wrong issuer, 91 invalid certificate status.
bool isLasting(CURLcode code);
/// The same by the "(libcurl N)" that ends the texts of transferError().
bool saysLasting(std::string_view text);

}  // namespace foundation::httpclient_curl
