#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API QueryParameters {
public:
    using iterator = NameValueCollection::iterator;
    using const_iterator = NameValueCollection::const_iterator;
    QueryParameters();
    QueryParameters(const std::string& query);
    QueryParameters(std::initializer_list<std::pair<std::string, std::string>> parameters);
    explicit QueryParameters(NameValueCollection parameters);

    void addQueryParameter(const std::string& key, std::string value);
    std::string getParameterValue(const std::string& key) const;
    std::vector<std::string> getAllParameterValues(const std::string& key) const;
    bool hasParameterKey(const std::string& key) const;
    std::uint64_t size() const noexcept;
    bool empty() const noexcept;
    iterator begin() noexcept;
    iterator end() noexcept;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    const_iterator cbegin() const noexcept;
    const_iterator cend() const noexcept;
    std::string getEntrySep() const;
    std::string getKeyValueSep() const;
    std::ostream& toStream(std::ostream& os) const;
    std::string toString() const;
    std::string toUnencodedString() const;

private:
    friend class URL;  // hands over its query as a view, so that the text is cut once

    void parse(std::string_view query);
    void appendRawQueryParameter(const std::string& key, const std::string& value);

    NameValueCollection parameters_;
    std::string rawQuery_;
    std::string keyValueSep_ = "=";
    std::string entrySep_ = "&";
};
}  // namespace foundation::httpclient_core
