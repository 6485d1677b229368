#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
namespace foundation::httpclient_core {

/// The query of a URL: an ordered list of decoded key and value pairs, beside the raw text they came from.
///
/// Pairs keep the order in which they were added, and duplicates stay. Keys and values are any bytes; a key
/// is never empty, except in a collection handed to QueryParameters(NameValueCollection).
///
/// There are two texts, and they differ:
/// - toString() encodes the pairs afresh. An empty value prints as the bare key: `"?a=1&b="` gives
///   `"?a=1&b"`. A space prints as `"%20"`, never as `"+"`.
/// - toUnencodedString() gives the text as it was written, plus what was appended since, unencoded. URL
///   prints this one, so a parsed URL prints as it was read.
///
/// Parsing takes everything and drops what has no key: `"?a=1&&=d"` has the pair `("a", "1")` alone, while
/// its raw text stays `"a=1&&=d"`. Only `&` and `=` separate, a `;` belongs to the value around it, and only
/// the first `=` of an entry counts: `"e=x=y"` is `("e", "x=y")`.
///
/// Keys are looked up without regard to ASCII case, with one deliberate exception, getAllParameterValues().
///
/// An object that was moved from has unspecified content: assign to it before you use it again.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Parsed, extended and printed both ways:
/// @code{.cpp}
/// QueryParameters query("?a=1&b=&c&=d&&e=x=y");
/// assert(query.size() == 4 && query.getParameterValue("E") == "x=y");
/// query.addQueryParameter("k", "v w");
/// assert(query.toString() == "?a=1&b&c&e=x%3Dy&k=v%20w");
/// assert(query.toUnencodedString() == "?a=1&b=&c&=d&&e=x=y&k=v w");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API QueryParameters {
public:
    /// Walks over the pairs: `first` is the decoded key, `second` the decoded value. Valid until its own pair
    /// goes, as NameValueCollection::iterator, of which it is a kind.
    /// @{
    using iterator = NameValueCollection::iterator;
    using const_iterator = NameValueCollection::const_iterator;
    /// @}

    /// Makes a query without pairs, with empty texts.
    QueryParameters();

    /// Parses a query as it stands in a URL; never fails for its input.
    ///
    /// One leading `?` is taken off (`"??a"` has the key `"?a"`), and the rest is kept as the raw text. It is cut
    /// at each `&`; an empty piece is skipped. A piece is cut at its first `=`; without one its value is empty.
    /// Both parts are decoded: `+` is a space, `%` with two hexadecimal digits of either case is the byte
    /// they name (`"%00"` a zero byte), and every other `%` stays as it is: `"%zz"` is `"%zz"` and a `"%4"` at
    /// the end is `"%4"`. A piece whose decoded key is empty, such as `"=d"`, leaves no pair.
    ///
    /// Implicit: a std::string is taken where a query is wanted. `""` and `"?"` both give an empty query.
    ///
    /// All pairs are decoded here, so that nothing that reads them can fail for want of memory.
    /// @throws std::bad_alloc if there is no memory.
    QueryParameters(const std::string& query);

    /// Holds the given pairs in order, unencoded; the raw text is made as by addQueryParameter().
    /// @throws std::logic_error "Cannot create QueryParameter with an empty key" if any key is empty, before
    /// anything is stored; the text is logged first, at SEVERITY_ERROR.
    QueryParameters(std::initializer_list<std::pair<std::string, std::string>> parameters);

    /// Takes over a collection as it is, empty keys included; the raw text is made as by addQueryParameter().
    explicit QueryParameters(NameValueCollection parameters);

    /// Returns the value of the earliest pair with this key, without regard to ASCII case.
    /// @throws std::logic_error "Requested query parameter (KEY) doesn't exist", with `key` as passed, if there
    /// is none; the text is logged first, at SEVERITY_ERROR. Ask hasParameterKey() where a key may be missing.
    std::string getParameterValue(const std::string& key) const;

    /// Returns the values of all pairs whose key is equal to `key` byte by byte, in order.
    ///
    /// Deliberately uneven: whether the key exists is asked without regard to case, what is collected is
    /// not. With the one pair `("a", "1")`, `"a"` gives `{"1"}`, `"A"` an empty list, and `"b"` throws.
    /// @throws std::logic_error "Requested query parameter (KEY) doesn't exist", with `key` as passed, if no
    /// key matches in any case; the text is logged first, at SEVERITY_ERROR. Linear in size().
    std::vector<std::string> getAllParameterValues(const std::string& key) const;

    /// Returns true if some pair has this key, without regard to ASCII case. Allocates nothing.
    bool hasParameterKey(const std::string& key) const;

    /// Returns the number of pairs, duplicates included. What parsing dropped does not count.
    std::uint64_t size() const noexcept;
    /// Returns true if there are no pairs. The raw text may still hold something, as after parsing `"=d"`.
    bool empty() const noexcept;

    /// Iterates over the pairs in order.
    ///
    /// A value may be changed through a mutable iterator: toString() and the look-ups show it,
    /// toUnencodedString() does not. A key changed this way is still found under its old name.
    /// @{
    iterator begin() noexcept;
    iterator end() noexcept;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    const_iterator cbegin() const noexcept;
    const_iterator cend() const noexcept;
    /// @}

    /// Returns the separator between pairs, `"&"`.
    std::string getEntrySep() const;
    /// Returns the separator between key and value, `"="`.
    std::string getKeyValueSep() const;

    /// Appends a pair at the end; earlier pairs with this key stay.
    ///
    /// Neither text is encoded or decoded: `("k", "v w")` appends `"&k=v w"` to the raw text, without the `&`
    /// if that was empty and without the `=` if the value is empty. No iterator becomes invalid.
    /// @throws std::logic_error "Cannot add QueryParameter with an empty key" if `key` is empty; the text is
    /// logged first, at SEVERITY_ERROR. After any failure the object is unchanged.
    void addQueryParameter(const std::string& key, std::string value);

    /// Writes toString() to the stream and returns the stream; writes nothing at all without pairs.
    std::ostream& toStream(std::ostream& os) const;

    /// Returns `"?"` and the pairs encoded by PercentEncoder with `"%20"` for a space, joined by `"&"`; empty
    /// without pairs. The `=` is written for pairs with a value only: `("flag", "")` gives `"?flag"`. Linear in
    /// the pairs, with one allocation for the text.
    std::string toString() const;

    /// Returns `"?"` and the raw text, or an empty text when there is none.
    std::string toUnencodedString() const;

private:
    friend class URL;  // hands over its query as a view, so that the text is cut once

    void parse(std::string_view query);
    void appendRawQueryParameter(const std::string& key, const std::string& value);

    NameValueCollection parameters_;
    std::string rawQuery_;
};
}  // namespace foundation::httpclient_core
