#pragma once
#include <chrono>
#include <optional>
#include <string_view>

namespace foundation::httpclient_curl {

/// The moment that a date of a header field names, in any of the three forms of RFC 9110, 5.6.7:
/// "Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT" and "Sun Nov  6 08:49:37 1994".
/// The name of the day is not compared with the date. A year of two digits is the one that lies at most
/// 50 years after `now`. Nothing for any other text.
std::optional<std::chrono::sys_seconds> parseHttpDate(std::string_view text,
                                                      std::chrono::system_clock::time_point now);

}  // namespace foundation::httpclient_curl
