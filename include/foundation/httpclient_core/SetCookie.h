#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
#include <vector>
namespace foundation::httpclient_core {
class HttpResponse;

/// One `Set-Cookie` response header, parsed: `id=42; Path=/; Secure` (RFC 6265, section 4.1).
///
/// A plain record; a default one has an empty name, an empty value and no attributes. No rule of
/// cookies is applied: domain, path and expiry are attributes like any other, as text. Copying and
/// moving are those of the three fields.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// One pair, then attributes with and without a value:
/// @code{.cpp}
/// const SetCookie cookie = SetCookie::parse("id=42; Path=/; Secure");
/// assert(cookie.name == "id" && cookie.value == "42");
/// assert(cookie.attributes.get("path") == "/");
/// assert(cookie.attributes.get("secure") == "");  // an attribute without a value
/// @endcode
struct FOUNDATION_HTTPCLIENT_CORE_API SetCookie {
    /// The name of the cookie; never empty after parse().
    std::string name;
    /// The value of the cookie, as it stands between `=` and `;`; may be empty.
    std::string value;
    /// What follows the first pair, in order, duplicates included. An attribute without `=`, such
    /// as `HttpOnly`, has an empty value. Names are matched without regard to ASCII case.
    NameValueCollection attributes;

    /// Reads the text of one header.
    ///
    /// Elements are separated by `;`, trimmed of white space, and skipped where empty. The first
    /// one is split at its first `=` into name and value; `"id=; Max-Age=0"` has an empty value.
    /// @throws std::invalid_argument "Malformed Set-Cookie header: missing 'name=value' before
    /// attributes: <TEXT>" with the whole text as given, if there is no element, or the first one
    /// has no `=`, or the name is empty: `""`, `"Secure; id=1"`, `"=v"`. Only for a first element
    /// without `=` is there a record in the log, of the missing delimiter, as
    /// HttpHeaders::splitParameter() writes it.
    static SetCookie parse(const std::string& text);
};

/// Returns all `Set-Cookie` headers of a response, parsed, in the order of the fields; none if
/// there is none.
///
/// The name is matched without regard to case, by the upper-case forms of the character-type facet
/// of the global locale; for ASCII names that is what a look-up does.
/// @throws std::invalid_argument as SetCookie::parse(), for the first field that it refuses; the
/// fields before it are then not returned either.
///
/// @code{.cpp}
/// HttpResponse response;
/// response.addHeader("Set-Cookie: a=1; Secure");
/// response.addHeader("set-cookie: b=2");
/// const std::vector<SetCookie> cookies = getSetCookies(response);
/// assert(cookies.size() == 2 && cookies[1].name == "b");
/// @endcode
FOUNDATION_HTTPCLIENT_CORE_API std::vector<SetCookie> getSetCookies(const HttpResponse& response);

}  // namespace foundation::httpclient_core
