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
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequest : public HttpMessage {
public:
    HttpRequest(HttpMethod method, URL url, HttpHeaders headers);
    HttpRequest(HttpRequest&&);
    HttpRequest& operator=(HttpRequest&&);
    HttpRequest(const HttpRequest&) = delete;
    HttpRequest& operator=(const HttpRequest&) = delete;
    ~HttpRequest() override;

    HttpMethod getHttpMethod() const noexcept;
    URL getURL() const;
    QueryParameters getQueryParameters() const;
    void setQueryParameters(QueryParameters queryParameters);
    HttpRequest& withHeaders(HttpHeaders headers);

    void setRequestBody(std::string text);
    void setRequestBody(std::unique_ptr<std::istream> body);
    bool hasRequestBody() const noexcept;
    bool hasSimpleBody() const noexcept;
    std::istream& getRequestBody() const;
    std::string getRequestBodyString() const;

    void setMultipartBody(MultipartBody body);
    bool hasMultipartBody() const noexcept;
    MultipartBody getMultipartBody() const;

    void setClientConfiguration(ClientConfiguration configuration);
    HttpRequest& withClientConfiguration(ClientConfiguration configuration);
    bool hasClientConfiguration() const noexcept;
    ClientConfiguration getClientConfiguration() const;

    void setProgressCallback(ProgressCallback callback);
    HttpRequest& withProgressCallback(ProgressCallback callback);
    bool hasProgressCallback() const noexcept;
    ProgressCallback getProgressCallback() const;

    void setPreRespCodeAndHeadersCallback(PreRespCodeAndHeadersCallback callback);
    HttpRequest& withPreRespCodeAndHeadersCallback(PreRespCodeAndHeadersCallback callback);
    PreRespCodeAndHeadersCallback getPreRespCodeAndHeadersCallback() const;

    void setResponseStreamFactory(ResponseStreamFactory factory);
    HttpRequest& withResponseStreamFactory(ResponseStreamFactory factory);
    ResponseStreamFactory getResponseStreamFactory() const;

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
