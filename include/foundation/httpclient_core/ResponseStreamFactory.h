#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
namespace foundation::httpclient_core {
using ResponseStreamFactory =
    std::function<std::unique_ptr<std::iostream>(HttpResponseCode code,
                                                 const std::string reason,
                                                 const HttpHeaders& headers)>;
using PreRespCodeAndHeadersCallback = std::function<void()>;
FOUNDATION_HTTPCLIENT_CORE_API ResponseStreamFactory defaultResponseStreamFactory();
}  // namespace foundation::httpclient_core
