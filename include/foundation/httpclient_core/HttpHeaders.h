#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API HttpHeaders : public NameValueCollection {
public:
    static const std::string ACCEPT;             // "Accept"
    static const std::string CONTENT_TYPE;       // "Content-Type"
    static const std::string CONTENT_LENGTH;     // "Content-Length"
    static const std::string COOKIE;             // "Cookie"
    static const std::string TRANSFER_ENCODING;  // "Transfer-Encoding"
    using ElementCallback = std::function<void(const std::string&)>;

    HttpHeaders();
    HttpHeaders(std::initializer_list<value_type> entries);

    void addHeader(const std::string& line);
    void addHeaderValue(const std::string& name, std::string value);
    void setHeaderValue(const std::string& name, std::string value);
    std::string getHeaderValue(const std::string& name) const;
    std::string getHeaderValueOr(const std::string& name, const std::string& defaultValue) const;
    bool hasHeader(const std::string& name) const;
    void removeHeader(const std::string& name);

    static void splitElements(const std::string& text,
                              const ElementCallback& callback,
                              const std::string& separators,
                              bool skipEmpty);
    static std::pair<std::string, std::string> splitParameter(const std::string& text,
                                                              const std::string& delimiter,
                                                              bool allowMissingDelimiter);
    static std::pair<std::string, NameValueCollection> splitParameters(
        const std::string& text,
        const std::string& separators);
};
}  // namespace foundation::httpclient_core
