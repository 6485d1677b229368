#pragma once
#include <foundation/httpclient_core/Accept.h>
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/HttpHeaders.h>

#include <cstdint>
#include <string>
namespace foundation::httpclient_core {
class HttpResponse;

/// What requests and responses have in common: the headers, with typed access to those that the
/// library interprets.
///
/// Names are found without regard to ASCII case, headers keep their order and their duplicates, and
/// where several have one name the earliest answers (see HttpHeaders). Nothing is validated when it
/// is set: `setContentLength("many")` is accepted, and only getContentLength() fails.
///
/// All changes go through five virtual functions. HttpRequest overrides none of them; HttpResponse
/// overrides all five and announces each change to a callback first. Every typed setter calls the
/// virtual setHeaderValue(), and so is announced as well.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Headers read as numbers and media types:
/// @code{.cpp}
/// HttpMessage message({{"content-length", " 42abc"}, {"Accept", "text/html, text/plain"}});
/// assert(message.getContentLength() == 42);  // leading blanks and what follows are ignored
/// assert(message.getAccept().size() == 2);
/// message.setContentType("text/plain");
/// assert(message.getContentType().getType() == "text/plain");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpMessage {
public:
    /// Makes a message with these headers; none of the virtual functions is called.
    explicit HttpMessage(HttpHeaders headers);
    /// Copies or moves the headers. A message that was moved from has no headers and can be used
    /// again. No change is announced, also where the message is a response.
    /// @{
    HttpMessage(const HttpMessage&);
    HttpMessage(HttpMessage&&);
    HttpMessage& operator=(const HttpMessage&);
    HttpMessage& operator=(HttpMessage&&);
    /// @}
    /// Destroys the message; safe through a pointer to this class.
    virtual ~HttpMessage();

    /// Returns a copy of all headers.
    HttpHeaders getHeaders() const;
    /// Returns the value of the earliest header of that name, which may be empty.
    /// @throws std::out_of_range "NAME not found." with the name as given if there is none; written
    /// to the core channel at severity 512 before.
    std::string getHeaderValue(const std::string& name) const;
    /// Returns true if there is a header of that name, also with an empty value. Allocates nothing.
    bool hasHeader(const std::string& name) const;
    /// Returns "Content-Length" as a number of 32 bits, on every platform. White space before the
    /// number and whatever follows its digits are ignored, and a sign is read: `" 42abc"` gives 42,
    /// `"-1"` gives -1.
    /// @throws std::out_of_range "Content-Length not found." as getHeaderValue() does.
    /// @throws std::runtime_error "Failed to convert Content-Length VALUE to long. REASON" where
    /// the reason is "invalid stol argument" if the value does not begin with a number, and "stol
    /// argument out of range" from 2147483648 on and below -2147483648. Two records are written to
    /// the core channel before: "Exception caught: REASON" at severity 16, then the message at
    /// severity 512.
    std::int32_t getContentLength() const;
    /// Returns "Content-Type" as ContentType::parse() reads it.
    /// @throws std::out_of_range "Content-Type not found." as getHeaderValue() does.
    /// @throws std::runtime_error as ContentType::parse() does.
    ContentType getContentType() const;
    /// Returns "Accept" as Accept::parse() reads it; of several such headers the earliest only.
    /// @throws std::out_of_range "Accept not found." as getHeaderValue() does.
    /// @throws std::runtime_error as Accept::parse() does.
    Accept getAccept() const;
    /// Returns the cookies of "Cookie" as Cookie::parse() reads them; of several such headers those
    /// of the earliest only.
    /// @throws std::out_of_range "Cookie not found." as getHeaderValue() does.
    /// @throws std::runtime_error as Cookie::parse() does.
    NameValueCollection getCookie() const;
    /// Returns "Transfer-Encoding" as it is.
    /// @throws std::out_of_range "Transfer-Encoding not found." as getHeaderValue() does.
    std::string getTransferEncoding() const;

    /// Replaces all headers.
    virtual void setHeaders(HttpHeaders headers);
    /// Gives the header a value: the earliest header of that name gets it and keeps its place and
    /// the spelling of its name, later ones of the same name stay as they are. A header that is
    /// missing is added at the end.
    virtual void setHeaderValue(const std::string& name, std::string value);
    /// Adds a header at the end, also if there are others of that name.
    virtual void addHeaderValue(const std::string& name, std::string value);
    /// Adds the header of a line such as `"Name: value"`; blanks around the name and the value are
    /// dropped. The first colon divides them. Nothing is added for a line without a name: `""`,
    /// `":value"`.
    /// @throws std::runtime_error "Missing delimiter <:> when parsing : <LINE>" with the line as
    /// given if it holds something but no colon; written to the core channel at severity 4 before.
    /// No header is added.
    virtual void addHeader(const std::string& line);
    /// Removes all headers of that name. No effect if there are none.
    virtual void removeHeader(const std::string& name);
    /// Sets "Content-Length" to the text, unchanged, whether or not it is a number. `length` must
    /// not be null.
    /// @{
    void setContentLength(std::string length);
    void setContentLength(const char* length);
    /// @}
    /// Sets "Content-Type" to the text, unchanged, or to ContentType::toString().
    /// @{
    void setContentType(const ContentType& contentType);
    void setContentType(const std::string& contentType);
    /// @}
    /// Sets "Accept" to the text, unchanged, or to Accept::toString().
    /// @{
    void setAccept(const Accept& accept);
    void setAccept(std::string accept);
    /// @}
    /// Sets "Cookie" to Cookie::toString() of the cookies; without cookies to the empty text.
    void setCookie(const NameValueCollection& cookies);
    /// Sets "Transfer-Encoding" to the text, unchanged. "Content-Length" is not touched.
    void setTransferEncoding(std::string transferEncoding);

private:
    friend class HttpResponse;  // hands its headers to the stream factory without a copy

    HttpHeaders headers_;
};

}  // namespace foundation::httpclient_core
