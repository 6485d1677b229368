#pragma once
#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <string_view>
#include <typeinfo>

namespace foundation::httpclient_core::testing {

/// Succeeds when `action` throws exactly an `Exception` (not a class derived from it) whose text is
/// exactly `message`.
template <class Exception, class Action>
::testing::AssertionResult throwsExactly(Action&& action, std::string_view message) {
    try {
        action();
    } catch (const std::exception& error) {
        if (typeid(error) != typeid(Exception)) {
            return ::testing::AssertionFailure()
                   << "threw " << typeid(error).name() << " \"" << error.what() << "\" instead of "
                   << typeid(Exception).name();
        }
        if (error.what() != message) {
            return ::testing::AssertionFailure() << "threw with the text\n  \"" << error.what()
                                                 << "\"\ninstead of\n  \"" << message << "\"";
        }
        return ::testing::AssertionSuccess();
    } catch (...) {
        return ::testing::AssertionFailure() << "threw something that is no std::exception";
    }
    return ::testing::AssertionFailure() << "threw nothing";
}

}  // namespace foundation::httpclient_core::testing
