#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
namespace foundation::httpclient_core {

/// The conversions between the text of a `Cookie` request header and its pairs (RFC 6265, section
/// 4.2).
///
/// A holder of two static functions without data. They parse and print; no rule of cookies is
/// applied, and nothing is quoted, encoded or checked. Names are looked up in the result without
/// regard to ASCII case, as in every NameValueCollection, although servers tell `id` from `ID`;
/// iterate where that matters.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// There and back:
/// @code{.cpp}
/// const NameValueCollection cookies = Cookie::parse("id=42; theme=dark;");
/// assert(cookies.size() == 2 && cookies.get("theme") == "dark");
/// assert(Cookie::toString(cookies) == "id=42; theme=dark");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API Cookie {
public:
    /// Returns the pairs of a `Cookie` header in order, duplicates included.
    ///
    /// Elements are separated by `;`, trimmed of white space, skipped where empty, and split at
    /// their first `=`; both sides are trimmed. An empty text gives no pair; `"=v"` gives the pair
    /// ("", "v").
    /// @throws std::runtime_error "Missing delimiter <=> when parsing : <ELEMENT>" with the trimmed
    /// element if one has no `=`; the same text was then written to the core channel at severity 4.
    static NameValueCollection parse(const std::string& text);
    /// Returns the pairs as `name=value` with `"; "` between them; `""` for an empty collection.
    /// Names and values are printed as they are, so a value with a semicolon does not survive
    /// parse().
    static std::string toString(const NameValueCollection& cookies);
};

}  // namespace foundation::httpclient_core
