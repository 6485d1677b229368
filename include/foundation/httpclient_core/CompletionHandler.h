#pragma once
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <concepts>
#include <exception>
#include <future>
#include <type_traits>
#include <utility>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API CompletionHandler {
public:
    template <class F>
        requires(!std::same_as<std::remove_cvref_t<F>, CompletionHandler> &&
                 std::invocable<std::decay_t<F>&, HttpRequest, HttpResponse, std::exception_ptr>)
    CompletionHandler(F&& callable)
        : task_(std::forward<F>(callable)) {}  // move-only callables allowed
    CompletionHandler(CompletionHandler&&) noexcept;
    CompletionHandler& operator=(CompletionHandler&&) noexcept;
    CompletionHandler(const CompletionHandler&) = delete;
    CompletionHandler& operator=(const CompletionHandler&) = delete;
    ~CompletionHandler();
    // Second call: future_error promise_already_satisfied; moved-from: future_error no_state (texts: B1).
    void operator()(HttpRequest request, HttpResponse response, std::exception_ptr error);

private:
    std::packaged_task<void(HttpRequest, HttpResponse, std::exception_ptr)> task_;
};
}  // namespace foundation::httpclient_core
