#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// The MD5 digest of the text (RFC 1321) as 32 lower-case hexadecimal digits. Only for Digest
/// authentication, which asks for it; as a protection it is broken.
/// @throws HttpRequestFailedException "MD5 is not available" where OpenSSL is configured to do without.
std::string md5(std::string_view text);

}  // namespace foundation::httpclient_curl
