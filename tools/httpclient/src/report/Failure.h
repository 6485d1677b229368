#pragma once
#include "report/ExitCode.h"

#include <stdexcept>
#include <string>

namespace foundation::httpclient_tool {

/// Ends the program: one line for standard error and the exit code that goes with it.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}

    ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

}  // namespace foundation::httpclient_tool
