#pragma once
#include <foundation/httpclient_core/Export.h>
#include <foundation/log/basic_diagnostic_logger.h>

#include <cstdint>
/// @file
/// The two logging channels of the library and the severities of their records.
///
/// Records go to the Boost.Log core of the process; sinks, formats and filters are up to the program. Each
/// record has the attributes "Channel" (std::string) and "Severity" (int), and a text without a line end. A
/// program that wants the errors of the library, and no others, on standard error:
/// @code{.cpp}
/// #include <boost/log/core.hpp>
/// #include <boost/log/expressions.hpp>
/// #include <boost/log/utility/setup/console.hpp>
/// namespace expr = boost::log::expressions;
/// auto sink = boost::log::add_console_log(std::cerr);
/// sink->set_filter(expr::attr<std::string>("Channel") == "foundation::httpclient_core" &&
///                  expr::attr<int>("Severity") == 512);
/// boost::log::core::get()->remove_sink(sink);  // when the program ends, at the latest
/// @endcode
/// Caution: while no sink is installed Boost.Log prints every record to *standard output*. A program that
/// wants no records installs no sink and calls `boost::log::core::get()->set_logging_enabled(false)`, or
/// `coreChannel().set_filter_mask(0)`.
///
/// Whatever is written or not, the library does the same and throws the same errors. One thing reaches the
/// caller: an exception that a sink or a filter throws leaves the operation that was logging.
namespace foundation::httpclient_core {

/// Notes on progress: how retries went, resumed downloads, redirects; and text that could not be parsed.
inline constexpr std::uint32_t SEVERITY_PROGRESS = 4;
/// An exception that was caught and tolerated: "Exception caught: " and the texts of the exception and its
/// causes.
inline constexpr std::uint32_t SEVERITY_CAUGHT = 16;
/// The text of an exception that is thrown immediately afterwards.
inline constexpr std::uint32_t SEVERITY_ERROR = 512;

/// Returns the logger of the channel "foundation::httpclient_core", which takes every record of the library.
///
/// It is constructed by the first call, or by the first operation that logs, and destroyed when the process
/// exits, like any static object. At first its mask lets every severity through; change it at any time and
/// from any thread.
///
/// What the library would log after the destruction is dropped silently; do not call this function then. A
/// program whose static objects use the library in their destructors must have called it before the end of
/// `main`: a logger that is constructed while static objects are destroyed may find the Boost.Log core gone.
/// If a constructor of theirs calls it, the logger lives longer than they do and takes their records too.
///
/// @par Thread safety
/// thread-safe: concurrent first callers wait for one construction.
///
/// @par Example
/// Without the notes on progress, and back again:
/// @code{.cpp}
/// coreChannel().set_filter_mask(SEVERITY_ERROR | SEVERITY_CAUGHT);  // no notes on progress
/// assert(coreChannel().enabled(SEVERITY_ERROR) && !coreChannel().enabled(SEVERITY_PROGRESS));
/// coreChannel().set_filter_mask(foundation::log::basic_diagnostic_logger<char>::filter_bits);
/// @endcode
FOUNDATION_HTTPCLIENT_CORE_API foundation::log::basic_diagnostic_logger<char>& coreChannel();

/// Returns the logger of the channel "foundation::httpclient_core::websocket".
///
/// Reserved for WebSocket clients built on this library, which itself writes nothing to it. Constructed by
/// the first call and destroyed when the process exits: do not use it after that.
///
/// @par Thread safety
/// thread-safe: concurrent first callers wait for one construction.
FOUNDATION_HTTPCLIENT_CORE_API foundation::log::basic_diagnostic_logger<char>& webSocketChannel();
}  // namespace foundation::httpclient_core
