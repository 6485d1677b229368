#pragma once
#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <gtest/gtest.h>

#include <chrono>
#include <concepts>
#include <cstdint>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/// Every value type of the library with samples of its values. Types are compared by a description of
/// everything that can be read from them, since most have no operator==.
namespace foundation::httpclient_core::testing::values {

using std::chrono::milliseconds;

/// Builds a description field by field, so that no two values run into each other.
class Description {
public:
    template <class T>
    Description& operator<<(const T& field) {
        text_ << field << '|';
        return *this;
    }
    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
};

/// For each type: two values that differ, a change that does not go through assignment, and everything
/// there is to read. Reading must work on any object, moved-from ones included.
template <class T>
struct Sample;

/// Longer than what a string holds without an allocation; moves differ for the two kinds.
inline const std::string longText = "a text that is longer than a string holds by itself";

inline std::string describeCollection(const NameValueCollection& collection) {
    Description all;
    all << collection.size() << collection.empty();
    for (const auto& [name, value] : collection) {
        all << name << value;
    }
    for (const char* name : {"A", "b", "X-New", "Path"}) {
        all << name << collection.has(name);
        for (const std::string& value : collection.getAll(name)) {
            all << value;
        }
    }
    return all.text();
}

template <class T>
    requires std::derived_from<T, NameValueCollection>
struct Sample<T> {
    static T first() { return {{"a", "1"}, {"B", longText}, {"A", "2"}}; }
    static T second() { return {{"b", "3"}}; }
    static void change(T& value) { value.add("x-new", "1"); }
    static std::string describe(const T& value) { return describeCollection(value); }
};

template <>
struct Sample<ContentType> {
    static ContentType first() { return {"text/html", {{"a", longText}, {"b", "2"}}}; }
    static ContentType second() { return {longText, {}}; }
    static void change(ContentType& value) { value = ContentType::parse("x/y;b=3"); }
    static std::string describe(const ContentType& value) {
        return (Description() << value.getType() << describeCollection(value.getParameters())
                              << value.toString())
            .text();
    }
};

template <>
struct Sample<Accept> {
    static Accept first() { return Accept({Sample<ContentType>::first(), ContentType("b", {})}); }
    static Accept second() { return Accept({ContentType("c", {{"q", "1"}})}); }
    static void change(Accept& value) { value = Accept::parse("x/y"); }
    static std::string describe(const Accept& value) {
        Description all;
        all << value.size() << value.toString();
        for (const ContentType& type : value) {
            all << Sample<ContentType>::describe(type);
        }
        return all.text();
    }
};

template <>
struct Sample<SetCookie> {
    static SetCookie first() { return {"a", longText, {{"Path", "/"}}}; }
    static SetCookie second() { return {longText, "", {}}; }
    static void change(SetCookie& value) {
        value.name += "x";
        value.attributes.add("Path", "2");
    }
    static std::string describe(const SetCookie& value) {
        return (Description() << value.name << value.value << describeCollection(value.attributes))
            .text();
    }
};

template <>
struct Sample<QueryParameters> {
    static QueryParameters first() { return QueryParameters("a=1&b=" + longText + "&A=%20"); }
    static QueryParameters second() { return {{"b", "x y"}}; }
    static void change(QueryParameters& value) { value.addQueryParameter("c", "3"); }
    static std::string describe(const QueryParameters& value) {
        Description all;
        all << value.size() << value.empty() << value.toString() << value.toUnencodedString()
            << value.getEntrySep() << value.getKeyValueSep();
        for (const auto& [key, text] : value) {
            all << key << text << value.hasParameterKey(key) << value.getParameterValue(key);
        }
        return all.text();
    }
};

template <>
struct Sample<URL> {
    static URL first() { return {"http://host:8080/" + longText + "?a=1&b=2#part"}; }
    static URL second() { return {"https://other"}; }
    static void change(URL& value) { value.setPath("/changed"); }
    static std::string describe(const URL& value) {
        return (Description() << value.getProtocol() << value.getDomain() << value.getPort()
                              << value.getPath() << value.getFragment() << value.hasFragment()
                              << Sample<QueryParameters>::describe(value.getQueryParameters())
                              << value.toAsciiString() << value)
            .text();
    }
};

template <>
struct Sample<PercentEncoder> {
    static PercentEncoder first() { return PercentEncoder("%20"); }
    static PercentEncoder second() { return PercentEncoder(longText); }
    static void change(PercentEncoder& value) { value = PercentEncoder("+"); }
    static std::string describe(const PercentEncoder& value) { return value("a b/"); }
};

template <>
struct Sample<PartHeader> {
    static PartHeader first() {
        return PartHeader(longText, "text/plain").withCustomHeaderValue("a", longText);
    }
    static PartHeader second() { return PartHeader("n"); }
    static void change(PartHeader& value) { value.addCustomHeaderValue("b", "2"); }
    static std::string describe(const PartHeader& value) {
        return (Description() << value.getPartName() << value.getContentType()
                              << describeCollection(value.getCustomHeaders()))
            .text();
    }
};

template <>
struct Sample<DataPart> {
    static DataPart first() { return {Sample<PartHeader>::first(), longText}; }
    static DataPart second() { return DataPart("d"); }
    static void change(DataPart& value) { value.setData("changed"); }
    static std::string describe(const DataPart& value) {
        return (Description() << Sample<PartHeader>::describe(value.getHeader()) << value.getData())
            .text();
    }
};

template <>
struct Sample<FilePart> {
    static FilePart first() { return {Sample<PartHeader>::first(), "/tmp/" + longText}; }
    static FilePart second() { return FilePart("f"); }
    static void change(FilePart& value) { value.setFilePath("changed"); }
    static std::string describe(const FilePart& value) {
        return (Description() << Sample<PartHeader>::describe(value.getHeader())
                              << value.getFilePath())
            .text();
    }
};

template <>
struct Sample<MultipartBody> {
    static MultipartBody first() {
        return MultipartBody()
            .withPart(Sample<DataPart>::first())
            .withPart(Sample<FilePart>::second().withPartName("file"));
    }
    static MultipartBody second() { return MultipartBody().withPart(DataPart("x")); }
    static void change(MultipartBody& value) { value.addPart(DataPart("more")); }
    static std::string describe(const MultipartBody& value) {
        Description all;
        all << value.empty() << value.hasDataPart(longText) << value.hasFilePart("file");
        for (const auto& part : value.getContent()) {
            std::visit(
                [&all]<class Part>(const Part& content) { all << Sample<Part>::describe(content); },
                part);
        }
        return all.text();
    }
};

template <>
struct Sample<FormUrlEncoded> {
    static FormUrlEncoded first() { return FormUrlEncoded({{"a", longText}, {"b", ""}}); }
    static FormUrlEncoded second() { return FormUrlEncoded({{"c", "3"}}); }
    static void change(FormUrlEncoded& value) { value = FormUrlEncoded({{"x", "y z"}}); }
    static std::string describe(const FormUrlEncoded& value) {
        const std::unique_ptr<std::istream> stream = value.stream();
        return (Description() << value.contentType().toString() << value.contentLength()
                              << std::string(std::istreambuf_iterator<char>(*stream), {}))
            .text();
    }
};

template <>
struct Sample<TransactionReport> {
    static TransactionReport first() { return {3, Sample<URL>::first()}; }
    static TransactionReport second() { return {0, URL("")}; }
    static void change(TransactionReport& value) { value = TransactionReport(9, URL("x")); }
    static std::string describe(const TransactionReport& value) {
        return (Description() << value.redirectCount()
                              << Sample<URL>::describe(value.effectiveURL()))
            .text();
    }
};

template <>
struct Sample<RetryBackoffOptions> {
    static RetryBackoffOptions first() { return {1, 2, 3, 4, false}; }
    static RetryBackoffOptions second() { return {}; }
    static void change(RetryBackoffOptions& value) { value.maxJitter += 1; }
    static std::string describe(const RetryBackoffOptions& value) {
        return (Description() << value.backoffBase << value.maxBackoff << value.minJitter
                              << value.maxJitter << value.useRetryAfter)
            .text();
    }
};

template <>
struct Sample<ProxyCredentials> {
    static ProxyCredentials first() { return {"user", longText}; }
    static ProxyCredentials second() { return {longText, ""}; }
    static void change(ProxyCredentials& value) { value = ProxyCredentials("x", "y"); }
    static std::string describe(const ProxyCredentials& value) {
        return (Description() << value.username() << value.password()).text();
    }
};

template <>
struct Sample<ClientConfiguration> {
    using Access = detail::ClientConfigurationAccess;

