#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstdint>
#include <iosfwd>
#include <string>
namespace foundation::httpclient_core {
class HttpResponse;
enum class HttpResponseCode : std::int32_t {
    RequestNotMade = -1,
    ResponseNotReceived = 0,
    Continue = 100,
    SwitchingProtocols = 101,
    Processing = 102,
    OK = 200,
    Created = 201,
    Accepted = 202,
    NonAuthoritativeInformation = 203,
    NoContent = 204,
    ResetContent = 205,
    PartialContent = 206,
    MultiStatus = 207,
    AlreadyReported = 208,
    IMUsed = 209,
    MultipleChoices = 300,
    MovedPermanently = 301,
    Found = 302,
    SeeOther = 303,
    NotModified = 304,
    UseProxy = 305,
    SwitchProxy = 306,
    TemporaryRedirect = 307,
    PermanentRedirect = 308,
    BadRequest = 400,
    Unauthorized = 401,
    PaymentRequired = 402,
    Forbidden = 403,
    NotFound = 404,
    MethodNotAllowed = 405,
    NotAcceptable = 406,
    ProxyAuthenticationRequired = 407,
    RequestTimeout = 408,
    Conflict = 409,
    Gone = 410,
    LengthRequired = 411,
    PreconditionFailed = 412,
    PayloadTooLarge = 413,
    URITooLong = 414,
    UnsupportedMediaType = 415,
    RangeNotSatisfiable = 416,
    ExpectationFailed = 417,
    ImATeapot = 418,
    MisdirectedRequest = 421,
    UnprocessableEntity = 422,
    Locked = 423,
    FailedDependency = 424,
    UpgradeRequired = 426,
    PreconditionRequired = 428,
    TooManyRequests = 429,
    RequestHeaderFieldsTooLarge = 431,
    UnavailableForLegalReasons = 451,
    InternalServerError = 500,
    NotImplemented = 501,
    BadGateway = 502,
    ServiceUnavailable = 503,
    GatewayTimeout = 504,
    HTTPVersionNotSupported = 505,
    VariantAlsoNegotiates = 506,
    InsufficientStorage = 507,
    LoopDetected = 508,
    NotExtended = 510,
    NetworkAuthenticationRequired = 511
};
FOUNDATION_HTTPCLIENT_CORE_API std::string getReasonStringForCode(HttpResponseCode code);
FOUNDATION_HTTPCLIENT_CORE_API std::string to_string(HttpResponseCode code);
FOUNDATION_HTTPCLIENT_CORE_API std::ostream& operator<<(std::ostream& os, HttpResponseCode code);
FOUNDATION_HTTPCLIENT_CORE_API bool isInformational(HttpResponseCode code) noexcept;
FOUNDATION_HTTPCLIENT_CORE_API bool isSuccess(HttpResponseCode code) noexcept;
FOUNDATION_HTTPCLIENT_CORE_API bool isRedirection(HttpResponseCode code) noexcept;
FOUNDATION_HTTPCLIENT_CORE_API bool isClientError(HttpResponseCode code) noexcept;
FOUNDATION_HTTPCLIENT_CORE_API bool isServerError(HttpResponseCode code) noexcept;
FOUNDATION_HTTPCLIENT_CORE_API bool isInformational(const HttpResponse& response);
FOUNDATION_HTTPCLIENT_CORE_API bool isSuccess(const HttpResponse& response);
FOUNDATION_HTTPCLIENT_CORE_API bool isRedirection(const HttpResponse& response);
FOUNDATION_HTTPCLIENT_CORE_API bool isClientError(const HttpResponse& response);
FOUNDATION_HTTPCLIENT_CORE_API bool isServerError(const HttpResponse& response);
}  // namespace foundation::httpclient_core
