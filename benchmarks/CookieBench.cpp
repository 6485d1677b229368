#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/Cookie.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

void parse(benchmark::State& state) {
    const std::string text = samples::cookie();
    measure(state, [&text] { return Cookie::parse(text); });
}

void referenceParse(benchmark::State& state) {
    const std::string text = samples::cookie();
    measure(state, [&text] { return referenceCookie(text); });
}

BENCHMARK(parse)->Name("Cookie.parse/library");
BENCHMARK(referenceParse)->Name("Cookie.parse/reference");

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
