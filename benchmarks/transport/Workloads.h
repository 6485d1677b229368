#pragma once
#include <cstdint>
#include <string>

namespace foundation::benchmarks {

/// What a workload cost this process.
struct Cost {
    double cpuSeconds = 0;
    double wallSeconds = 0;
};

/// The workloads, done by libcurl alone. Every handle has the options that the transport sets. Each
/// throws std::runtime_error when a transfer fails or brings another number of bytes.
namespace raw {

/// Whether a transfer gets a handle of its own or one that has done others.
enum class Handles { Fresh, Reused };

/// GETs with `inFlight` at a time on one multi handle, driven by curl_multi_poll on this thread.
Cost parallelGets(const std::string& url,
                  int count,
                  int inFlight,
                  Handles handles,
                  std::size_t size);
/// GETs one after the other by one easy handle, which keeps its connection.
Cost sequentialGets(const std::string& url, int count, std::size_t size);
/// One GET whose body is counted and dropped.
Cost download(const std::string& url, std::int64_t size);

}  // namespace raw

/// The same through a CurlHttpClient.
namespace client {

/// How a client spreads its transfers.
struct Limits {
    int threads;
    int perThread;
};

/// GETs with `inFlight` at a time: each handler starts the next request.
Cost parallelGets(const std::string& url, int count, int inFlight, Limits limits, std::size_t size);
Cost sequentialGets(const std::string& url, int count, std::size_t size);
Cost download(const std::string& url, std::int64_t size);
/// A PUT of that many bytes that are made on the way.
Cost upload(const std::string& url, std::int64_t size);

}  // namespace client

/// Runs the action and tells what it cost.
template <class Action>
Cost costOf(Action&& action);

/// Processor time of this process and the time of day, in seconds.
Cost clocks();

template <class Action>
Cost costOf(Action&& action) {
    const Cost before = clocks();
    action();
    const Cost after = clocks();
    return {after.cpuSeconds - before.cpuSeconds, after.wallSeconds - before.wallSeconds};
}

}  // namespace foundation::benchmarks
