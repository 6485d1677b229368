#pragma once
#include <new>
#include <string>

namespace foundation::httpclient_core::testing {

/// The text of the error with which an action refuses its arguments.
template <class Error, class Action>
std::string refusal(const Action& action) {
    try {
        action();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const Error& error) {
        return error.what();
    }
    return "none";
}

}  // namespace foundation::httpclient_core::testing
