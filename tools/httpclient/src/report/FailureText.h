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

/// What a failure is about.
struct RequestFacts {
    std::string url;          ///< Names the request where the error does not.
    bool isRepeated = true;   ///< It is of a kind that --retries is about.
    bool usesSocket = false;  ///< It goes to a unix domain socket.
};

/// The failure that the outcome is: exit code, and one line that says what happened, where, and what to
/// try. A `Failure` among the errors stays as it is.
Failure failureFor(const Outcome& outcome, const RequestFacts& facts);

/// Whether the outcome is a 2xx without an error.
bool isSuccessful(const Outcome& outcome) noexcept;

}  // namespace foundation::httpclient_tool
