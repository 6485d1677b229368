#pragma once
/// @file
/// The retry strategy of a client: the type, and the strategies that the library brings.
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/RetryBackoffOptions.h>

#include <chrono>
#include <exception>
#include <functional>
namespace foundation::httpclient_core {
class HttpRequest;
class HttpResponse;

/// Decides after each attempt of a request whether there is another one. True: go again, and the
/// strategy has waited as long as it wants to. False: stop, with this response or this error.
///
/// `error` is what the attempt failed with, null if it did not. `totalAttempts` counts the attempts
/// made so far, and `consecutiveAttempts` those since the last success; both include this one and
/// so begin at 1. A strategy that retries a *success* sees the consecutive count before it is reset
/// in a synchronous request, and 0 in an asynchronous one; after both it sees 1 for the next
/// attempt.
///
/// It is called after every attempt, a successful one too, with no lock held: on the caller's
/// thread for synchronous requests, on the thread the transport ends the attempt on for
/// asynchronous ones. What it throws ends the request: it leaves the synchronous call; the handler
/// of an asynchronous one is then never called, and its future reports a broken promise. A client
/// works on a copy of the strategy, which lives as long as the synchronous request; an asynchronous
/// request takes a fresh copy for each attempt, so that a state the strategy holds by value does
/// not last.
using RetryStrategy = std::function<bool(const HttpRequest& request,
                                         const HttpResponse& response,
                                         const std::exception_ptr& error,
                                         int totalAttempts,
                                         int consecutiveAttempts)>;

/// Decides whether a failure is of the kind that another attempt can mend. `timedOut` is true if
/// the attempt failed with HttpRequestTimeoutException; `code` is then usually -1.
using IsRetriable = std::function<bool(HttpMethod method, bool timedOut, HttpResponseCode code)>;

/// Returns the library's retry strategy: limits, a predicate, and a wait that grows.
///
/// The decision after an attempt takes these steps, and the first that answers ends it:
/// 1. No error and a success code (200 to 299): false, and the record "Request to URL was
///    successful on attempt N".
/// 2. N total attempts are not below the limit: false, and "Max total attempts = LIMIT reached."
/// 3. The consecutive attempts are not below theirs: false, and "Max consecutive attempts = LIMIT
///    reached."
/// 4. HttpRequestTimeoutException, or a class derived from it, counts as timed out. Any other error
///    is noted, as "Exception caught: " with its chain of causes at severity 16, and goes no
///    further.
/// 5. The predicate, with the method, whether the attempt timed out, and the code: false if it says
///    so. An empty predicate is stored when the strategy is made and throws std::bad_function_call
///    here.
/// 6. Waits, then true. The calling thread sleeps, unless a transport took the wait over (see
///    detail/BackoffHook.h). A wait of 0 or less is none.
///
/// Records go to the core channel, at severity 4 where none is named.
///
/// The wait in milliseconds, with n for the consecutive attempts:
/// - `backoffBase` times 2 to the power (n - 1), but 0 for an n of 1 or less: a base of 100 gives
///   0, 200, 400, 800. Deliberately computed in 32 bits: it wraps around, also below 0, and is 0
///   from n = 33 on.
/// - plus a random number from minJitter to maxJitter, each as likely as any other, drawn afresh
///   for each wait and different between strategies and processes.
/// - at least "Retry-After" of a 429 or a 503 response, where that is asked for: its leading
///   number, in seconds. A date, anything else without a number, 0 and less, and 2147483648 and
///   more count as absent. Deliberately turned into milliseconds in 32 bits: from 2147484 seconds
///   on it wraps around.
/// - at most `maxBackoff`.
///
/// Jitter and "Retry-After" apply from the first attempt on. Sums that do not fit 64 bits are held
/// at the largest number that does.
///
/// This overload has no jitter and does not look at "Retry-After", and the limit of consecutive
/// attempts is that of all attempts. Of `backoffBase`, in milliseconds, the low 32 bits are used.
/// No limit is checked: with 1 or less there is no second attempt.
///
/// @par Thread safety
/// The strategy is thread-safe: one object serves any number of requests at once, without a lock.
/// That includes the predicate, which is called from all of their threads.
///
/// @par Example
/// The strategy asked directly:
/// @code{.cpp}
/// const RetryStrategy strategy =
///     defaultRetryStrategy(3, 100, std::chrono::seconds(10), defaultIsRetriable());
/// const HttpRequest request(HttpMethod::GET, "http://example.com/", {});
/// HttpResponse response;
/// response.setResponseCode(HttpResponseCode::ServiceUnavailable);
/// assert(strategy(request, response, nullptr, 1, 1));   // at once: the first wait is 0 ms
/// assert(!strategy(request, response, nullptr, 3, 3));  // three attempts were made
/// @endcode
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                                                  long backoffBase,
                                                                  std::chrono::seconds maxBackoff,
                                                                  IsRetriable isRetriable);
/// Returns the same with a limit of its own for consecutive attempts: without jitter, and without
/// "Retry-After".
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                                                  long backoffBase,
                                                                  std::chrono::seconds maxBackoff,
                                                                  IsRetriable isRetriable,
                                                                  int maxConsecutiveAttempts);
/// Returns the same with all options; see RetryBackoffOptions for its odd values. Draws one number
/// from the random device of the platform, also where no jitter is asked for.
/// @throws Whatever std::random_device throws if the platform has no such device.
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                                                  IsRetriable isRetriable,
                                                                  int maxConsecutiveAttempts,
                                                                  RetryBackoffOptions options);

/// Returns the predicate that is true for a GET which timed out or was answered 416, 426, 429 or
/// 500 to 599.
///
/// Deliberately nothing else: not HEAD or any other method, since whether those may be repeated is
/// for the caller to decide, and not 408.
FOUNDATION_HTTPCLIENT_CORE_API IsRetriable defaultIsRetriable();

/// Returns the strategy that always says no, never waits and writes no record.
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy noRetriesStrategy();

}  // namespace foundation::httpclient_core
