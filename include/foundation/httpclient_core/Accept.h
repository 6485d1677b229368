#pragma once
#include <foundation/httpclient_core/ContentType.h>

#include <cstddef>
#include <string>
#include <vector>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API Accept {
public:
    using const_iterator = std::vector<ContentType>::const_iterator;
    explicit Accept(std::vector<ContentType> types);
    static Accept parse(const std::string& text);
    std::string toString() const;
    std::size_t size() const noexcept;
    const ContentType& at(std::size_t index) const;
    const ContentType& operator[](std::size_t index) const;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    std::vector<ContentType> getTypes() const;
    bool operator==(const Accept& other) const;

private:
    std::vector<ContentType> types_;
};
}  // namespace foundation::httpclient_core
