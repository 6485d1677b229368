#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
namespace foundation::httpclient_core {

/// The header fields of a message, a multipart part or a WebSocket handshake.
///
/// A NameValueCollection with the words of header fields: names are matched without regard to ASCII
/// case (RFC 9110, section 5.1), duplicates are kept in the order of their arrival, and several
/// fields of one name are never joined. Nothing is validated, and nothing is added on the way: a
/// value may hold any bytes, line ends included. All of the base class is there too: iteration,
/// find(), getAll(), printing.
///
/// The class also carries the small grammar of header values, as static functions: a list of
/// elements (splitElements()), one `name=value` (splitParameter()), a value with parameters
/// (splitParameters()). *White space* is, in all three, a space, a line feed, a carriage return or
/// a tab, and nothing else. None of them knows quotes: `a="x;y"` is cut at the semicolon.
///
/// Copying and moving are those of the base class; a moved-from object is empty and usable.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Fields under names in any case, with a default for the absent one:
/// @code{.cpp}
/// HttpHeaders headers{{"Host", "example.com"}};
/// headers.addHeader("Content-Type: text/html");
/// headers.setHeaderValue(HttpHeaders::CONTENT_LENGTH, "12");
/// assert(headers.getHeaderValue("content-type") == "text/html");
/// assert(headers.getHeaderValueOr("Accept", "*/*") == "*/*");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpHeaders : public NameValueCollection {
public:
    /// The name of a header field that the library itself reads or writes.
    ///
    /// The constants are initialised before the other objects with static storage of the library
    /// and of the programs that use it, and destroyed after them: their initialisers and
    /// destructors may use the constants.
    /// @{
    static const std::string ACCEPT;             ///< `"Accept"`
    static const std::string CONTENT_TYPE;       ///< `"Content-Type"`
    static const std::string CONTENT_LENGTH;     ///< `"Content-Length"`
    static const std::string COOKIE;             ///< `"Cookie"`
    static const std::string TRANSFER_ENCODING;  ///< `"Transfer-Encoding"`
    /// @}
    /// Takes one element of a list, see splitElements().
    using ElementCallback = std::function<void(const std::string&)>;

    /// Makes an empty collection of fields.
    /// @throws std::bad_alloc if there is no memory.
    HttpHeaders();
    /// Makes a collection of the fields in the order given, duplicates included.
    /// @throws std::bad_alloc if there is no memory.
    HttpHeaders(std::initializer_list<value_type> entries);

    /// Returns a copy of the value of the first field of this name. Other fields of the name are
    /// neither returned nor joined to it; getAll() has them.
    /// @throws std::out_of_range "NAME not found." with the sought name in place of NAME, for
    /// example `"Content-Type not found."`, if there is none; the same text was then written to the
    /// core channel at severity 512.
    std::string getHeaderValue(const std::string& name) const;
    /// Returns a copy of the value of the first field of this name, or of `defaultValue` if there
    /// is none. A field with an empty value counts as there. Never throws for a missing name, and
    /// logs nothing.
    std::string getHeaderValueOr(const std::string& name, const std::string& defaultValue) const;
    /// Returns true if a field has this name.
    bool hasHeader(const std::string& name) const;

    /// Appends the field of one header line, cut at the first colon; white space goes from both
    /// ends of the line, the name and the value.
    ///
    /// `"Host: a:b"` adds ("Host", "a:b"), `"X-Empty:"` adds ("X-Empty", ""). A line without a name
    /// adds nothing and reports nothing: `""`, `"   "`, `":v"`. Invalidates no iterator.
    /// @throws std::runtime_error "Missing delimiter <:> when parsing : <LINE>" with the line as
    /// given, if it has text but no colon; logged as splitParameter() says. Otherwise as
    /// addHeaderValue(). Nothing is added then.
    void addHeader(const std::string& line);
    /// Appends a field, also where the name is there already. Invalidates no iterator.
    /// @throws std::length_error or std::bad_alloc as add(); nothing is added then.
    void addHeaderValue(const std::string& name, std::string value);
    /// Replaces the value of the first field of this name, or appends a field if there is none.
    /// Later fields of the name keep their values. Invalidates no iterator.
    /// @throws std::length_error or std::bad_alloc as set(); the fields are then unchanged.
    void setHeaderValue(const std::string& name, std::string value);
    /// Removes every field of this name; does nothing if there is none. Invalidates the iterators
    /// of the removed fields and no others.
    void removeHeader(const std::string& name);

