#pragma once
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
namespace foundation::httpclient_core {

/// A form, encoded once at construction as an `application/x-www-form-urlencoded` body.
///
/// The object offers what a request with a body needs: content type, length, and as many streams as wanted.
///
/// Fields are written in their order, duplicates included, each as name, `=`, value, joined by `&`. Names and
/// values go through a PercentEncoder with `"+"` for the space, so a literal `+` becomes `"%2B"`. The `=` is
/// always written: the field `("a", "")` gives `"a="`. Both differ from QueryParameters deliberately: a query
/// writes `"%20"`, and a bare key for an empty value. Names are not checked: an empty one gives `"=value"`.
///
/// @par Thread safety
/// thread-compatible; streams share nothing with the object or with each other.
///
/// @par Example
/// What a request needs for a form of two fields:
/// @code{.cpp}
/// const FormUrlEncoded form({{"name", "John Smith"}, {"q", "a+b&c=d"}});
/// std::ostringstream body;
/// body << form.stream()->rdbuf();
/// assert(body.str() == "name=John+Smith&q=a%2Bb%26c%3Dd");
/// assert(form.contentLength() == body.str().size());
/// assert(form.contentType().toString() == "application/x-www-form-urlencoded");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API FormUrlEncoded {
public:
    /// Encodes the fields, which are not kept; no fields give an empty body. Never fails for its input.
    explicit FormUrlEncoded(NameValueCollection fields);

    /// Returns the media type `application/x-www-form-urlencoded` without parameters, so without a charset.
    ContentType contentType() const;

    /// Returns the number of bytes of the body; 0 without fields.
    std::uint64_t contentLength() const noexcept;

    /// Returns a new stream at the start of a copy of the body.
    ///
    /// Each call gives another, independent one, which may outlive the object. The cost is linear in the body.
    /// @throws std::bad_alloc if there is no memory, and always for a body of more than 2147483647 bytes. The
    /// object stays as it is.
    std::unique_ptr<std::istream> stream() const;

private:
    std::string body_;
};
}  // namespace foundation::httpclient_core
