#include <foundation/httpclient_core/ResponseStreamFactory.h>

#include "message/MemoryStream.h"

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <memory>
#include <string>

namespace foundation::httpclient_core {

ResponseStreamFactory defaultResponseStreamFactory() {
    return [](HttpResponseCode, const std::string&, const HttpHeaders&) {
        return std::make_unique<MemoryStream>();
    };
}

}  // namespace foundation::httpclient_core
