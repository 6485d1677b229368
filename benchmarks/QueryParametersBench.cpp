#include "benchmarks/reference/ReferenceQuery.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/QueryParameters.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

template <class Query>
void parse(benchmark::State& state) {
    const std::string text = samples::query();
    measure(state, [&text] { return Query(text); });
}

template <class Query>
void print(benchmark::State& state) {
    const Query query(samples::query());
    measure(state, [&query] { return query.toString(); });
}

using Library = QueryParameters;
using Reference = ReferenceQuery;

BENCHMARK(parse<Library>)->Name("QueryParameters.parse 20/library");
BENCHMARK(parse<Reference>)->Name("QueryParameters.parse 20/reference");
BENCHMARK(print<Library>)->Name("QueryParameters.toString 20/library");
BENCHMARK(print<Reference>)->Name("QueryParameters.toString 20/reference");

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
