#include <foundation/httpclient_core/FormUrlEncoded.h>

#include "body/StreamLimit.h"

#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/NameValueCollection.h>
#include <foundation/httpclient_core/PercentEncoder.h>

#include <cstdint>
#include <istream>
#include <memory>
#include <sstream>

namespace foundation::httpclient_core {

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the fields by value.
FormUrlEncoded::FormUrlEncoded(NameValueCollection fields)
    : body_(fields.toString("&", "=", PercentEncoder("+"))) {}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): declared as one of three getters.
ContentType FormUrlEncoded::contentType() const {
    return {"application/x-www-form-urlencoded", NameValueCollection()};
}

std::uint64_t FormUrlEncoded::contentLength() const noexcept {
    return body_.size();
}

std::unique_ptr<std::istream> FormUrlEncoded::stream() const {
    requireStreamSize(body_.size());
    return std::make_unique<std::istringstream>(body_);
}

}  // namespace foundation::httpclient_core
