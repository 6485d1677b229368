#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/ContentType.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

void parse(benchmark::State& state) {
    const std::string text = samples::contentType();
    measure(state, [&text] { return ContentType::parse(text); });
}

void referenceParse(benchmark::State& state) {
    const std::string text = samples::contentType();
    measure(state, [&text] { return referenceContentType(text); });
}

BENCHMARK(parse)->Name("ContentType.parse/library");
BENCHMARK(referenceParse)->Name("ContentType.parse/reference");

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
