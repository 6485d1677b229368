#include <foundation/httpclient_core/FormUrlEncoded.h>

#include <foundation/httpclient_core/PercentEncoder.h>

#include <cstddef>
#include <limits>
#include <new>
#include <sstream>

namespace foundation::httpclient_core {

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the fields by value
FormUrlEncoded::FormUrlEncoded(NameValueCollection fields)
    : body_(fields.toString("&", "=", PercentEncoder("+"))) {}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): a property like its neighbours
ContentType FormUrlEncoded::contentType() const {
    return {"application/x-www-form-urlencoded", NameValueCollection()};
}

std::uint64_t FormUrlEncoded::contentLength() const noexcept {
    return body_.size();
}

std::unique_ptr<std::istream> FormUrlEncoded::stream() const {
    // The promised limit of one stream, on every platform.
    constexpr std::size_t largestStream = std::numeric_limits<std::int32_t>::max();
    if (body_.size() > largestStream) {
        throw std::bad_alloc();
    }
    return std::make_unique<std::istringstream>(body_);
}

}  // namespace foundation::httpclient_core
