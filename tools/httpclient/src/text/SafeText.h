#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_tool {

/// Returns the text without control characters: each of their bytes becomes "\xNN", so that a server cannot
/// move the cursor or forge a second line. Those from U+0080 to U+009F count, in UTF-8: terminals obey them
/// too. All other bytes from 0x80 on are kept, for file names.
std::string withoutControlBytes(std::string_view text);

/// Returns the text with the parts of each URL in it that may be secret replaced by "...": the user
/// information, the query and the fragment. A URL ends at white space, a quote, "<" or ">",
/// and before a ":", ",", ";" or ")" that stands last.
std::string withoutUrlSecrets(std::string_view text);

/// Returns a text that is one URL, absolute or relative, without what may be secret and without control
/// characters, whatever else is in it: in a sentence a space or a quote ends a URL, and a query may hold both.
std::string shownUrl(std::string_view url);

/// Both of them: what a line for people may show.
std::string safeText(std::string_view text);

}  // namespace foundation::httpclient_tool
