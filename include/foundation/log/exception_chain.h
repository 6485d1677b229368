#pragma once
#include <foundation/httpclient_core/Export.h>

#include <string>
namespace foundation::log {
namespace detail {

/// Returns the text of the exception being handled and of its causes, outermost first.
///
/// A cause is what a std::nested_exception holds, as std::throw_with_nested() makes it. The texts are those of
/// what(), joined by "; caused by: "; something that is no std::exception counts as "unknown exception", and its
/// cause is followed all the same. Outside a catch block the text is empty.
///
/// The exception is not changed and stays the one being handled.
///
/// @par Thread safety
/// thread-safe: each thread has its own exception.
///
/// @par Example
/// An exception and its cause:
/// @code{.cpp}
/// try {
///     try {
///         throw std::runtime_error("no such host");
///     } catch (...) {
///         std::throw_with_nested(std::runtime_error("cannot connect"));
///     }
/// } catch (...) {
///     assert(foundation::log::current_exception_chain_as_string() ==
///            "cannot connect; caused by: no such host");
/// }
/// @endcode
// NOLINTNEXTLINE(readability-identifier-naming): the names of the logging layer are in lower case.
FOUNDATION_HTTPCLIENT_CORE_API std::string current_exception_chain_as_string();
}  // namespace detail

using detail::current_exception_chain_as_string;
}  // namespace foundation::log
