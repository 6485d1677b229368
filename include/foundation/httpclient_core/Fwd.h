#pragma once
#include <cstdint>
/// @file
/// Forward declarations of every class and enumeration of the library, for headers that only name
/// them.
///
/// Whoever passes a type by reference or pointer, or names it in the signature of a callable such
/// as `std::function<bool(const HttpRequest&)>`, needs no more than this. Whoever makes, copies,
/// calls or destroys an object includes the header of that type, which has the type's name.
/// Including this one costs no standard header but `<cstdint>`. Class or struct and the base of an
/// enumeration are part of what is declared here, so take them from this header rather than repeat
/// them.
namespace foundation::httpclient_core {
class Accept;
class BadWebSocketException;
class ClientConfiguration;
class CompletionHandler;
class ContentType;
class Cookie;
class DataPart;
class FilePart;
class FormUrlEncoded;
class HttpClient;
class HttpHeaders;
class HttpMessage;
class HttpRequest;
class HttpRequestCancelledException;
class HttpRequestFailedException;
class HttpRequestTimeoutException;
class HttpResponse;
class MaxWriteFrameSizeExceededException;
class MultipartBody;
class NameValueCollection;
class NoExistingConnectionException;
class PartHeader;
class PercentEncoder;
class ProxyCredentialPrompt;
class ProxyCredentialStore;
class ProxyCredentials;
class QueryParameters;
class ReadCalledWhenAlreadyReadingException;
class TransactionReport;
class URL;
class WebSocketClientConfiguration;
enum class HttpMethod : std::int32_t;
enum class HttpResponseCode : std::int32_t;
enum class ProgressResult : std::int32_t;
struct Progress;
struct RetryBackoffOptions;
struct SetCookie;
}  // namespace foundation::httpclient_core
