#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_tool {

/// Returns the text without control bytes: each becomes "\xNN", so that a server cannot move the cursor
/// or forge a second line. Bytes from 0x80 on are kept, for file names in UTF-8.
std::string withoutControlBytes(std::string_view text);

/// Returns the text with the parts of each URL in it that may be secret replaced by "...": the user
/// information, the query and the fragment. A URL ends at white space, a quote, "<" or ">",
/// and before a ":", ",", ";" or ")" that stands last.
std::string withoutUrlSecrets(std::string_view text);

/// Both of them: what a line for people may show.
std::string safeText(std::string_view text);

}  // namespace foundation::httpclient_tool
