#pragma once
#include "report/ExitCode.h"
#include "signals/Interrupts.h"
#include "terminal/ErrorOutput.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_curl/CurlClientOptions.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace foundation::httpclient_tool {

/// What the tool needs of the world around it.
struct Environment {
    std::function<std::unique_ptr<httpclient_core::HttpClient>(httpclient_curl::CurlClientOptions)>
        makeClient;
    int standardOutput;
    ErrorOutput& errors;
    Interrupts& interrupts;
    int standardInput = 0;
};

/// The whole program: reads the arguments (without the program's name), does what they say and returns
/// the exit code. Nothing is thrown; each failure is one line on `errors`.
ExitCode run(const std::vector<std::string>& arguments, Environment& environment) noexcept;

}  // namespace foundation::httpclient_tool
