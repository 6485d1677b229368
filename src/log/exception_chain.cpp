#include <foundation/log/exception_chain.h>

#include <exception>
#include <string>

namespace foundation::log::detail {
namespace {

std::exception_ptr causeOf(const std::exception& exception) {
    const auto* nested = dynamic_cast<const std::nested_exception*>(&exception);
    return nested != nullptr ? nested->nested_ptr() : nullptr;
}

}  // namespace

std::string current_exception_chain_as_string() {
    std::string chain;
    bool first = true;
    for (std::exception_ptr link = std::current_exception(); link != nullptr; first = false) {
        if (!first) {
            chain += "; caused by: ";
        }
        std::exception_ptr cause;
        try {
            std::rethrow_exception(link);
        } catch (const std::exception& exception) {
            chain += exception.what();
            cause = causeOf(exception);
        } catch (const std::nested_exception& exception) {
            chain += "unknown exception";
            cause = exception.nested_ptr();
        } catch (...) {
            chain += "unknown exception";
        }
        link = cause;
    }
    return chain;
}

}  // namespace foundation::log::detail
