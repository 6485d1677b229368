#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/SetCookie.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

void parse(benchmark::State& state) {
    const std::string text = samples::setCookie();
    measure(state, [&text] { return SetCookie::parse(text); });
}

void referenceParse(benchmark::State& state) {
    const std::string text = samples::setCookie();
    measure(state, [&text] { return referenceSetCookie(text); });
}

BENCHMARK(parse)->Name("SetCookie.parse/library");
BENCHMARK(referenceParse)->Name("SetCookie.parse/reference");

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
