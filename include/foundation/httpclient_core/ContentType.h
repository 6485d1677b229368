#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <string>
namespace foundation::httpclient_core {

/// A media type with its parameters, as in `text/html; charset=utf-8` (RFC 9110, section 8.3.1).
///
/// The type is any text: its case is kept, its form is not checked, and white space around it stays
/// where it was parsed with some. Parameters keep their order and their duplicates; their names are
/// matched without regard to ASCII case, their values are taken as they stand, quotes included.
///
/// Copying and moving are those of the two fields. A moved-from object holds some type text and no
/// parameters; it can be read, assigned and destroyed.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Parsed, read and printed:
/// @code{.cpp}
/// const ContentType html = ContentType::parse("text/html; charset=utf-8;level=1");
/// assert(html.getType() == "text/html");
/// assert(html.getParameters().get("Charset") == "utf-8");
/// assert(html.toString() == "text/html; charset=utf-8;level=1");
/// assert(ContentType("text/plain", {}).toString() == "text/plain");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API ContentType {
public:
    /// Makes a media type of the two as they are; nothing is validated.
    ContentType(std::string type, NameValueCollection parameters);
    /// Reads a media type with the grammar of HttpHeaders::splitParameters() and the separator `;`.
    ///
    /// The type is the first element that is not empty, with its white space: `"text/html ;a=1"`
    /// has the type `"text/html "`. An empty text gives an empty type without parameters.
    /// @throws std::runtime_error "Missing delimiter <=> when parsing : <ELEMENT>" with the element
    /// as given if a parameter has no `=`, for example `"a/b; q"` with `< q>`; after that, "Missing
    /// parameter value for <NAME>" for the first parameter without a value, for example `"a/b;q="`
    /// with `<q>`, and with `<>` for a semicolon at the end. The same text was then written to the
    /// core channel at severity 4.
    static ContentType parse(const std::string& text);

    /// Returns a copy of the type.
    std::string getType() const;
    /// Returns a copy of the parameters.
    NameValueCollection getParameters() const;

    /// Returns the type, then `"; "`, then the parameters as `name=value` with a bare `;` between
    /// them; without parameters the type alone. The blank after the first semicolon, and after that
    /// one only, is part of the form. Nothing is quoted or escaped, so that what was parsed need
    /// not come back unchanged: `"text/html ;a=1"` gives `"text/html ; a=1"`.
    std::string toString() const;

    /// Returns true if the types are the same bytes and the parameters are equal by
    /// NameValueCollection::operator==(): case and order count, so `"Text/html"` is not
    /// `"text/html"`.
    bool operator==(const ContentType& other) const;

private:
    std::string type_;
    NameValueCollection parameters_;
};

}  // namespace foundation::httpclient_core
