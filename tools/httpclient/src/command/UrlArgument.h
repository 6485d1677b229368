#pragma once
#include <foundation/httpclient_core/URL.h>

#include <string>

namespace foundation::httpclient_tool {

/// Returns the URL that a user typed. The library takes nearly any text for a URL; here it must be an
/// absolute http or https URL with a host and, where there is a ":", a port from 1 to 65535. "http://h?q"
/// is read as "http://h/?q".
/// @throws Failure with `ExitCode::Usage` for anything else, and for user information and IPv6 literals,
/// which the library does not know; the text never repeats the URL.
httpclient_core::URL parseUrlArgument(const std::string& text);

/// Returns the file name for -O: what stands behind the last "/" of the URL's path, as it is.
/// @throws Failure with `ExitCode::Usage` where that is no name for a file: nothing, ".", "..".
std::string remoteName(const std::string& url);

}  // namespace foundation::httpclient_tool
