#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_core {

/// Undoes percent-encoding and turns "+" into a space. A "%" that is not followed by two hexadecimal
/// digits stays as it is; "%00" gives a zero byte. Never fails for its input; one allocation, or none where
/// the result fits into the string itself.
std::string percentDecode(std::string_view text);

/// Writes the decoded text to `out`, which must have room for as many bytes as `text` has, and returns where
/// it ends. The second looks at each byte in turn.
/// @{
char* percentDecode(std::string_view text, char* out) noexcept;
char* percentDecodeByTable(std::string_view text, char* out) noexcept;
/// @}

}  // namespace foundation::httpclient_core