    /// Calls `callback` with each element of a list, in order, white space trimmed from both ends.
    ///
    /// An empty text has one element, which is empty, and a separator at the end is followed by an
    /// empty element. Re-entrant: the callback may call it again. The string that the callback gets
    /// lives for that call only.
    /// @param separators a set of characters, each of which ends an element. With no character the
    /// whole text is one element.
    /// @param skipEmpty whether elements that are empty after trimming are left out.
    /// @throws std::bad_function_call at the first call that is due, if `callback` is empty. What
    /// the callback throws comes out unchanged and ends the walk.
    ///
    /// @code{.cpp}
    /// std::vector<std::string> elements;
    /// const auto collect = [&](const std::string& element) { elements.push_back(element); };
    /// HttpHeaders::splitElements("gzip, ,br", collect, ",", true);
    /// assert((elements == std::vector<std::string>{"gzip", "br"}));
    /// @endcode
    static void splitElements(const std::string& text,
                              const ElementCallback& callback,
                              const std::string& separators,
                              bool skipEmpty);
    /// Returns the name and the value on the two sides of the first `delimiter`, each trimmed of
    /// white space.
    ///
    /// | text | delimiter | result |
    /// |---|---|---|
    /// | `" a = b "` | `"="` | ("a", "b") |
    /// | `"a=b=c"` | `"="` | ("a", "b=c") |
    /// | `"a="`, `"=b"` | `"="` | ("a", ""), ("", "b") |
    /// | `""`, `"  "` | any | ("", ""), whatever `allowMissingDelimiter` says |
    /// | `"a"` | `"="` | ("a", "") if `allowMissingDelimiter`, else an exception |
    /// | `"a::b"` | `"::"` | ("a", ":b") |
    ///
    /// The last row is deliberate: the value starts one character after the start of the delimiter,
    /// however long that is.
    ///
    /// @param delimiter looked for as a whole. An empty one is found at the start: `"abc"` gives
    /// ("", "bc").
    /// @throws std::runtime_error "Missing delimiter <DELIMITER> when parsing : <TEXT>" with the
    /// text as given, not trimmed, if the delimiter is missing and must not be; the same text was
    /// then written to the core channel at severity 4.
    ///
    /// @code{.cpp}
    /// const auto [name, value] = HttpHeaders::splitParameter(" q = 0.5 ", "=", false);
    /// assert(name == "q" && value == "0.5");
    /// assert(HttpHeaders::splitParameter("Secure", "=", true).first == "Secure");
    /// @endcode
    static std::pair<std::string, std::string> splitParameter(const std::string& text,
                                                              const std::string& delimiter,
                                                              bool allowMissingDelimiter);
    /// Returns the main value and the parameters of a header value such as `text/html;
    /// charset=utf-8`.
    ///
    /// The text is cut at each character of the set `separators`. The first element that is not
    /// empty is the main value, as it stands: white space around it is kept, and empty elements
    /// before it vanish. Every later element is one parameter, split at its first `=` and trimmed;
    /// an empty one adds the parameter ("", "").
    ///
    /// | text, cut at `";"` | main value | parameters |
    /// |---|---|---|
    /// | `"text/html ;a=1;"` | `"text/html "` | ("a", "1"), ("", "") |
    /// | `";a=1"` | `"a=1"` | none |
    /// | `""`, `";"` | `""` | none |
    ///
    /// @throws std::runtime_error "Missing delimiter <=> when parsing : <ELEMENT>" with the element
    /// as it stands between the separators, if a parameter has text but no `=`; logged as
    /// splitParameter() says.
    ///
    /// @code{.cpp}
    /// const auto [type, parameters] = HttpHeaders::splitParameters("text/html; level=1", ";");
    /// assert(type == "text/html" && parameters.get("Level") == "1");
    /// @endcode
    static std::pair<std::string, NameValueCollection> splitParameters(
        const std::string& text,
        const std::string& separators);
};

}  // namespace foundation::httpclient_core
