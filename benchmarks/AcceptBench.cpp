#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/Accept.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

void parse(benchmark::State& state) {
    const std::string text = samples::accept();
    measure(state, [&text] { return Accept::parse(text); });
}

void referenceParse(benchmark::State& state) {
    const std::string text = samples::accept();
    measure(state, [&text] { return referenceAccept(text); });
}

BENCHMARK(parse)->Name("Accept.parse/library");
BENCHMARK(referenceParse)->Name("Accept.parse/reference");

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
