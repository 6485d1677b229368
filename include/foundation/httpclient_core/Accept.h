#pragma once
#include <foundation/httpclient_core/ContentType.h>

#include <cstddef>
#include <string>
#include <vector>
namespace foundation::httpclient_core {

/// A list of media types, as in the header `Accept: text/html, application/json;q=0.9` (RFC 9110,
/// section 12.5.1).
///
/// The order is the one given or parsed. Nothing is sorted by weight: `q` is a parameter like any
/// other.
///
/// Copying and moving are those of the list; a moved-from object can be read, assigned and
/// destroyed.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Empty elements vanish, and parameters are printed in one form:
/// @code{.cpp}
/// const Accept accept = Accept::parse("text/html, application/json;q=0.9,,");
/// assert(accept.size() == 2 && accept[0].getType() == "text/html");
/// assert(accept.at(1).getParameters().get("q") == "0.9");
/// assert(accept.toString() == "text/html, application/json; q=0.9");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API Accept {
public:
    /// A random access iterator over constant media types.
    using const_iterator = std::vector<ContentType>::const_iterator;

    /// Makes a list of the types in the order given.
    explicit Accept(std::vector<ContentType> types);
    /// Reads a list whose elements are separated by `,`; each is trimmed of white space and read by
    /// ContentType::parse(). Empty elements are skipped, so `""` and `","` give an empty list.
    /// @throws std::runtime_error as ContentType::parse(), for the first element that it refuses.
    static Accept parse(const std::string& text);

    /// Returns the number of media types.
    std::size_t size() const noexcept;
    /// Returns the media type at `index`, counted from 0. The reference is valid until the object
    /// is assigned to, moved from or destroyed.
    /// @throws std::out_of_range "invalid vector subscript" if `index` is not below size().
    const ContentType& at(std::size_t index) const;
    /// Returns the media type at `index` as at() does, but without a check: an index not below
    /// size() is undefined behaviour.
    const ContentType& operator[](std::size_t index) const;
    /// Returns the position of the first media type, or end() if there is none. Iterators are valid
    /// until the object is assigned to, moved from or destroyed.
    const_iterator begin() const noexcept;
    /// Returns the position after the last media type.
    const_iterator end() const noexcept;
    /// Returns a copy of the list.
    std::vector<ContentType> getTypes() const;

    /// Returns ContentType::toString() of every type with `", "` between them; `""` for an empty
    /// list.
    std::string toString() const;

    /// Returns true if both lists have the same length and are equal position by position, by
    /// ContentType::operator==().
    bool operator==(const Accept& other) const;

private:
    std::vector<ContentType> types_;
};

}  // namespace foundation::httpclient_core
