#include "benchmarks/Subjects.h"
#include "benchmarks/support/Measure.h"

#include <benchmark/benchmark.h>

#include <iostream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

// Runs the rows one after another, and the sides and repetitions of a row in random order, so that a
// slow moment of the machine hits all sides of a row or none. Writes a JSON list to standard output:
// one report of Google Benchmark for each row.
namespace foundation::httpclient_core::benchmarks {
namespace {

void run(const Benchmarks& benchmarks) {
    const std::string given = benchmark::GetBenchmarkFilter();
    const std::regex filter(given.empty() || given == "all" ? "" : given);
    const char* separator = "[\n";
    for (const std::string& row : benchmarks.rows()) {
        if (!std::regex_search(row, filter)) {
            continue;
        }
        std::cerr << row << "\n";
        std::ostringstream report;
        benchmark::JSONReporter reporter;
        reporter.SetOutputStream(&report);
        reporter.SetErrorStream(&std::cerr);
        benchmark::RunSpecifiedBenchmarks(&reporter, "^" + row + "/");
        std::cout << separator << report.str();
        separator = ",\n";
    }
    std::cout << (*separator == '[' ? "[]\n" : "]\n");
}

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks

int main(int argc, char** argv) {
    using namespace foundation::httpclient_core::benchmarks;
    Benchmarks benchmarks;
    addHeaders(benchmarks);
    addURLs(benchmarks);
    addHeaderTexts(benchmarks);
    addExchanges(benchmarks);
    addBodies(benchmarks);
    const bool listing = argc == 2 && argv[1] == std::string("--list");
    if (listing) {
        for (const std::string& row : benchmarks.rows()) {
            std::cout << row << "\n";
        }
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    addVersions();
    run(benchmarks);
    benchmark::Shutdown();
    return 0;
}