    // The strategies are told apart by what they answer.
    static ClientConfiguration first() {
        ClientConfiguration value;
        value.withCertificateFile("/etc/" + longText)
            .withDomainSocketPath("/run/socket")
            .withFollowRedirects(false)
            .withHstsEnabled(false)
            .withIdleSpeed(11)
            .withMaxRedirects(12)
            .withMaxRequestsPerThread(13)
            .withMaxThreads(14)
            .withProxyCredentialPromptNumRetries(15)
            .withResumeOnRetry(true)
            .withProxyAuthenticationStrategy([](const HttpResponse&, const std::exception_ptr&,
                                                int attempt) { return attempt == 7; })
            .withRetryStrategy([](const HttpRequest&, const HttpResponse&,
                                  const std::exception_ptr&, int total,
                                  int) { return total == 8; });
        Access::setConnectTimeoutMs(value, 16);
        Access::setResponseTimeoutMs(value, 17);
        Access::setIdleTimeoutMs(value, 18);
        Access::setProxyUrl(value, "http://proxy/" + longText);
        Access::setCredentialPromptTimeoutMs(value, 19);
        return value;
    }
    static ClientConfiguration second() {
        return ClientConfiguration().withRetryStrategy(noRetriesStrategy());
    }
    static void change(ClientConfiguration& value) { value.setMaxThreads(99); }
    static std::string describe(const ClientConfiguration& value) {
        Description all;
        all << value.certificateFile() << value.domainSocketPath() << value.followRedirects()
            << value.hstsEnabled() << value.idleSpeed() << value.maxRedirects()
            << value.maxRequestsPerThread() << value.maxThreads()
            << value.proxyCredentialPromptNumRetries() << value.resumeOnRetry()
            << Access::connectTimeoutMs(value) << Access::responseTimeoutMs(value)
            << Access::idleTimeoutMs(value) << Access::proxyUrl(value)
            << Access::credentialPromptTimeoutMs(value);
        const HttpResponse response;
        if (const auto strategy = value.proxyAuthenticationStrategy()) {
            all << strategy(response, nullptr, 7);
        }
        if (const auto strategy = value.retryStrategy()) {
            const HttpRequest request(HttpMethod::GET, URL("http://host"), {});
            all << strategy(request, response, nullptr, 8, 8);
        }
        return all.text();
    }
};

template <>
struct Sample<WebSocketClientConfiguration> {
    using Access = detail::WebSocketClientConfigurationAccess;

