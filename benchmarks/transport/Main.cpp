// One measurement of the transport or of libcurl alone, as a line of JSON:
//   transport_benchmarks WORKLOAD URL COUNT [SIZE]
// COUNT is a number of requests, or of bytes where the workload is one transfer.

#include "Workloads.h"

#include <curl/curl.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/resource.h>

namespace foundation::benchmarks {
namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

struct Order {
    std::string url;
    std::int64_t count;
    std::size_t size;

    int requests() const { return static_cast<int>(count); }
};

using Workload = std::function<Cost(const Order&)>;

std::map<std::string, Workload> workloads() {
    constexpr int inFlight = 8;
    const auto rawParallel = [](raw::Handles handles) {
        return [handles](const Order& order) {
            return raw::parallelGets(order.url, order.requests(), inFlight, handles, order.size);
        };
    };
    const auto clientParallel = [](client::Limits limits) {
        return [limits](const Order& order) {
            return client::parallelGets(order.url, order.requests(), inFlight, limits, order.size);
        };
    };
    return {
        {"raw-parallel-fresh", rawParallel(raw::Handles::Fresh)},
        {"raw-parallel-reused", rawParallel(raw::Handles::Reused)},
        {"client-parallel-4x2", clientParallel({.threads = 4, .perThread = 2})},
        {"client-parallel-1x8", clientParallel({.threads = 1, .perThread = 8})},
        {"raw-sequential",
         [](const Order& order) {
             return raw::sequentialGets(order.url, order.requests(), order.size);
         }},
        {"client-sequential",
         [](const Order& order) {
             return client::sequentialGets(order.url, order.requests(), order.size);
         }},
        {"raw-download", [](const Order& order) { return raw::download(order.url, order.count); }},
        {"client-download",
         [](const Order& order) { return client::download(order.url, order.count); }},
        {"client-upload",
         [](const Order& order) { return client::upload(order.url, order.count); }},
    };
}

// The most memory that the process ever held, in kB.
long peakMemory() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "VmHWM:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    throw std::runtime_error("the peak of memory is not known");
}

int run(int count, char** arguments) {
    if (count < 4) {
        std::cerr << "usage: transport_benchmarks WORKLOAD URL COUNT [SIZE]\n";
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const Order order{.url = arguments[2],
                      .count = std::stoll(arguments[3]),
                      .size = count > 4 ? std::stoul(arguments[4]) : 0};
    const Cost cost = workloads().at(arguments[1])(order);
    std::cout << R"({"cpu": )" << cost.cpuSeconds << R"(, "wall": )" << cost.wallSeconds
              << R"(, "peak_kb": )" << peakMemory() << "}\n";
    return 0;
}

}  // namespace

Cost clocks() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return {
        .cpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime),
        .wallSeconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9};
}

}  // namespace foundation::benchmarks

int main(int count, char** arguments) {
    try {
        return foundation::benchmarks::run(count, arguments);
    } catch (const std::exception& error) {
        std::cerr << "transport_benchmarks: " << error.what() << '\n';
        return 1;
    }
}
