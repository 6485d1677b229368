#include <foundation/httpclient_core/ProxyCredentialStore.h>

namespace foundation::httpclient_core {

ProxyCredentialStore::~ProxyCredentialStore() = default;

}  // namespace foundation::httpclient_core
