#pragma once
#include <foundation/httpclient_core/Export.h>

#include <string>
namespace foundation::log {
namespace detail {
FOUNDATION_HTTPCLIENT_CORE_API std::string current_exception_chain_as_string();
}
using detail::current_exception_chain_as_string;
}  // namespace foundation::log
