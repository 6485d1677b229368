#include <foundation/httpclient_core/ResponseStreamFactory.h>

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <memory>
#include <sstream>
#include <string>

namespace foundation::httpclient_core {

ResponseStreamFactory defaultResponseStreamFactory() {
    return [](HttpResponseCode, const std::string&, const HttpHeaders&) {
        return std::make_unique<std::stringstream>();
    };
}

}  // namespace foundation::httpclient_core
