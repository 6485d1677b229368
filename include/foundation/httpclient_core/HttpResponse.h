#pragma once
#include <foundation/httpclient_core/HttpMessage.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/ResponseStreamFactory.h>
#include <foundation/httpclient_core/TransactionReport.h>

#include <ios>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>
namespace foundation::httpclient_core {
class HttpRequest;

/// The answer to a request: code and reason, headers, a body stream that is made on first use, and
/// a report of how the exchange went.
///
/// A client makes the response before it sends the request, and the transport fills it in. Until
/// then it reads as not made: code -1, reason "Request Not Made", no headers, no body.
///
/// Two functions come from the request, copied when the response is made:
/// - The response stream factory makes the body stream, with the code, the reason and the headers
///   of that moment. It runs while the body is locked, so it must not touch the response.
/// - The pre-response-code-and-headers callback runs before each change of the code or of the
///   headers, once for each call, on the thread that makes the change, and while the old values are
///   still there. If it throws, the change does not happen. Moving a response calls nothing. It
///   must not change the code or the headers of the same response: it would call itself.
///
/// Code and reason are separate: setResponseCode() alone leaves the reason, so that a fresh
/// response set to 200 still says "Request Not Made".
///
/// A response can be moved but not copied, since it owns its body.
///
/// @par Thread safety
/// thread-compatible; the body alone is internally locked: a mutex of each response covers making
/// the body stream in getResponseBody() and replacing or rewinding it in resetResponseBody(), not
/// the reads and writes of the stream itself.
///
/// @par Example
/// Filled as a transport does, then taken back:
/// @code{.cpp}
/// HttpResponse response;
/// assert(response.getResponseCode() == HttpResponseCode::RequestNotMade);
/// response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
/// response.getResponseBody() << "abc";
/// assert(isSuccess(response) && response.getResponseBodyString() == "abc");
/// response.resetResponseBody();
/// assert(response.getResponseBodyString().empty());
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpResponse : public HttpMessage {
public:
    /// Makes a response that was not made: code -1, reason "Request Not Made", a report of no
    /// redirects and an empty URL, the factory of defaultResponseStreamFactory(), no callback.
    HttpResponse();
    /// Makes the same, but with copies of the request's factory, which may be empty, and of its
    /// callback. Later changes to the request have no effect.
    explicit HttpResponse(const HttpRequest& request);
    /// Takes over everything but the mutex. The source is left without headers, reason and body,
    /// and may be assigned to or destroyed. References to the body stream stay valid. The callback
    /// is not called.
    HttpResponse(HttpResponse&& other);
    /// Does what move construction does, and destroys the body that this response held. The
    /// callback of neither response is called. Moving a response onto itself changes nothing.
    HttpResponse& operator=(HttpResponse&& other);
    /// A response owns its body stream and is not copied.
    /// @{
    HttpResponse(const HttpResponse&) = delete;
    HttpResponse& operator=(const HttpResponse&) = delete;
    /// @}
    /// Destroys the response with its body stream.
    ~HttpResponse() override;

    /// Returns the code; -1 before a transport set one.
    HttpResponseCode getResponseCode() const noexcept;
    /// Returns a copy of the reason; "Request Not Made" before a transport set one.
    std::string getResponseCodeReason() const;
    /// Returns the body stream, and makes it on the first call: the factory is called with the
    /// code, the reason and the headers of this moment, under the body's mutex. However many
    /// threads call at once, one stream is made.
    ///
    /// The write position of the new stream becomes the start of the body, which
    /// resetResponseBody() goes back to; a stream that cannot tell its position starts at 0. Eofbit
    /// and failbit of the new stream are dropped. The reference stays valid until the body is
    /// replaced or the response that holds it is destroyed; the stream itself is not locked.
    ///
    /// Before each write drop eofbit and failbit, as setResponseBody() does: on a stream that was
    /// read to its end a write is lost without a sign.
    /// @throws std::bad_function_call if the factory is empty.
    /// @throws std::logic_error "Response stream factory returned no stream." if it returns null.
    /// @throws Whatever the factory throws. In all three cases there is still no body, and the next
    /// call asks the factory again. Nothing is logged.
    std::iostream& getResponseBody() const;
    /// Returns the bytes from the read position of the body to its end, and consumes them: a second
    /// call gives "". Makes the body if there is none. Leaves the state bits of the stream alone,
    /// so that it can be written to afterwards.
    ///
    /// A file stream has one position for reading and writing: after writing it is at the end, and
    /// the result is "". Seek to 0 first.
    /// @throws As getResponseBody() does.
    std::string getResponseBodyString() const;
    /// Returns a copy of the report.
    TransactionReport getTransactionReport() const;

    /// Calls the callback, then does what the function of HttpMessage does. Whatever the callback
    /// throws passes through, and the headers stay as they were. The typed setters of HttpMessage
    /// come here too: they call setHeaderValue().
    /// @{
    void setHeaders(HttpHeaders headers) override;
    void setHeaderValue(const std::string& name, std::string value) override;
    void addHeaderValue(const std::string& name, std::string value) override;
    void addHeader(const std::string& line) override;
    void removeHeader(const std::string& name) override;
    /// @}
    /// Calls the callback, then sets the code. The reason stays as it is. Any number is accepted.
    /// If the callback throws, the code stays as well.
    void setResponseCode(HttpResponseCode code);
    /// Calls the callback once, then sets both. If it throws, both stay as they were.
    void setResponseCodeAndReason(HttpResponseCode code, std::string reason);
    /// Sets "Content-Length" to the number of bytes, which calls the callback once, then writes the
    /// bytes at the write position of the body, which is made if there is none (the factory sees
    /// the new header). What was written before stays: a second call appends, and sets
    /// "Content-Length" to the size of its own data. A body with badbit set takes nothing, without
    /// an error.
    /// @throws As getResponseBody() does, what the callback throws, or what the buffer of the body
    /// throws, such as std::bad_alloc; the headers are unchanged, and the callback is not called
    /// again for the header that was taken back. In the last case the body holds a part of the
    /// bytes and has badbit set, until resetResponseBody() makes another one.
    void setResponseBody(std::string data);
    /// Takes back what was written to the body, under its mutex.
    ///
    /// No body: no effect, and none is made. Write position not beyond the start of the body: no
    /// effect (a file stream that a reader took back to its beginning is an example). Otherwise it
    /// depends on the start:
    /// - 0: the stream is flushed, the factory called again with the current code, reason and
    ///   headers, and the old stream destroyed once the new one is there. References to the old one
    ///   become invalid. The start stays 0, whatever the position of the new stream is.
    /// - above 0 (the factory handed out a stream positioned behind something, such as a file
    ///   opened at its end): the stream is kept and its write position goes back to the start.
    ///   Nothing is cut off; what is written next replaces the old bytes.
    ///
    /// A position that the stream cannot tell counts as written.
    /// @throws As getResponseBody() does; the old body stays.
    void resetResponseBody();
    /// Replaces the report. The callback is not called.
    void setTransactionReport(TransactionReport report);

private:
    void announceChange() const;
    std::unique_ptr<std::iostream> makeBody() const;

    HttpResponseCode code_ = HttpResponseCode::RequestNotMade;
    std::string reason_ = "Request Not Made";
    TransactionReport transactionReport_;
    ResponseStreamFactory responseStreamFactory_;
    PreRespCodeAndHeadersCallback preRespCodeAndHeadersCallback_;
    mutable std::unique_ptr<std::iostream> body_;
    mutable std::streamoff bodyStart_ = 0;
    mutable std::mutex bodyMutex_;
};

}  // namespace foundation::httpclient_core
