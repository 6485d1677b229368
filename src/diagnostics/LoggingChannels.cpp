#include <foundation/httpclient_core/LoggingChannels.h>

#include "diagnostics/Log.h"

#include <foundation/log/basic_diagnostic_logger.h>

#include <atomic>
#include <cstdint>

namespace foundation::httpclient_core {
namespace {

using Logger = foundation::log::basic_diagnostic_logger<char>;

// Tells whether the core channel was destroyed, so that objects which outlive it (other statics of the
// process) may still use the library: their records are dropped.
constinit std::atomic<bool> coreChannelGone{false};

struct CoreChannel {
    Logger logger{"foundation::httpclient_core"};
    ~CoreChannel() { coreChannelGone.store(true, std::memory_order_relaxed); }
};

}  // namespace

Logger& coreChannel() {
    static CoreChannel channel;
    return channel.logger;
}

Logger& webSocketChannel() {
    static Logger logger("foundation::httpclient_core::websocket");
    return logger;
}

Logger* diagnostics::coreChannelFor(std::uint32_t severity) {
    if (coreChannelGone.load(std::memory_order_relaxed)) {
        return nullptr;
    }
    Logger& channel = coreChannel();
    return channel.enabled(severity) ? &channel : nullptr;
}

}  // namespace foundation::httpclient_core
