#pragma once
#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/HttpMessage.h>
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/MultipartBody.h>
#include <foundation/httpclient_core/Progress.h>
#include <foundation/httpclient_core/QueryParameters.h>
#include <foundation/httpclient_core/ResponseStreamFactory.h>
#include <foundation/httpclient_core/URL.h>

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
namespace foundation::httpclient_core {

/// Everything a transport needs to send one request and to receive its answer: method, URL, query
/// parameters, headers, a body, two callbacks, the factory of the stream for the response body, and
/// optionally a configuration of its own.
///
/// The parts are independent of each other and nothing is checked when they are set; a client
/// validates the framing headers when it is given the request. In particular:
/// - The query parameters start empty, also for a URL with a query, and are sent after those of the
///   URL. Nothing is merged: the URL of `"http://h/?a=1"` and the parameter b=2 ask for
///   `/?a=1&b=2`.
/// - A simple body and a multipart body are held side by side. hasRequestBody() speaks of the
///   simple one only: a request with nothing but a multipart body answers false.
/// - A configuration on the request replaces the client's for this request; the two are not merged.
///
/// A request can be moved but not copied, since it owns its body stream. A request that was moved
/// from may only be assigned to or destroyed.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A request with a text body, made:
/// @code{.cpp}
/// HttpRequest request(HttpMethod::POST, "http://example.com/items", {{"Accept", "text/plain"}});
/// request.setRequestBody("abc");
/// assert(request.getHeaderValue("Content-Type") == "text/plain");
/// assert(request.getContentLength() == 3);
/// ExampleTransport client;
/// assert(client.makeRequest(std::move(request)).getResponseBodyString() == "Hello");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequest : public HttpMessage {
public:
    /// Makes a request without bodies, callbacks, query parameters and configuration, and with the
    /// factory of defaultResponseStreamFactory().
    HttpRequest(HttpMethod method, URL url, HttpHeaders headers);
    /// Moves everything, the body stream included: references to it stay valid. Assignment destroys
    /// what the target held.
    /// @{
    HttpRequest(HttpRequest&&);
    HttpRequest& operator=(HttpRequest&&);
    /// @}
    /// A request owns its body stream and is not copied.
    /// @{
    HttpRequest(const HttpRequest&) = delete;
    HttpRequest& operator=(const HttpRequest&) = delete;
    /// @}
    /// Destroys the request with its body stream.
    ~HttpRequest() override;

    /// Returns the method.
    HttpMethod getHttpMethod() const noexcept;
    /// Returns a copy of the URL.
    URL getURL() const;
    /// Returns a copy of the query parameters set here; those of the URL are not among them.
    QueryParameters getQueryParameters() const;
    /// Returns true if there is a simple body. Both names mean the same; a multipart body alone
    /// does not count.
    /// @{
    bool hasRequestBody() const noexcept;
    bool hasSimpleBody() const noexcept;
    /// @}
    /// Returns the stream of the simple body. It stays valid until the body is replaced or the
    /// request that holds it is destroyed. Reading it changes what a transport sends.
    /// @throws std::logic_error "Request for URL does not have a body", with URL::toAsciiString(),
    /// if there is none; written to the core channel at severity 512 before.
    std::istream& getRequestBody() const;
    /// Returns the whole text of the simple body from position 0, wherever its read position is,
    /// and leaves that position and the state of the stream as they were. Of a stream that cannot
    /// seek it returns the rest, which is consumed. Copies the text.
    /// @throws std::logic_error as getRequestBody() does.
    std::string getRequestBodyString() const;
    /// Returns true if there is a multipart body.
    bool hasMultipartBody() const noexcept;
    /// Returns a copy of the multipart body.
    /// @throws std::logic_error "Request does not have a multipart body." if there is none; nothing
    /// is logged.
    MultipartBody getMultipartBody() const;
    /// Returns true if the request has a configuration of its own.
    bool hasClientConfiguration() const noexcept;
    /// Returns a copy of the request's own configuration.
    /// @throws std::logic_error "Request for URL does not have a ClientConfiguration", with
    /// URL::toAsciiString(), if there is none; written to the core channel at severity 512 before.
    ClientConfiguration getClientConfiguration() const;
    /// Returns true if there is a progress callback.
    bool hasProgressCallback() const noexcept;
    /// Returns a copy of the progress callback, with a state of its own.
    /// @throws std::logic_error "Request for URL does not have a ProgressCallback", with
    /// URL::toAsciiString(), if there is none; written to the core channel at severity 512 before.
    ProgressCallback getProgressCallback() const;
    /// Returns a copy of that function; an empty one if none was set.
    PreRespCodeAndHeadersCallback getPreRespCodeAndHeadersCallback() const;
    /// Returns a copy of that function; that of defaultResponseStreamFactory() if none was set.
    ResponseStreamFactory getResponseStreamFactory() const;

