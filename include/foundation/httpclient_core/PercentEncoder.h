#pragma once
#include <foundation/httpclient_core/Export.h>

#include <string>
namespace foundation::httpclient_core {

class PercentAlphabet;

/// The percent-encoding of the library (RFC 3986, section 2.1) as a copyable function object.
///
/// The ASCII letters and digits and the four marks `-`, `.`, `_` and `~` stay as they are: the unreserved
/// characters of RFC 3986, section 2.3. A space becomes a text chosen at construction. Every other byte
/// becomes `%` and two upper-case hexadecimal digits: `"/"` gives `"%2F"`, a line feed `"%0A"`, `"%"`
/// gives `"%25"`, so text that is encoded already is encoded once more. Nothing else is special: `+`, `=`,
/// `&`, `?`, `!`, `*`, `'`, `(` and `)` are all encoded.
///
/// Text is taken as bytes: of UTF-8 every byte is encoded by itself (`"\xC3\xA9"` gives `"%C3%A9"`), bytes
/// from 0x80 never count as letters, a zero byte inside gives `"%00"`, and the locale of the program plays
/// no part.
///
/// QueryParameters prints with the space text `"%20"`, FormUrlEncoded with `"+"`. An encoder fits
/// NameValueCollection::Encoder.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// In a path, in a form, and for text beyond ASCII:
/// @code{.cpp}
/// const PercentEncoder encode("%20");
/// assert(encode("a b/c~") == "a%20b%2Fc~");
/// assert(PercentEncoder("+")("1 + 1") == "1+%2B+1");
/// assert(encode("\xC3\xA9") == "%C3%A9");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API PercentEncoder {
public:
    /// Makes an encoder that writes `spaceText` for each space.
    ///
    /// The text is written as it is, whatever it holds: `""` drops the spaces, `" "` keeps them. Nothing is
    /// validated.
    explicit PercentEncoder(std::string spaceText);

    /// Returns `text` encoded; empty for an empty text.
    ///
    /// Never fails for its input. The cost is linear in the text, with one allocation for the result and
    /// none where the result fits into the string itself. Space texts other than `"%20"` and `"+"` take
    /// longer in texts with many spaces.
    std::string operator()(const std::string& text) const;

private:
    std::string spaceText_;
    const PercentAlphabet*
        alphabet_;  // The one that has this space text; null where there is none.
};
}  // namespace foundation::httpclient_core
