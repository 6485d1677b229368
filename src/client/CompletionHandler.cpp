#include <foundation/httpclient_core/CompletionHandler.h>

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <cxxabi.h>  // NOLINT(misc-include-cleaner): it includes what defines the class below
#include <exception>
#include <future>
#include <utility>

namespace foundation::httpclient_core {
namespace {

// The standard library of this platform puts a prefix before the texts of its future errors; callers
// of this library rely on the bare ones.
class InvocationError : public std::future_error {
public:
    using std::future_error::future_error;

    const char* what() const noexcept override {
        return code() == std::future_errc::no_state ? "no state" : "promise already satisfied";
    }
};

}  // namespace

CompletionHandler::Task::~Task() = default;

CompletionHandler::CompletionHandler(CompletionHandler&&) noexcept = default;
CompletionHandler& CompletionHandler::operator=(CompletionHandler&&) noexcept = default;
CompletionHandler::~CompletionHandler() = default;

// There is no object behind the reference that a thread's end is caught by, which a sanitizer would report.
__attribute__((no_sanitize("null"))) void CompletionHandler::operator()(HttpRequest request,
                                                                        HttpResponse response,
                                                                        std::exception_ptr error) {
    if (task_ == nullptr) {
        throw InvocationError(std::future_errc::no_state);
    }
    if (task_->invoked.exchange(true)) {
        throw InvocationError(std::future_errc::promise_already_satisfied);
    }
    try {
        task_->run(std::move(request), std::move(response), std::move(error));
        // NOLINTNEXTLINE(misc-include-cleaner): see the include
    } catch (const abi::__forced_unwind&) {
        throw;       // The thread is being cancelled, which must not be stopped.
    } catch (...) {  // NOLINT(bugprone-empty-catch): only errors of the call itself come out
    }
}

}  // namespace foundation::httpclient_core
