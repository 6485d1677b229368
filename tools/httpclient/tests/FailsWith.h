#pragma once
#include "report/Failure.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace foundation::httpclient_tool::testing {

/// Succeeds when `action` throws a `Failure` with exactly this code and text.
template <class Action>
::testing::AssertionResult failsWith(ExitCode code, std::string_view text, Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (const Failure& failure) {
        if (failure.code() == code && failure.what() == text) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << "failed with " << static_cast<int>(failure.code()) << " \"" << failure.what()
               << "\" instead of " << static_cast<int>(code) << " \"" << text << "\"";
    }
    return ::testing::AssertionFailure() << "did not fail";
}

}  // namespace foundation::httpclient_tool::testing
