#pragma once
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <atomic>
#include <concepts>
#include <exception>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace foundation::httpclient_core {

/// A callable that can be invoked once, with the request, the response and the error of an
/// asynchronous exchange (null if it went well).
///
/// Any callable with these three parameters converts to it, also one that can only be moved, such
/// as a lambda that owns a promise. The parameters come by value: the callable owns what it gets.
/// A handler is a task: after its one run it is spent, and what the callable threw stays inside
/// it. A transport gets one for each attempt (HttpClient::sendAsyncRequest()); a program gives
/// one for each request (HttpClient::makeAsyncRequest()).
///
/// Oddities: an empty `std::function` converts; its `std::bad_function_call` is thrown inside and
/// dropped. The callable lives until the handler is destroyed, not until the run has ended.
///
/// @par Thread safety
/// Thread-compatible. The callable runs on the thread that invokes the handler.
///
/// @par Example
/// A lambda, invoked as a transport does when the exchange has ended:
/// @code{.cpp}
/// CompletionHandler handler = [](HttpRequest request, HttpResponse, std::exception_ptr error) {
///     assert(request.getHttpMethod() == HttpMethod::GET && error == nullptr);
/// };
/// handler(HttpRequest(HttpMethod::GET, URL("http://host/"), {}), HttpResponse(), nullptr);
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API CompletionHandler {
public:
    /// Holds a copy of `callable`, or what it is moved into. Implicit, so that a lambda can be
    /// passed where a handler is wanted. Takes part in overload resolution only if the callable
    /// accepts the three arguments; what it returns is dropped.
    /// @throws std::bad_alloc, and what copying or moving the callable throws.
    template <class F>
        requires(!std::same_as<std::remove_cvref_t<F>, CompletionHandler> &&
                 std::invocable<std::decay_t<F>&, HttpRequest, HttpResponse, std::exception_ptr>)
    CompletionHandler(F&& callable)
        : task_(std::make_unique<TaskOf<std::decay_t<F>>>(std::forward<F>(callable))) {}

    /// @{
    /// Moves the callable; the source is empty then, and invoking it is the error "no state". The
    /// callable that the target of an assignment held is destroyed uncalled.
    CompletionHandler(CompletionHandler&&) noexcept;
    CompletionHandler& operator=(CompletionHandler&&) noexcept;
    /// @}

    /// @{
    /// Cannot be copied: an outcome is delivered once.
    CompletionHandler(const CompletionHandler&) = delete;
    CompletionHandler& operator=(const CompletionHandler&) = delete;
    /// @}

    /// Destroys the callable. One that was never invoked learns of it only through its own
    /// destructor.
    ~CompletionHandler();

    /// Invokes the callable and returns. An exception of the callable is caught and dropped, also
    /// a `std::future_error`. Takes no lock and makes no system call of its own.
    /// @throws std::future_error (a class derived from it) with the code
    ///     `promise_already_satisfied` and exactly the text "promise already satisfied", if it
    ///     was invoked before, also by the callable itself or by another thread at the same time,
    ///     of which one alone gets through; with the code `no_state` and exactly the text "no state", if it
    ///     was moved from. The arguments are lost.
    void operator()(HttpRequest request, HttpResponse response, std::exception_ptr error);

private:
    // Not a std::packaged_task: to run one costs a system call, and nobody waits for its future.
    struct Task {
        virtual ~Task();
        // By reference: the callable's own parameters are made straight from the arguments of the call.
        virtual void run(HttpRequest&&, HttpResponse&&, std::exception_ptr&&) = 0;

        std::atomic<bool> invoked = false;
    };

    template <class Callable>
    struct TaskOf final : Task {
        template <class F>
            requires(!std::same_as<std::remove_cvref_t<F>, TaskOf>)
        explicit TaskOf(F&& source) : callable(std::forward<F>(source)) {}

        void run(HttpRequest&& request,
                 HttpResponse&& response,
                 std::exception_ptr&& error) override {
            std::invoke(callable, std::move(request), std::move(response), std::move(error));
        }

        Callable callable;
    };

    std::unique_ptr<Task> task_;  ///< Null once moved from.
};

}  // namespace foundation::httpclient_core
