#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_core {

/// Undoes percent-encoding and turns "+" into a space. A "%" that is not followed by two hexadecimal
/// digits stays as it is; "%00" gives a zero byte. Never fails.
std::string percentDecode(std::string_view text);

}  // namespace foundation::httpclient_core
