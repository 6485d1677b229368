#pragma once
#include "tests/contract/ValueSamples.h"
#include "tests/properties/Property.h"

#include <chrono>
#include <concepts>
#include <cstdint>
#include <exception>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A random value of each value type.
namespace foundation::httpclient_core::testing::values {

/// Short and long ones: strings move differently then.
inline std::string anyText(CaseRandom& random) {
    const std::string alphabet = "abAB01 =;,:/?#&%+\xC3\xA9";
    return random.oneIn(4) ? random.bytes(alphabet, 60) : random.bytes(alphabet, 10);
}

inline std::string anyName(CaseRandom& random) {
    return random.oneIn(4) ? anyText(random) : random.text("aAbB", 1, 2);
}

template <class T>
T anyCollection(CaseRandom& random) {
    T value;
    for (std::size_t i = random.below(5); i > 0; --i) {
        std::string name = anyName(random);
        value.add(std::move(name), anyText(random));
    }
    return value;
}

template <class T>
struct Any;

template <class T>
    requires std::derived_from<T, NameValueCollection>
struct Any<T> {
    static T make(CaseRandom& random) { return anyCollection<T>(random); }
};

template <>
struct Any<ContentType> {
    static ContentType make(CaseRandom& random) {
        std::string type = anyText(random);
        return {std::move(type), anyCollection<NameValueCollection>(random)};
    }
};

template <>
struct Any<Accept> {
    static Accept make(CaseRandom& random) {
        std::vector<ContentType> types;
        for (std::size_t i = random.below(3); i > 0; --i) {
            types.push_back(Any<ContentType>::make(random));
        }
        return Accept(std::move(types));
    }
};

template <>
struct Any<SetCookie> {
    static SetCookie make(CaseRandom& random) {
        SetCookie value;
        value.name = anyText(random);
        value.value = anyText(random);
        value.attributes = anyCollection<NameValueCollection>(random);
        return value;
    }
};

template <>
struct Any<QueryParameters> {
    static QueryParameters make(CaseRandom& random) {
        if (random.oneIn(2)) {
            return QueryParameters(random.bytes("ab&&==%41+?", 30));
        }
        return QueryParameters(anyCollection<NameValueCollection>(random));
    }
};

template <>
struct Any<URL> {
    static URL make(CaseRandom& random) {
        URL value("web://host/" + random.bytes("ab/?&=#", 20));
        if (random.oneIn(2)) {
            value.setProtocol(anyText(random));
            value.setPort(static_cast<std::uint16_t>(random.bits()));
            value.setQueryParameters(Any<QueryParameters>::make(random));
        }
        return value;
    }
};

template <>
struct Any<PercentEncoder> {
    static PercentEncoder make(CaseRandom& random) { return PercentEncoder(anyText(random)); }
};

template <>
struct Any<PartHeader> {
    static PartHeader make(CaseRandom& random) {
        std::string name = anyText(random);
        PartHeader value(std::move(name), anyText(random));
        for (const auto& [field, text] : anyCollection<HttpHeaders>(random)) {
            value.addCustomHeaderValue(field, text);
        }
        return value;
    }
};

template <>
struct Any<DataPart> {
    static DataPart make(CaseRandom& random) {
        PartHeader header = Any<PartHeader>::make(random);
        return {std::move(header), anyText(random)};
    }
};

template <>
struct Any<FilePart> {
    static FilePart make(CaseRandom& random) {
        PartHeader header = Any<PartHeader>::make(random);
        return {std::move(header), random.text("ab/.", 1, 40)};
    }
};

template <>
struct Any<MultipartBody> {
    static MultipartBody make(CaseRandom& random) {
        MultipartBody value;
        for (std::size_t i = random.below(3); i > 0; --i) {
            if (random.oneIn(2)) {
                value.addPart(Any<DataPart>::make(random));
            } else {
                value.addPart(Any<FilePart>::make(random));
            }
        }
        return value;
    }
};

template <>
struct Any<FormUrlEncoded> {
    static FormUrlEncoded make(CaseRandom& random) {
        return FormUrlEncoded(anyCollection<NameValueCollection>(random));
    }
};

template <>
struct Any<TransactionReport> {
    static TransactionReport make(CaseRandom& random) {
        const auto redirects = random.number<long>();
        return {redirects, Any<URL>::make(random)};
    }
};

template <>
struct Any<RetryBackoffOptions> {
    static RetryBackoffOptions make(CaseRandom& random) {
        RetryBackoffOptions value;
        value.backoffBase = random.number<std::int32_t>();
        value.maxBackoff = random.number<std::int64_t>();
        value.minJitter = random.number<std::int64_t>();
        value.maxJitter = random.number<std::int64_t>();
        value.useRetryAfter = random.oneIn(2);
        return value;
    }
};

template <>
struct Any<ProxyCredentials> {
    static ProxyCredentials make(CaseRandom& random) {
        std::string user = anyText(random);
        return {std::move(user), anyText(random)};
    }
};

template <>
struct Any<ClientConfiguration> {
    static ClientConfiguration make(CaseRandom& random) {
        using Access = detail::ClientConfigurationAccess;
        ClientConfiguration value;
        value.setCertificateFile(random.text("ab/", 0, 30));
        value.setDomainSocketPath(random.text("ab/", 0, 30));
        value.setFollowRedirects(random.oneIn(2));
        value.setHstsEnabled(random.oneIn(2));
        value.setIdleSpeed(random.number<std::int32_t>());
        value.setMaxRedirects(random.number<std::int32_t>());
        value.setMaxRequestsPerThread(random.number<std::int32_t>());
        value.setMaxThreads(random.number<std::int32_t>());
        value.setProxyCredentialPromptNumRetries(random.number<std::int32_t>());
        value.setResumeOnRetry(random.oneIn(2));
        // Empty, small enough for its place, and on the heap.
        const std::string secret = anyText(random);
        switch (random.below(3)) {
            case 0:
                value.setRetryStrategy(nullptr);
                value.setProxyAuthenticationStrategy(nullptr);
                break;
            case 1:
                value.setRetryStrategy(noRetriesStrategy());
                break;
            default:
                value.setRetryStrategy([secret](const HttpRequest&, const HttpResponse&,
                                                const std::exception_ptr&, int total, int) {
                    return (secret.size() + static_cast<std::size_t>(total)) % 2 == 0;
                });
                value.setProxyAuthenticationStrategy(
                    [secret](const HttpResponse&, const std::exception_ptr&, int attempt) {
                        return (secret.size() + static_cast<std::size_t>(attempt)) % 3 == 0;
                    });
        }
        Access::setConnectTimeoutMs(value, random.number<std::int64_t>());
        Access::setResponseTimeoutMs(value, random.number<std::int64_t>());
        Access::setIdleTimeoutMs(value, random.number<std::int64_t>());
        Access::setProxyUrl(value, anyText(random));
        Access::setCredentialPromptTimeoutMs(value, random.number<std::int64_t>());
        return value;
    }
};

template <>
struct Any<WebSocketClientConfiguration> {
    static WebSocketClientConfiguration make(CaseRandom& random) {
        WebSocketClientConfiguration value;
        value.setCertificateFile(random.text("ab/", 0, 30));
        value.setCustomHandshakeHeaders(anyCollection<HttpHeaders>(random));
        value.setMaxReadFrameSize(random.below(1000000));
        value.setMaxWriteFrameSize(random.below(1000000));
        std::set<HttpResponseCode> codes;
        for (std::size_t i = random.below(4); i > 0; --i) {
            codes.insert(HttpResponseCode{static_cast<std::int32_t>(random.below(600))});
        }
        value.withRecoverableConnectErrorCodes(std::move(codes));
        const std::string secret = anyText(random);
        if (random.oneIn(2)) {
            value.setReconnectEnabled([](const HttpResponse&) {});
            value.setCustomReconnectBackoffFcn(
                [secret](std::chrono::milliseconds delay, std::uint32_t attempt) {
                    return std::pair(delay * attempt, secret.size() % 2 == 0);
                });
        }
        return value;
    }
};

template <class Exception>
    requires std::constructible_from<Exception, const std::string&> &&
             std::derived_from<Exception, std::exception>
struct Any<Exception> {
    static Exception make(CaseRandom& random) { return Exception(anyText(random)); }
};

template <>
struct Any<MaxWriteFrameSizeExceededException> {
    static MaxWriteFrameSizeExceededException make(CaseRandom& random) {
        const std::size_t size = random.below(1000000);
        return {size, random.below(1000000)};
    }
};

template <HasOneValue Exception>
struct Any<Exception> {
    static Exception make(CaseRandom& /*random*/) { return Exception(); }
};

template <>
struct Any<HttpRequest> {
    static HttpRequest make(CaseRandom& random) {
        const auto method = static_cast<HttpMethod>(random.below(6));
        URL url = Any<URL>::make(random);
        HttpRequest value(method, std::move(url), anyCollection<HttpHeaders>(random));
        if (random.oneIn(3)) {
            value.setQueryParameters(Any<QueryParameters>::make(random));
        }
        if (random.oneIn(3)) {
            value.setRequestBody(anyText(random));
        }
        if (random.oneIn(4)) {
            value.setMultipartBody(MultipartBody().withPart(Any<DataPart>::make(random)));
        }
        if (random.oneIn(4)) {
            value.setClientConfiguration(Any<ClientConfiguration>::make(random));
        }
        if (random.oneIn(4)) {
            value.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
        }
        return value;
    }
};

template <>
struct Any<HttpResponse> {
    static HttpResponse make(CaseRandom& random) {
        HttpResponse value;
        value.setHeaders(anyCollection<HttpHeaders>(random));
        value.setResponseCodeAndReason(HttpResponseCode{random.number<std::int32_t>()},
                                       anyText(random));
        value.setTransactionReport(Any<TransactionReport>::make(random));
        if (random.oneIn(2)) {
            value.setResponseBody(anyText(random));
        }
        return value;
    }
};

}  // namespace foundation::httpclient_core::testing::values