    static WebSocketClientConfiguration first() {
        WebSocketClientConfiguration value;
        value.withCertificateFile("/etc/" + longText)
            .withCustomHandshakeHeaders({{"a", longText}})
            .withConnectErrorRecovery(
                [](const HttpResponse&, std::uint64_t attempt) { return attempt == 3; })
            .withRecoverableConnectErrorCodes({HttpResponseCode::NotFound, HttpResponseCode{299}})
            .withReconnectEnabled([](const HttpResponse&) {})
            .withCustomReconnectBackoffFcn([](milliseconds delay, std::uint32_t attempt) {
                return std::pair(delay * attempt, false);
            })
            .withOnReconnectAborted([] {})
            .withMaxReadFrameSize(21)
            .withMaxWriteFrameSize(22);
        Access::setTlsVerifyMode(value, 0);
        Access::setConnectTimeoutMs(value, 23);
        Access::setPingIntervalMs(value, 24);
        return value;
    }
    static WebSocketClientConfiguration second() { return {}; }
    static void change(WebSocketClientConfiguration& value) { value.setMaxReadFrameSize(99); }
    static std::string describe(const WebSocketClientConfiguration& value) {
        Description all;
        all << value.certificateFile() << describeCollection(value.customHandshakeHeaders())
            << value.connectErrorRecoveryEnabled() << value.reconnectEnabled()
            << value.hasOnReconnectAborted() << value.maxReadFrameSize()
            << value.maxWriteFrameSize() << Access::tlsVerifyMode(value)
            << Access::connectTimeoutMs(value) << Access::pingIntervalMs(value);
        for (const HttpResponseCode code : value.recoverableConnectErrorCodes()) {
            all << static_cast<std::int32_t>(code);
        }
        if (value.connectErrorRecoveryEnabled()) {
            if (const auto callback = value.onRecoverableConnectError()) {
                all << callback(HttpResponse(), 3);
            }
        }
        if (const auto backoff = value.reconnectBackoffFcn()) {
            const auto [delay, goOn] = backoff(milliseconds(5), 4);
            all << delay.count() << goOn;
        }
        return all.text();
    }
};

template <class Exception>
struct ExceptionSample {
    static void change(Exception& value) { value = Sample<Exception>::second(); }
    static std::string describe(const Exception& value) { return value.what(); }
};

template <class Exception>
    requires std::constructible_from<Exception, const std::string&>
struct Sample<Exception> : ExceptionSample<Exception> {
    static Exception first() { return Exception(longText); }
    static Exception second() { return Exception("short"); }
};

template <>
struct Sample<MaxWriteFrameSizeExceededException>
    : ExceptionSample<MaxWriteFrameSizeExceededException> {
    static MaxWriteFrameSizeExceededException first() { return {1, 2}; }
    static MaxWriteFrameSizeExceededException second() { return {3, 4}; }
};

/// The text of these is fixed: there is one value only.
template <class T>
concept HasOneValue = std::derived_from<T, std::exception> && std::default_initializable<T>;

template <HasOneValue Exception>
struct Sample<Exception> : ExceptionSample<Exception> {
    static Exception first() { return Exception(); }
    static Exception second() { return Exception(); }
};

inline std::string describeMessage(const HttpMessage& message) {
    return describeCollection(message.getHeaders());
}

template <>
struct Sample<HttpRequest> {
    static HttpRequest first() {
        HttpRequest value(HttpMethod::PUT, Sample<URL>::first(), {{"a", longText}});
        value.setQueryParameters(Sample<QueryParameters>::first());
        value.setRequestBody("body " + longText);
        value.setMultipartBody(Sample<MultipartBody>::first());
        value.setClientConfiguration(Sample<ClientConfiguration>::first());
        value.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
        value.setPreRespCodeAndHeadersCallback([] {});
        return value;
    }
    static HttpRequest second() { return {HttpMethod::GET, URL("http://other"), {}}; }
    static std::string describe(const HttpRequest& value) {
        Description all;
        all << describeMessage(value) << static_cast<int>(value.getHttpMethod())
            << Sample<URL>::describe(value.getURL())
            << Sample<QueryParameters>::describe(value.getQueryParameters())
            << value.hasRequestBody() << value.hasSimpleBody() << value.hasMultipartBody()
            << value.hasClientConfiguration() << value.hasProgressCallback()
            << static_cast<bool>(value.getPreRespCodeAndHeadersCallback())
            << static_cast<bool>(value.getResponseStreamFactory());
        if (value.hasRequestBody()) {
            all << value.getRequestBodyString();
        }
        if (value.hasMultipartBody()) {
            all << Sample<MultipartBody>::describe(value.getMultipartBody());
        }
        if (value.hasClientConfiguration()) {
            all << Sample<ClientConfiguration>::describe(value.getClientConfiguration());
        }
        if (value.hasProgressCallback()) {
            all << static_cast<int>(value.getProgressCallback()(Progress{}));
        }
        return all.text();
    }
};

template <>
struct Sample<HttpResponse> {
    static HttpResponse first() {
        HttpResponse value;
        value.setHeaders({{"a", longText}, {"b", "2"}});
        value.setResponseCodeAndReason(HttpResponseCode::NotFound, longText);
        value.setTransactionReport(Sample<TransactionReport>::first());
        value.setResponseBody("body " + longText);
        return value;
    }
    static HttpResponse second() { return {}; }
    static std::string describe(const HttpResponse& value) {
        Description all;
        all << describeMessage(value) << static_cast<std::int32_t>(value.getResponseCode())
            << value.getResponseCodeReason()
            << Sample<TransactionReport>::describe(value.getTransactionReport());
        try {
            std::iostream& body = value.getResponseBody();
            body.clear();
            body.seekg(0);
            all << value.getResponseBodyString();
        } catch (const std::bad_function_call&) {
            // The factory of streams moves along with everything else.
            all << "no body and no factory for one";
        }
        return all.text();
    }
};

template <class T>
std::string describe(const T& value) {
    return Sample<T>::describe(value);
}

/// Types that stay as they are when they are moved onto themselves. The others move field by field, and
/// texts and lists of the standard library empty themselves then: any value may be left, but a usable one.
template <class T>
constexpr bool survivesSelfMove =
    std::derived_from<T, NameValueCollection> || std::derived_from<T, std::exception> ||
    std::same_as<T, ProxyCredentials> || std::same_as<T, RetryBackoffOptions> ||
    std::same_as<T, HttpResponse>;

using CopyableTypes = ::testing::Types<NameValueCollection,
                                       HttpHeaders,
                                       ContentType,
                                       Accept,
                                       SetCookie,
                                       QueryParameters,
                                       URL,
                                       PercentEncoder,
                                       PartHeader,
                                       DataPart,
                                       FilePart,
                                       MultipartBody,
                                       FormUrlEncoded,
                                       TransactionReport,
                                       RetryBackoffOptions,
                                       ProxyCredentials,
                                       ClientConfiguration,
                                       WebSocketClientConfiguration,
                                       BadWebSocketException,
                                       HttpRequestFailedException,
                                       HttpRequestCancelledException,
                                       HttpRequestTimeoutException,
                                       MaxWriteFrameSizeExceededException,
                                       NoExistingConnectionException,
                                       ReadCalledWhenAlreadyReadingException>;

template <class List>
struct AndMoveOnly;
template <class... T>
struct AndMoveOnly<::testing::Types<T...>> {
    using Types = ::testing::Types<T..., HttpRequest, HttpResponse>;
};
using MovableTypes = AndMoveOnly<CopyableTypes>::Types;

/// Names a typed test after the type alone, without its namespaces.
struct TypeName {
    template <class T>
    static std::string GetName(int) {
        const std::string name = ::testing::internal::GetTypeName<T>();
        return name.substr(name.rfind(':') + 1);
    }
};

}  // namespace foundation::httpclient_core::testing::values
