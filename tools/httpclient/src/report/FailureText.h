#pragma once
#include "report/Failure.h"

#include <foundation/httpclient_core/HttpResponse.h>

#include <exception>
#include <string>

namespace foundation::httpclient_tool {

/// What an attempt that ended a request left.
struct Outcome {
    httpclient_core::HttpResponse response;
    std::exception_ptr error;
};

/// The failure that the outcome is: exit code, and one line that says what happened, where, and what to
/// try. A `Failure` among the errors stays as it is.
/// @param url names the request where the error does not.
Failure failureFor(const Outcome& outcome, const std::string& url);

/// Whether the outcome is a 2xx without an error.
bool isSuccessful(const Outcome& outcome) noexcept;

}  // namespace foundation::httpclient_tool
