#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/reference/ReferenceHeaders.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <string>
#include <vector>

namespace foundation::httpclient_core::benchmarks {
namespace {

template <class Headers>
Headers filled(const samples::Fields& fields) {
    Headers headers;
    for (const auto& [name, value] : fields) {
        headers.add(name, value);
    }
    return headers;
}

template <class Headers>
Headers filled(const benchmark::State& state) {
    return filled<Headers>(samples::headers(static_cast<std::size_t>(state.range(0))));
}

template <class Headers>
void build(benchmark::State& state) {
    const samples::Fields fields = samples::headers(static_cast<std::size_t>(state.range(0)));
    measure(state, [&fields] { return filled<Headers>(fields); });
}

template <class Headers>
void getPresent(benchmark::State& state) {
    const auto headers = filled<Headers>(state);
    const std::string name = "content-length";
    measure(state, [&] { return headers.get(name); });
}

template <class Headers>
void hasPresent(benchmark::State& state) {
    const auto headers = filled<Headers>(state);
    const std::string name = "x-frame-options";
    measure(state, [&] { return headers.has(name); });
}

template <class Headers>
void hasAbsent(benchmark::State& state) {
    const auto headers = filled<Headers>(state);
    const std::string name = "Retry-After";
    measure(state, [&] { return headers.has(name); });
}

template <class Headers>
void getAll(benchmark::State& state) {
    const auto headers = filled<Headers>(state);
    const std::string name = "Set-Cookie";
    measure(state, [&] { return headers.getAll(name); });
}

template <class Headers>
void copy(benchmark::State& state) {
    const auto headers = filled<Headers>(state);
    measure(state, [&] { return Headers(headers); });
}

template <class Headers>
void eraseAndAdd(benchmark::State& state) {
    auto headers = filled<Headers>(state);
    const std::string name = "Content-Length";
    const std::string value = "48213";
    measure(state, [&] {
        headers.erase(name);
        headers.add(name, value);
        return headers.size();
    });
}

void addLine(HttpHeaders& headers, const std::string& line) {
    headers.addHeader(line);
}

void addLine(ReferenceHeaders& headers, const std::string& line) {
    const auto [name, value] = referenceParameter(line, ':', false);
    if (!name.empty()) {
        headers.add(name, value);
    }
}

template <class Headers>
void parseLines(benchmark::State& state) {
    const auto lines = samples::headerLines(static_cast<std::size_t>(state.range(0)));
    measure(state, [&lines] {
        Headers headers;
        for (const std::string& line : lines) {
            addLine(headers, line);
        }
        return headers;
    });
}

template <class Headers>
void print(benchmark::State& state) {
    const auto headers = filled<Headers>(state);
    const std::string entrySeparator = "\r\n";
    const std::string keyValueSeparator = ": ";
    const NameValueCollection::Encoder identity = [](std::string text) { return text; };
    measure(state, [&] { return headers.toString(entrySeparator, keyValueSeparator, identity); });
}

using Library = HttpHeaders;
using Reference = ReferenceHeaders;

BENCHMARK(build<Library>)->Name("HttpHeaders.build/library")->Arg(14)->Arg(18)->Arg(60);
BENCHMARK(build<Reference>)->Name("HttpHeaders.build/reference")->Arg(14)->Arg(18)->Arg(60);
BENCHMARK(getPresent<Library>)->Name("HttpHeaders.get present/library")->Arg(14)->Arg(60);
BENCHMARK(getPresent<Reference>)->Name("HttpHeaders.get present/reference")->Arg(14)->Arg(60);
BENCHMARK(hasPresent<Library>)->Name("HttpHeaders.has present/library")->Arg(14)->Arg(60);
BENCHMARK(hasPresent<Reference>)->Name("HttpHeaders.has present/reference")->Arg(14)->Arg(60);
BENCHMARK(hasAbsent<Library>)->Name("HttpHeaders.has absent/library")->Arg(14)->Arg(60);
BENCHMARK(hasAbsent<Reference>)->Name("HttpHeaders.has absent/reference")->Arg(14)->Arg(60);
BENCHMARK(getAll<Library>)->Name("HttpHeaders.getAll/library")->Arg(18);
BENCHMARK(getAll<Reference>)->Name("HttpHeaders.getAll/reference")->Arg(18);
BENCHMARK(copy<Library>)->Name("HttpHeaders.copy/library")->Arg(14)->Arg(18)->Arg(60);
BENCHMARK(copy<Reference>)->Name("HttpHeaders.copy/reference")->Arg(14)->Arg(18)->Arg(60);
BENCHMARK(eraseAndAdd<Library>)->Name("HttpHeaders.erase and add/library")->Arg(14)->Arg(60);
BENCHMARK(eraseAndAdd<Reference>)->Name("HttpHeaders.erase and add/reference")->Arg(14)->Arg(60);
BENCHMARK(parseLines<Library>)->Name("HttpHeaders.addHeader lines/library")->Arg(18);
BENCHMARK(parseLines<Reference>)->Name("HttpHeaders.addHeader lines/reference")->Arg(18);
BENCHMARK(print<Library>)->Name("HttpHeaders.toString/library")->Arg(18);
BENCHMARK(print<Reference>)->Name("HttpHeaders.toString/reference")->Arg(18);

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
