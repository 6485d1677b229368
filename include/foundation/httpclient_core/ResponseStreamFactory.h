#pragma once
/// @file
/// The two functions that a request hands on to its response.
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
namespace foundation::httpclient_core {

/// Makes the stream that the body of a response is written to and read from.
///
/// The response calls it when its body is first asked for, with a copy of the reason and with its
/// headers, which are valid during the call, and again when the body must start over. It runs on the
/// thread that asks, under the mutex of the response's body: it must not touch that response. It may
/// throw; the response then keeps the body it had. A null result is an error (std::logic_error
/// "Response stream factory returned no stream.").
///
/// Where the write position of the stream is at that moment, the body begins, and that decides how
/// a retry takes back a half-written body:
/// - At 0: the factory is called again, for a stream that must begin *empty*. A factory of files
///   opens with `std::ios::trunc`, or it hands out the old bytes again.
/// - Above 0: the stream is kept and goes back to that position; later writes replace the old
///   bytes, and what stood before the position stays. To continue a file open it with `std::ios::in
///   | std::ios::out | std::ios::ate`. `std::ios::app` does not do: such a stream says it is at 0
///   when it is opened, and it writes at the end wherever it was sought to.
///
/// A stream whose position cannot be told counts as beginning at 0. A retry that resumes asks the
/// server for the bytes from the stream's own write position on, whatever position the body began
/// at.
///
/// @par Thread safety
/// A factory on a request that is made once needs none. One that several requests share is called
/// from all of their threads.
///
/// @par Example
/// A body that begins behind a line of its own:
/// @code{.cpp}
/// HttpRequest request(HttpMethod::GET, "http://example.com/", {});
/// request.setResponseStreamFactory(
///     [](HttpResponseCode code, const std::string& reason, const HttpHeaders&) {
///         auto stream = std::make_unique<std::stringstream>(std::ios::in | std::ios::out |
///                                                           std::ios::ate);
///         *stream << to_string(code) << " " << reason << ": ";
///         return stream;
///     });
/// ExampleTransport client;
/// assert(client.makeRequest(std::move(request)).getResponseBodyString() == "200 OK: Hello");
/// @endcode
using ResponseStreamFactory =
    std::function<std::unique_ptr<std::iostream>(HttpResponseCode code,
                                                 const std::string reason,
                                                 const HttpHeaders& headers)>;

/// Called by a response before each change of its code or its headers, on the thread that makes the
/// change. It may throw; the change then does not happen. See HttpResponse for what it must not do.
using PreRespCodeAndHeadersCallback = std::function<void()>;

/// Returns the factory of every request that was given no other: it ignores its arguments and makes
/// an empty stream in memory that is read and written from position 0.
///
/// The stream reads, writes, seeks and fails as a default-constructed std::stringstream does, but is
/// none and has no str(). Its bytes lie in chunks that never move: receiving costs the same for each
/// byte, however long the body gets, and a seek the same wherever it goes. A body of up to 512 bytes
/// needs one allocation; the chunks of longer ones grow up to 16 MiB.
FOUNDATION_HTTPCLIENT_CORE_API ResponseStreamFactory defaultResponseStreamFactory();

}  // namespace foundation::httpclient_core
