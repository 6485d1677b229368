#pragma once
#include <foundation/httpclient_core/Export.h>
#include <foundation/log/basic_diagnostic_logger.h>

#include <cstdint>
namespace foundation::httpclient_core {
inline constexpr std::uint32_t SEVERITY_PROGRESS = 4;
inline constexpr std::uint32_t SEVERITY_CAUGHT = 16;
inline constexpr std::uint32_t SEVERITY_ERROR = 512;
FOUNDATION_HTTPCLIENT_CORE_API foundation::log::basic_diagnostic_logger<char>& coreChannel();
FOUNDATION_HTTPCLIENT_CORE_API foundation::log::basic_diagnostic_logger<char>& webSocketChannel();
}  // namespace foundation::httpclient_core
