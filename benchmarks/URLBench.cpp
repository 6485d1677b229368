#include "benchmarks/reference/ReferenceURL.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/URL.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

template <class Url>
void split(benchmark::State& state) {
    const std::string text = samples::url(static_cast<std::size_t>(state.range(0)));
    measure(state, [&text] { return Url(text); });
}

template <class Url>
void splitAndPrint(benchmark::State& state) {
    const std::string text = samples::url(static_cast<std::size_t>(state.range(0)));
    measure(state, [&text] { return Url(text).toAsciiString(); });
}

using Library = URL;
using Reference = ReferenceURL;

BENCHMARK(split<Library>)->Name("URL.split/library")->Arg(19)->Arg(85)->Arg(480);
BENCHMARK(split<Reference>)->Name("URL.split/reference")->Arg(19)->Arg(85)->Arg(480);
BENCHMARK(splitAndPrint<Library>)->Name("URL.split and print/library")->Arg(19)->Arg(85)->Arg(480);
BENCHMARK(splitAndPrint<Reference>)
    ->Name("URL.split and print/reference")
    ->Arg(19)
    ->Arg(85)
    ->Arg(480);

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
