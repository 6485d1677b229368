#pragma once
#include <foundation/httpclient_core.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

/// Everything that can be seen of a value, as one text: two values of one description are the same to their
/// users. Nothing is changed by it, and no body is made.
namespace foundation::httpclient_core::testing {

/// For an operation without a result.
struct Nothing {};

inline std::string describe(const Nothing& /*nothing*/) {
    return "nothing";
}

inline std::string describe(const std::string& text) {
    return "'" + text + "'";
}

template <class Number>
    requires(std::integral<Number> || std::is_enum_v<Number>)
std::string describe(Number number) {
    return std::to_string(static_cast<std::int64_t>(number));
}

template <class Result, class... Arguments>
std::string describe(const std::function<Result(Arguments...)>& function) {
    return function ? "function" : "no function";
}

inline std::string describe(const std::filesystem::path& path) {
    return describe(path.string());
}

inline std::string describe(const NameValueCollection& collection) {
    std::string text = "{";
    for (const auto& [name, value] : collection) {
        // What look-ups say must agree with what is there.
        text += name + ":" + value + (collection.has(name) ? "" : " lost") + ",";
    }
    return text + std::to_string(collection.size()) + "}";
}

inline std::string describe(const QueryParameters& query) {
    return query.toString() + " raw " + query.toUnencodedString() + " " +
           std::to_string(query.size());
}

inline std::string describe(const URL& url) {
    return url.getProtocol() + "|" + url.getDomain() + "|" + std::to_string(url.getPort()) + "|" +
           url.getPath() + "|" + describe(url.getQueryParameters()) + "|" + url.getFragment() +
           "|" + url.toAsciiString();
}

inline std::string describe(const ContentType& type) {
    return type.getType() + describe(type.getParameters());
}

inline std::string describe(const Accept& accept) {
    std::string text = std::to_string(accept.size()) + ":";
    for (const ContentType& type : accept) {
        text += describe(type) + ",";
    }
    return text;
}

inline std::string describe(const SetCookie& cookie) {
    return cookie.name + "=" + cookie.value + describe(cookie.attributes);
}

inline std::string describe(const TransactionReport& report) {
    return std::to_string(report.redirectCount()) + " " + describe(report.effectiveURL());
}

inline std::string describe(const PartHeader& header) {
    return header.getPartName() + ";" + header.getContentType() +
           describe(header.getCustomHeaders());
}

inline std::string describe(const DataPart& part) {
    return "data " + describe(part.getHeader()) + part.getData();
}

inline std::string describe(const FilePart& part) {
    return "file " + describe(part.getHeader()) + describe(part.getFilePath());
}

inline std::string describe(const MultipartBody& body) {
    std::string text = "parts";
    for (const auto& part : body.getContent()) {
        text += " " + std::visit([](const auto& one) { return describe(one); }, part);
    }
    return text;
}

inline std::string describe(const FormUrlEncoded& form) {
    std::ostringstream text;
    if (form.contentLength() > 0) {
        text << form.stream()->rdbuf();
    }
    return text.str() + std::to_string(form.contentLength()) + describe(form.contentType());
}

inline std::string describe(const ClientConfiguration& configuration) {
    return describe(configuration.certificateFile()) + describe(configuration.domainSocketPath()) +
           describe(configuration.followRedirects()) + describe(configuration.hstsEnabled()) +
           describe(configuration.idleSpeed()) + describe(configuration.maxRedirects()) +
           describe(configuration.maxRequestsPerThread()) + describe(configuration.maxThreads()) +
           describe(configuration.proxyAuthenticationStrategy()) +
           describe(configuration.proxyCredentialPromptNumRetries()) +
           describe(configuration.resumeOnRetry()) + describe(configuration.retryStrategy());
}

inline std::string describe(const WebSocketClientConfiguration& configuration) {
    std::string text = describe(configuration.certificateFile()) +
                       describe(configuration.customHandshakeHeaders()) +
                       describe(configuration.connectErrorRecoveryEnabled()) +
                       describe(configuration.reconnectEnabled()) +
                       describe(configuration.hasOnReconnectAborted()) +
                       describe(configuration.maxReadFrameSize()) +
                       describe(configuration.maxWriteFrameSize()) +
                       describe(configuration.reconnectBackoffFcn());
    for (const HttpResponseCode code : configuration.recoverableConnectErrorCodes()) {
        text += " " + describe(code);
    }
    return text;
}

inline std::string describe(const HttpMessage& message) {
    return describe(message.getHeaders());
}

inline std::string describe(const HttpRequest& request) {
    return describe(request.getHttpMethod()) + " " + describe(request.getURL()) + " " +
           describe(request.getQueryParameters()) + describe(request.getHeaders()) +
           (request.hasRequestBody() ? describe(request.getRequestBodyString()) : "no body") +
           (request.hasMultipartBody() ? describe(request.getMultipartBody()) : "no parts") +
           (request.hasClientConfiguration() ? describe(request.getClientConfiguration())
                                             : "no configuration") +
           (request.hasProgressCallback() ? "progress" : "no progress") +
           describe(request.getPreRespCodeAndHeadersCallback()) +
           describe(request.getResponseStreamFactory());
}

inline std::string describe(const HttpResponse& response) {
    return describe(response.getResponseCode()) + describe(response.getResponseCodeReason()) +
           describe(response.getHeaders()) + describe(response.getTransactionReport());
}

inline std::string describe(const ProxyCredentials& credentials) {
    return credentials.username() + ":" + credentials.password();
}

inline std::string describe(const std::exception& error) {
    return error.what();
}

inline std::string describe(const std::istream& stream) {
    return stream.good() ? "good stream" : "bad stream";
}

template <class Value>
std::string describe(const std::vector<Value>& values);
template <class Value>
std::string describe(const std::set<Value>& values);
template <class Value>
std::string describe(const std::optional<Value>& value);
template <class First, class Second>
std::string describe(const std::pair<First, Second>& pair);

template <class Value>
std::string describe(const std::unique_ptr<Value>& value) {
    return value == nullptr ? "none" : describe(*value);
}

template <class Value>
std::string describe(const std::vector<Value>& values) {
    std::string text = std::to_string(values.size());
    for (const Value& value : values) {
        text += "," + describe(value);
    }
    return text;
}

template <class Value>
std::string describe(const std::set<Value>& values) {
    return describe(std::vector<Value>(values.begin(), values.end()));
}

template <class Value>
std::string describe(const std::optional<Value>& value) {
    return value.has_value() ? describe(*value) : "none";
}

template <class First, class Second>
std::string describe(const std::pair<First, Second>& pair) {
    return describe(pair.first) + " and " + describe(pair.second);
}

}  // namespace foundation::httpclient_core::testing
