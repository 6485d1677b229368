#pragma once
#include <foundation/httpclient_core/ClientConfiguration.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace foundation::httpclient_curl {

/// What one attempt needs of the configuration that governs its request.
struct TransferSettings {
    /// A timeout of zero or less never ends anything.
    explicit TransferSettings(const httpclient_core::ClientConfiguration& configuration);

    std::string certificateFile;
    std::string domainSocketPath;
    std::string proxyUrl;
    bool followRedirects;
    bool resumeOnRetry;
    bool hstsEnabled;
    std::int32_t maxRedirects;  ///< Never negative.
    std::int64_t idleSpeed;     ///< Bytes a second, at least 1.
    bool hasNeighbours;         ///< Other requests may be under way on the same thread.
    std::chrono::milliseconds connectTimeout;
    std::chrono::milliseconds responseTimeout;
    std::chrono::milliseconds idleTimeout;
    bool useStoredProxyCredentials = false;
};

}  // namespace foundation::httpclient_curl
