#include <foundation/httpclient_core/FormUrlEncoded.h>

#include "body/StreamLimit.h"

#include <foundation/httpclient_core/PercentEncoder.h>

#include <sstream>

namespace foundation::httpclient_core {

FormUrlEncoded::FormUrlEncoded(NameValueCollection fields)
    : body_(fields.toString("&", "=", PercentEncoder("+"))) {}

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
