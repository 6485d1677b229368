#pragma once
#include "request/Origin.h"

#include <optional>
#include <string_view>

namespace foundation::httpclient_curl {

/// The origin of an absolute URL that no two parsers read differently: "http" or "https" in lower case; a
/// host of lower-case letters, digits, "-" and "." whose last label begins with a letter, or four decimal
/// numbers; a port from 1 to 65535 or none; a path; no fragment; nothing that ends in "?". Nothing for
/// every other URL, although it may be sound: libcurl has to be asked about those, which costs ten
/// thousand instructions.
std::optional<Origin> originOfPlainUrl(std::string_view url);

}  // namespace foundation::httpclient_curl