    /// Replaces the query parameters. They are sent behind those of the URL.
    void setQueryParameters(QueryParameters queryParameters);
    /// Does what setHeaders() does and returns the request itself.
    HttpRequest& withHeaders(HttpHeaders headers);
    /// Makes the text the simple body, in a new string stream that reads from its start, and
    /// replaces the body there was. Then sets "Content-Type" to "text/plain" unless the request has
    /// that header, then "Content-Length" to the number of bytes unless it has that header or
    /// "Transfer-Encoding".
    ///
    /// Headers that are there stay, also those of an earlier body: a second call with a longer text
    /// keeps the length of the first. Remove "Content-Length" before it. The empty text is a body,
    /// of length 0.
    void setRequestBody(std::string text);
    /// Makes the stream the simple body and replaces the body there was. No header is touched: set
    /// "Content-Length" or "Transfer-Encoding", without which a client refuses the request. A null
    /// pointer removes the body. Before a retry the body is rewound to position 0; a stream that
    /// cannot seek then has failed and the retry ends with an error of the transport.
    void setRequestBody(std::unique_ptr<std::istream> body);
    /// Stores the multipart body and replaces the one there was. The simple body and the headers
    /// stay; only when the request is made a client removes its "Content-Type", and the transport
    /// writes one with the boundary that it chose.
    /// @throws std::logic_error "Multipart body object is empty." if it has no parts; the request
    /// is unchanged and nothing is logged.
    void setMultipartBody(MultipartBody body);
    /// Gives the request a configuration of its own, which replaces that of the client altogether
    /// while this request is made. Later changes to the caller's object have no effect. `with...`
    /// returns the request itself.
    /// @{
    void setClientConfiguration(ClientConfiguration configuration);
    HttpRequest& withClientConfiguration(ClientConfiguration configuration);
    /// @}
    /// Sets the function that is told of the progress of the transfer, see Progress; an empty one
    /// removes it. `with...` returns the request itself.
    ///
    /// The transport calls it on its own thread, any number of times, the caller's thread for a
    /// synchronous request. It must not use the request or the response, which are being sent. Its
    /// result ends the attempt or lets it go on.
    /// @{
    void setProgressCallback(ProgressCallback callback);
    HttpRequest& withProgressCallback(ProgressCallback callback);
    /// @}
    /// Sets the function that the response calls before each change of its code or its headers; an
    /// empty one removes it. `with...` returns the request itself.
    ///
    /// A response copies it when it is made from the request; later changes have no effect on that
    /// response. It runs on the thread that changes the response. See HttpResponse.
    /// @{
    void setPreRespCodeAndHeadersCallback(PreRespCodeAndHeadersCallback callback);
    HttpRequest& withPreRespCodeAndHeadersCallback(PreRespCodeAndHeadersCallback callback);
    /// @}
    /// Sets the function that makes the stream for the response body. `with...` returns the request
    /// itself. A response copies it when it is made from the request. An empty function is stored;
    /// the response's body then cannot be had (std::bad_function_call).
    /// @{
    void setResponseStreamFactory(ResponseStreamFactory factory);
    HttpRequest& withResponseStreamFactory(ResponseStreamFactory factory);
    /// @}

private:
    HttpMethod method_;
    URL url_;
    QueryParameters queryParameters_;
    std::unique_ptr<std::istream> body_;
    std::optional<MultipartBody> multipartBody_;
    ResponseStreamFactory responseStreamFactory_;
    PreRespCodeAndHeadersCallback preRespCodeAndHeadersCallback_;
    std::unique_ptr<ClientConfiguration> clientConfiguration_;
    ProgressCallback progressCallback_;
};

}  // namespace foundation::httpclient_core
