#pragma once
#include <cstdint>
/// @file
/// Forward declarations of every class and enumeration of the library, for headers that only name
/// them. A callable that takes `const HttpRequest&` needs no more than this.
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
