#include <foundation/httpclient_core/ProxyCredentialPrompt.h>

namespace foundation::httpclient_core {

ProxyCredentialPrompt::~ProxyCredentialPrompt() = default;

}  // namespace foundation::httpclient_core
