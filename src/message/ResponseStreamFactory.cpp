#include <foundation/httpclient_core/ResponseStreamFactory.h>

#include <sstream>

namespace foundation::httpclient_core {

ResponseStreamFactory defaultResponseStreamFactory() {
    return [](HttpResponseCode, const std::string&, const HttpHeaders&) {
        return std::make_unique<std::stringstream>();
    };
}

}  // namespace foundation::httpclient_core
