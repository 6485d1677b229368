#include "exchange/TransferSettings.h"

#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <algorithm>

namespace foundation::httpclient_curl {

using Access = httpclient_core::detail::ClientConfigurationAccess;

TransferSettings::TransferSettings(const httpclient_core::ClientConfiguration& configuration)
    : certificateFile(configuration.certificateFile().string()),
      domainSocketPath(configuration.domainSocketPath().string()),
      proxyUrl(Access::proxyUrl(configuration)),
      followRedirects(configuration.followRedirects()),
      resumeOnRetry(configuration.resumeOnRetry()),
      hstsEnabled(configuration.hstsEnabled()),
      maxRedirects(std::max(configuration.maxRedirects(), 0)),
      idleSpeed(std::max(configuration.idleSpeed(), 1)),
      hasNeighbours(configuration.maxRequestsPerThread() > 1),
      connectTimeout(Access::connectTimeoutMs(configuration)),
      responseTimeout(Access::responseTimeoutMs(configuration)),
      idleTimeout(Access::idleTimeoutMs(configuration)) {}

}  // namespace foundation::httpclient_curl
