#include <foundation/httpclient_core/CompletionHandler.h>

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <exception>
#include <future>
#include <system_error>
#include <utility>

namespace foundation::httpclient_core {
namespace {

// The standard library of this platform puts a prefix before the texts of its future errors; callers
// of this library rely on the bare ones.
class InvocationError : public std::future_error {
public:
    explicit InvocationError(const std::error_code& code)
        : std::future_error(static_cast<std::future_errc>(code.value())) {}

    const char* what() const noexcept override {
        return code() == std::future_errc::no_state ? "no state" : "promise already satisfied";
    }
};

}  // namespace

CompletionHandler::CompletionHandler(CompletionHandler&&) noexcept = default;
CompletionHandler& CompletionHandler::operator=(CompletionHandler&&) noexcept = default;
CompletionHandler::~CompletionHandler() = default;

void CompletionHandler::operator()(HttpRequest request,
                                   HttpResponse response,
                                   std::exception_ptr error) {
    try {
        // What the wrapped callable throws stays in the task; only errors of the call itself come out.
        task_(std::move(request), std::move(response), std::move(error));
    } catch (const std::future_error& invocation) {
        throw InvocationError(invocation.code());
    }
}

}  // namespace foundation::httpclient_core
