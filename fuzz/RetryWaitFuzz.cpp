// The default retry strategy against arithmetic with 128 bits: its decision and its wait, for any settings,
// counts, seed, clock and Retry-After text. The numbers come first in the input, the text is its rest.
#include "config/BackoffArithmetic.h"
#include "fuzz/support/Draws.h"
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Target.h"
#include "tests/config/KnownJitterSources.h"
#include "tests/config/ReferenceBackoff.h"
#include "tests/config/WaitRecorder.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/RetryBackoffOptions.h>
#include <foundation/httpclient_core/RetryStrategy.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace foundation::fuzz {
namespace {

using namespace httpclient_core;
using httpclient_core::testing::holdIn64;
using httpclient_core::testing::Int128;
using httpclient_core::testing::KnownJitterSources;
using httpclient_core::testing::MinimalStandard;
using httpclient_core::testing::referenceBackoff;
using httpclient_core::testing::WaitRecorder;
using httpclient_core::testing::wrapTo32;

// One question to the strategy.
struct Case {
    explicit Case(ByteDraws& draws)
        : maxTotal(small(draws)),
          maxConsecutive(small(draws)),
          total(small(draws)),
          consecutive(draws.below(4) == 0 ? draws.number<std::int32_t>() : small(draws)),
          method(static_cast<HttpMethod>(draws.below(6))),
          code(draws.oneOf(codes())),
          error(draws.below(3)),
          seed(draws.number<std::uint32_t>()),
          clock(draws.number<std::uint32_t>()) {
        options.useRetryAfter = draws.below(4) != 0;
        options.backoffBase = anyWidth<std::int32_t>(draws);
        options.maxBackoff = anyWidth<std::int64_t>(draws);
        options.minJitter = anyWidth<std::int64_t>(draws);
        options.maxJitter = anyWidth<std::int64_t>(draws);
        hasHeader = draws.below(4) != 0;
        header = draws.text(255);
    }

    static std::int32_t small(ByteDraws& draws) { return static_cast<std::int8_t>(draws.byte()); }
    // Small numbers as often as large ones.
    template <class Integer>
    static Integer anyWidth(ByteDraws& draws) {
        const auto shift = draws.below(8 * sizeof(Integer));
        return static_cast<Integer>(draws.number<Integer>() >> shift);
    }
    static const std::vector<std::int32_t>& codes() {
        static const std::vector<std::int32_t> all{503, 429, 200, 500, 599, 600, 416, 426,
                                                   408, 404, 299, 199, 0,   -1,  499};
        return all;
    }

    std::int32_t maxTotal;
    std::int32_t maxConsecutive;
    std::int32_t total;
    std::int32_t consecutive;
    HttpMethod method;
    std::int32_t code;
    std::size_t error;  ///< 0: none, 1: a timeout, 2: another failure.
    std::uint32_t seed;
    std::uint32_t clock;
    RetryBackoffOptions options;
    bool hasHeader = false;
    std::string header;
};

bool expectedDecision(const Case& given) {
    const bool success = given.code >= 200 && given.code <= 299;
    const bool serverError = given.code >= 500 && given.code <= 599;
    if ((given.error == 0 && success) || given.total >= given.maxTotal ||
        given.consecutive >= given.maxConsecutive || given.method != HttpMethod::GET) {
        return false;
    }
    return given.error == 1 || serverError || given.code == 416 || given.code == 426 ||
           given.code == 429;
}

// A number at the beginning of a text as the C library reads it, in 32 bits; 0 where there is none.
Int128 leadingNumber(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && std::string(" \t\n\v\f\r").find(text[i]) != std::string::npos) {
        ++i;
    }
    const bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        ++i;
    }
    constexpr Int128 enough = Int128(1) << 40;
    Int128 number = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        number = std::min(number * 10 + (text[i] - '0'), enough);
    }
    number = negative ? -number : number;
    return number > 2147483647 || number < -Int128(2147483648) ? 0 : number;
}

std::int64_t expectedWait(const Case& given) {
    const std::int64_t low =
        std::max<std::int64_t>(std::min(given.options.minJitter, given.options.maxJitter), 0);
    const std::int64_t high =
        std::max<std::int64_t>(std::max(given.options.minJitter, given.options.maxJitter), 0);
    std::int64_t random = low == high ? low : 0;
    if (low < high) {
        MinimalStandard engine(
            (static_cast<std::uint32_t>(given.consecutive) ^ given.seed ^ given.clock) %
            2147483647U);
        random = std::uniform_int_distribution<std::int64_t>(low, high)(engine);
        require(random >= low && random <= high, "jitter stays in its range");
    }
    Int128 wait = Int128(referenceBackoff(given.consecutive, given.options.backoffBase)) + random;
    if (given.options.useRetryAfter && given.hasHeader &&
        (given.code == 429 || given.code == 503)) {
        const Int128 seconds = leadingNumber(given.header);
        wait = std::max(wait, Int128(seconds > 0 ? wrapTo32(seconds * 1000) : 0));
    } else if (given.options.useRetryAfter) {
        wait = std::max(wait, Int128(0));
    }
    return holdIn64(std::min(wait, Int128(given.options.maxBackoff) * 1000));
}

std::exception_ptr errorOf(const Case& given) {
    switch (given.error) {
        case 1:
            return std::make_exception_ptr(HttpRequestTimeoutException());
        case 2:
            return std::make_exception_ptr(HttpRequestFailedException("lost"));
        default:
            return nullptr;
    }
}

void ask(const Case& given) {
    const KnownJitterSources sources(given.seed, given.clock);
    WaitRecorder waits;
    const RetryStrategy strategy = defaultRetryStrategy(given.maxTotal, defaultIsRetriable(),
                                                        given.maxConsecutive, given.options);
    const HttpRequest request(given.method, URL("http://host/"), HttpHeaders());
    HttpResponse response;
    response.setResponseCodeAndReason(HttpResponseCode{given.code}, "");
    if (given.hasHeader) {
        response.setHeaders({{"retry-after", given.header}});
    }
    const bool again = strategy(request, response, errorOf(given), given.total, given.consecutive);
    std::ostringstream about;
    about << "consecutive " << given.consecutive << ", base " << given.options.backoffBase
          << ", cap " << given.options.maxBackoff << " s, jitter " << given.options.minJitter << " "
          << given.options.maxJitter << ", header " << shown(given.header);
    require(again == expectedDecision(given), "decision", about.str());
    std::vector<std::int64_t> expected;
    if (again && expectedWait(given) > 0) {
        expected.push_back(expectedWait(given));
    }
    requireSame(waits.take(), expected, "waits; " + about.str());
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    ByteDraws draws(data, size);
    do {
        ask(Case(draws));
    } while (!draws.isAtEnd());
    return 0;
}
