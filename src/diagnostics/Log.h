#pragma once
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/log/exception_chain.h>

#include <cstdint>
#include <ostream>
#include <string>

namespace foundation::httpclient_core::diagnostics {

/// The core channel if a record of this severity may be written, else null: when the channel's mask
/// excludes the severity, and for ever once the channel was destroyed at the end of the process.
foundation::log::basic_diagnostic_logger<char>* coreChannelFor(std::uint32_t severity);

/// Writes `message` to the core channel, then throws it as an `Exception`.
template <class Exception>
[[noreturn]] void throwLogged(std::uint32_t severity, const std::string& message);

}  // namespace foundation::httpclient_core::diagnostics

/// Writes one record to the core channel. `pieces` is a chain such as `"a" << b`; it is evaluated only
/// if the severity is enabled, so it must have no side effect, and under the logger's lock, so nothing
/// in it may log.
// NOLINTBEGIN(bugprone-macro-parentheses): the pieces are joined to a stream, not to each other.
#define HCC_LOG(severity, pieces)                                                             \
    do {                                                                                      \
        if (auto* hccChannel =                                                                \
                ::foundation::httpclient_core::diagnostics::coreChannelFor(severity)) {       \
            hccChannel->log(severity, [&](std::ostream& hccStream) { hccStream << pieces; }); \
        }                                                                                     \
    } while (false)
// NOLINTEND(bugprone-macro-parentheses)

/// Writes the exception being handled, with its causes. For use inside a catch block only.
#define HCC_LOG_CAUGHT()                                    \
    HCC_LOG(::foundation::httpclient_core::SEVERITY_CAUGHT, \
            "Exception caught: " << ::foundation::log::current_exception_chain_as_string())

template <class Exception>
[[noreturn]] void foundation::httpclient_core::diagnostics::throwLogged(
    std::uint32_t severity,
    const std::string& message) {
    HCC_LOG(severity, message);
    throw Exception(message);
}
