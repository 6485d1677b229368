#pragma once
#include <foundation/httpclient_core/Export.h>

#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API PercentEncoder {
public:
    explicit PercentEncoder(std::string spaceText);
    std::string operator()(const std::string& text) const;

private:
    std::string spaceText_;
};
}  // namespace foundation::httpclient_core
