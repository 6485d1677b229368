#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstdint>
#include <iosfwd>
#include <string>
namespace foundation::httpclient_core {
class HttpResponse;

/// The status of a response: the number itself, with two pseudo codes for "no status yet".
///
/// Any 32-bit number can be held, as `HttpResponseCode{299}`; the enumerators are those numbers that have a
/// reason phrase. Each is named after its phrase. Two differ from the registered codes (RFC 9110, section
/// 15) deliberately: "IM Used" stands at 209, so 226 has no phrase, and 306 is "Switch Proxy".
///
/// RequestNotMade and ResponseNotReceived stand for the absence of a status: they belong to no class, and
/// every predicate below is false for them.
///
/// @par Thread safety
/// thread-safe
///
/// @par Example
/// Reason, number and class:
/// @code{.cpp}
/// assert(getReasonStringForCode(HttpResponseCode::NotFound) == "Not Found");
/// assert(to_string(HttpResponseCode::RequestNotMade) == "-1");
/// assert(isSuccess(HttpResponseCode{299}) && !isSuccess(HttpResponseCode{300}));
/// assert(getReasonStringForCode(HttpResponseCode{226}).empty());
/// @endcode
enum class HttpResponseCode : std::int32_t {
    RequestNotMade =
        -1,  ///< No response: the request was never sent. The code of a fresh response.
    ResponseNotReceived = 0,   ///< No response: the request was sent, but no status line arrived.
    Continue = 100,            ///< Continue
    SwitchingProtocols = 101,  ///< Switching Protocols
    Processing = 102,          ///< Processing
    OK = 200,                  ///< OK
    Created = 201,             ///< Created
    Accepted = 202,            ///< Accepted
    NonAuthoritativeInformation = 203,   ///< Non-Authoritative Information
    NoContent = 204,                     ///< No Content
    ResetContent = 205,                  ///< Reset Content
    PartialContent = 206,                ///< Partial Content
    MultiStatus = 207,                   ///< Multi-Status
    AlreadyReported = 208,               ///< Already Reported
    IMUsed = 209,                        ///< IM Used; deliberately not 226.
    MultipleChoices = 300,               ///< Multiple Choices
    MovedPermanently = 301,              ///< Moved Permanently
    Found = 302,                         ///< Found
    SeeOther = 303,                      ///< See Other
    NotModified = 304,                   ///< Not Modified
    UseProxy = 305,                      ///< Use Proxy
    SwitchProxy = 306,                   ///< Switch Proxy
    TemporaryRedirect = 307,             ///< Temporary Redirect
    PermanentRedirect = 308,             ///< Permanent Redirect
    BadRequest = 400,                    ///< Bad Request
    Unauthorized = 401,                  ///< Unauthorized
    PaymentRequired = 402,               ///< Payment Required
    Forbidden = 403,                     ///< Forbidden
    NotFound = 404,                      ///< Not Found
    MethodNotAllowed = 405,              ///< Method Not Allowed
    NotAcceptable = 406,                 ///< Not Acceptable
    ProxyAuthenticationRequired = 407,   ///< Proxy Authentication Required
    RequestTimeout = 408,                ///< Request Timeout
    Conflict = 409,                      ///< Conflict
    Gone = 410,                          ///< Gone
    LengthRequired = 411,                ///< Length Required
    PreconditionFailed = 412,            ///< Precondition Failed
    PayloadTooLarge = 413,               ///< Payload Too Large
    URITooLong = 414,                    ///< URI Too Long
    UnsupportedMediaType = 415,          ///< Unsupported Media Type
    RangeNotSatisfiable = 416,           ///< Range Not Satisfiable
    ExpectationFailed = 417,             ///< Expectation Failed
    ImATeapot = 418,                     ///< I'm a Teapot
    MisdirectedRequest = 421,            ///< Misdirected Request
    UnprocessableEntity = 422,           ///< Unprocessable Entity
    Locked = 423,                        ///< Locked
    FailedDependency = 424,              ///< Failed Dependency
    UpgradeRequired = 426,               ///< Upgrade Required
    PreconditionRequired = 428,          ///< Precondition Required
    TooManyRequests = 429,               ///< Too Many Requests
    RequestHeaderFieldsTooLarge = 431,   ///< Request Header Fields Too Large
    UnavailableForLegalReasons = 451,    ///< Unavailable For Legal Reasons
    InternalServerError = 500,           ///< Internal Server Error
    NotImplemented = 501,                ///< Not Implemented
    BadGateway = 502,                    ///< Bad Gateway
    ServiceUnavailable = 503,            ///< Service Unavailable
    GatewayTimeout = 504,                ///< Gateway Timeout
    HTTPVersionNotSupported = 505,       ///< HTTP Version Not Supported
    VariantAlsoNegotiates = 506,         ///< Variant Also Negotiates
    InsufficientStorage = 507,           ///< Insufficient Storage
    LoopDetected = 508,                  ///< Loop Detected
    NotExtended = 510,                   ///< Not Extended
    NetworkAuthenticationRequired = 511  ///< Network Authentication Required
};

/// Returns the reason phrase of the code, or an empty text for a code that is no enumerator.
FOUNDATION_HTTPCLIENT_CORE_API std::string getReasonStringForCode(HttpResponseCode code);

/// Returns the number in decimal, with a leading `-` if it is negative; never the phrase.
FOUNDATION_HTTPCLIENT_CORE_API std::string to_string(HttpResponseCode code);

/// Writes to_string() of the code, whatever the locale and the number format of the stream; returns the
/// stream.
FOUNDATION_HTTPCLIENT_CORE_API std::ostream& operator<<(std::ostream& os, HttpResponseCode code);

/// Returns true for 100 to 199 (RFC 9110, section 15.2), whether or not the number has a phrase.
FOUNDATION_HTTPCLIENT_CORE_API bool isInformational(HttpResponseCode code) noexcept;
/// Returns true for 200 to 299 (RFC 9110, section 15.3), whether or not the number has a phrase.
FOUNDATION_HTTPCLIENT_CORE_API bool isSuccess(HttpResponseCode code) noexcept;
/// Returns true for 300 to 399 (RFC 9110, section 15.4), whether or not the number has a phrase.
FOUNDATION_HTTPCLIENT_CORE_API bool isRedirection(HttpResponseCode code) noexcept;
/// Returns true for 400 to 499 (RFC 9110, section 15.5), whether or not the number has a phrase.
FOUNDATION_HTTPCLIENT_CORE_API bool isClientError(HttpResponseCode code) noexcept;
/// Returns true for 500 to 599 (RFC 9110, section 15.6), whether or not the number has a phrase.
FOUNDATION_HTTPCLIENT_CORE_API bool isServerError(HttpResponseCode code) noexcept;

/// Returns isInformational() of the response's code.
FOUNDATION_HTTPCLIENT_CORE_API bool isInformational(const HttpResponse& response);
/// Returns isSuccess() of the response's code.
FOUNDATION_HTTPCLIENT_CORE_API bool isSuccess(const HttpResponse& response);
/// Returns isRedirection() of the response's code.
FOUNDATION_HTTPCLIENT_CORE_API bool isRedirection(const HttpResponse& response);
/// Returns isClientError() of the response's code.
FOUNDATION_HTTPCLIENT_CORE_API bool isClientError(const HttpResponse& response);
/// Returns isServerError() of the response's code.
FOUNDATION_HTTPCLIENT_CORE_API bool isServerError(const HttpResponse& response);
}  // namespace foundation::httpclient_core
