#pragma once
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API FormUrlEncoded {
public:
    explicit FormUrlEncoded(NameValueCollection fields);
    ContentType contentType() const;
    std::uint64_t contentLength() const noexcept;
    std::unique_ptr<std::istream> stream() const;

private:
    std::string body_;
};
}  // namespace foundation::httpclient_core
