#include "benchmarks/reference/ReferencePercentEncoder.h"
#include "benchmarks/support/Measure.h"
#include "benchmarks/support/Samples.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core/PercentEncoder.h>

#include <string>

namespace foundation::httpclient_core::benchmarks {
namespace {

using Sample = std::string (*)();

void encode(benchmark::State& state, Sample sample) {
    const std::string text = sample();
    const PercentEncoder encoder("%20");
    measure(state, [&] { return encoder(text); });
}

void referenceEncode(benchmark::State& state, Sample sample) {
    const std::string text = sample();
    measure(state, [&] { return benchmarks::referenceEncode(text, "%20"); });
}

void decode(benchmark::State& state, Sample sample) {
    const std::string text = PercentEncoder("%20")(sample());
    measure(state, [&] { return percentDecode(text); });
}

void referenceDecode(benchmark::State& state, Sample sample) {
    const std::string text = PercentEncoder("%20")(sample());
    measure(state, [&] { return benchmarks::referenceDecode(text); });
}

void addBenchmarks(const std::string& label, Sample sample) {
    const std::string encoding = "PercentEncoder.encode " + label;
    const std::string decoding = "PercentEncoder.decode " + label;
    benchmark::RegisterBenchmark((encoding + "/library").c_str(), encode, sample);
    benchmark::RegisterBenchmark((encoding + "/reference").c_str(), referenceEncode, sample);
    benchmark::RegisterBenchmark((decoding + "/library").c_str(), decode, sample);
    benchmark::RegisterBenchmark((decoding + "/reference").c_str(), referenceDecode, sample);
}

[[maybe_unused]] const bool added = [] {
    addBenchmarks("4 kB plain", samples::plainText);
    addBenchmarks("4 kB prose", samples::proseText);
    addBenchmarks("4 kB UTF-8", samples::utf8Text);
    addBenchmarks("20 bytes", samples::shortText);
    return true;
}();

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
