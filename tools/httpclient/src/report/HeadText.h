#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <string>
#include <vector>

namespace foundation::httpclient_tool {

/// The head of an answer for -i and `head`: status line, headers, an empty line. Control bytes are escaped.
std::string headText(httpclient_core::HttpResponseCode code,
                     const std::string& reason,
                     const httpclient_core::HttpHeaders& headers);

/// One line for each header, for -v: the values of names that are known to hold no secret, "(hidden)" for
/// all others, and URLs without what may be secret in them.
std::vector<std::string> shownHeaders(const httpclient_core::HttpHeaders& headers);

/// Whether the value of a header of that name, in any letter case, may be shown.
bool mayBeShown(const std::string& name);
/// The value of a header that may be shown, without queries and what else a URL may have that is secret.
std::string shownValue(const std::string& name, const std::string& value);

}  // namespace foundation::httpclient_tool
