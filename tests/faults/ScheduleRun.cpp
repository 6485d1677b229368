#include "tests/faults/ScheduleRun.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <boost/log/core/core.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <streambuf>
#include <thread>
#include <utility>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace httpclient_core;
using Access = httpclient_core::detail::ClientConfigurationAccess;

const std::string prefix = "in front";

/// Takes bytes and never gives one back.
class WriteOnlyBuffer : public std::stringbuf {
public:
    WriteOnlyBuffer() : std::stringbuf(std::ios::out) {}
};

class WriteOnlyStream : public std::iostream {
public:
    WriteOnlyStream() : std::iostream(nullptr) { rdbuf(&buffer_); }
    std::string str() const { return buffer_.str(); }

private:
    WriteOnlyBuffer buffer_;
};

ResponseStreamFactory factoryFor(BodyStream kind, const std::filesystem::path& file) {
    return [kind, file](HttpResponseCode, const std::string&,
                        const HttpHeaders&) -> std::unique_ptr<std::iostream> {
        if (kind == BodyStream::WriteOnly) {
            return std::make_unique<WriteOnlyStream>();
        }
        if (kind == BodyStream::File) {
            return std::make_unique<std::fstream>(
                file, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
        }
        auto stream = std::make_unique<std::stringstream>();
        if (kind == BodyStream::Prefixed) {
            *stream << prefix;
        }
        return stream;
    };
}

std::string bodyOf(const HttpResponse& response,
                   BodyStream kind,
                   const std::filesystem::path& file) {
    if (kind == BodyStream::Default) {
        return response.getResponseBodyString();
    }
    std::iostream& stream = response.getResponseBody();
    if (kind == BodyStream::WriteOnly) {
        return dynamic_cast<WriteOnlyStream&>(stream).str();
    }
    if (kind == BodyStream::File) {
        // The handle of the transport may have bytes in its buffer only if it did not flush at the end.
        std::ifstream read(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(read), {}};
    }
    return dynamic_cast<std::stringstream&>(stream).str();
}

// Goes on after everything, pages that nobody would ask for again included.
RetryStrategy stubbornStrategy() {
    return [](const HttpRequest&, const HttpResponse& response, const std::exception_ptr& error,
              int total, int) {
        return total < 14 && (error != nullptr || !isSuccess(response.getResponseCode()));
    };
}

RetryStrategy strategyFor(const Schedule& schedule) {
    if (!schedule.usesResumingStrategy) {
        return stubbornStrategy();
    }
    ResumingRetryOptions options;
    options.maxRetries = 13;
    options.firstWait = std::chrono::milliseconds(1);
    options.maxWait = std::chrono::milliseconds(2);
    return resumingRetryStrategy(options);
}

ClientConfiguration configurationFor(const Schedule& schedule) {
    ClientConfiguration configuration;
    configuration.setResumeOnRetry(true);
    configuration.setRetryStrategy(strategyFor(schedule));
    if (schedule.stalls()) {
        Access::setIdleTimeoutMs(configuration, 60);
        Access::setResponseTimeoutMs(configuration, 60);
    }
    return configuration;
}

struct Outcome {
    HttpResponse response;
    std::exception_ptr error;
};

Outcome send(HttpClient& client, HttpRequest request) {
    try {
        return {client.makeRequest(std::move(request)), nullptr};
    } catch (...) {
        return {HttpResponse(), std::current_exception()};
    }
}

Outcome sendAsync(HttpClient& client, HttpRequest request) {
    auto promise = std::make_shared<std::promise<Outcome>>();
    std::future<Outcome> outcome = promise->get_future();
    client.makeAsyncRequest(std::move(request), [promise](HttpRequest, HttpResponse response,
                                                          std::exception_ptr error) {
        promise->set_value({std::move(response), std::move(error)});
    });
    return outcome.get();
}

/// Ends the program when a schedule never ends, so that it is found.
class Watch {
public:
    explicit Watch(const Schedule& schedule)
        : thread_([this, &schedule] {
              std::unique_lock lock(mutex_);
              if (!ended_.wait_for(lock, std::chrono::minutes(1), [this] { return done_; })) {
                  std::cerr << "HANG: " << schedule << std::endl;
                  std::abort();
              }
          }) {}
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch() {
        {
            const std::lock_guard lock(mutex_);
            done_ = true;
        }
        ended_.notify_all();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    bool done_ = false;
    std::thread thread_;
};

Verdict judgeError(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const HttpRequestFailedException& failure) {
        return {Ending::Failure, failure.what()};
    } catch (const std::exception& other) {
        return {Ending::Foreign, std::string("exception of another family: ") + other.what()};
    } catch (...) {
        return {Ending::Foreign, "an exception that is no std::exception"};
    }
}

// Where two bodies begin to differ: enough to see what was mixed.
std::string difference(const std::string& body, const std::string& right) {
    const auto [at, ignored] = std::mismatch(body.begin(), body.end(), right.begin(), right.end());
    return std::to_string(body.size()) + " bytes, equal to a version of " +
           std::to_string(right.size()) + " up to " + std::to_string(at - body.begin());
}

Verdict judgeBody(const Schedule& schedule,
                  HttpResponseCode code,
                  const std::string& body,
                  bool mayBeWhole) {
    std::string seen = to_string(code) + ":";
    const bool isPart = code == HttpResponseCode::PartialContent && !schedule.callersRange.empty();
    for (const Version& version : schedule.versions) {
        if (mayBeWhole && body == version.data) {
            return {Ending::Exact, seen};
        }
        Slice slice{0, version.data.size()};
        if (isPart) {
            slice = sliceOf(schedule.callersRange, version.data.size()).value_or(slice);
        }
        const std::string right = slice.first < slice.end
                                      ? version.data.substr(slice.first, slice.end - slice.first)
                                      : "";
        if (body == right) {
            return {Ending::Exact, seen};
        }
        seen += " " + difference(body, right) + ";";
    }
    return {Ending::Corruption, seen};
}

Verdict judge(const Schedule& schedule,
              const FaultPeer& peer,
              const Outcome& outcome,
              const std::filesystem::path& file) {
    if (outcome.error != nullptr) {
        return judgeError(outcome.error);
    }
    std::string body = bodyOf(outcome.response, schedule.stream, file);
    if (schedule.stream == BodyStream::Prefixed && body.starts_with(prefix)) {
        body.erase(0, prefix.size());
    }
    const HttpResponseCode code = outcome.response.getResponseCode();
    if (isSuccess(code)) {
        return judgeBody(schedule, code, body, peer.refusedARange(schedule));
    }
    const std::vector<std::string> pages = peer.pages(schedule);
    const bool isPage = std::find(pages.begin(), pages.end(), body) != pages.end();
    return {isPage ? Ending::HttpError : Ending::Corruption,
            to_string(code) + (isPage ? ""
                                      : " over a body of " + std::to_string(body.size()) +
                                            " bytes that is none of its pages")};
}

}  // namespace

Verdict runSchedule(HttpClient& client,
                    FaultPeer& peer,
                    const Schedule& schedule,
                    const std::filesystem::path& folder) {
    const Watch watch(schedule);
    const std::filesystem::path file = folder / std::to_string(schedule.seed);
    HttpRequest request(HttpMethod::GET, URL(peer.add(schedule)), {});
    request.setClientConfiguration(configurationFor(schedule));
    if (!schedule.callersRange.empty()) {
        request.setHeaderValue("Range", schedule.callersRange);
    }
    if (schedule.stream != BodyStream::Default) {
        request.setResponseStreamFactory(factoryFor(schedule.stream, file));
    }
    if (schedule.hasProgress) {
        request.setProgressCallback([](const Progress&) { return ProgressResult::Continue; });
    }
    const Outcome outcome = schedule.isAsynchronous ? sendAsync(client, std::move(request))
                                                    : send(client, std::move(request));
    Verdict verdict = judge(schedule, peer, outcome, file);
    verdict.requests = peer.requestCount(schedule);
    verdict.bytesSent = peer.bytesSent(schedule);
    peer.forget(schedule);
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return verdict;
}

std::ostream& operator<<(std::ostream& os, const Tally& tally) {
    return os << tally.schedules << " schedules, " << tally.requests << " requests: " << tally.exact
              << " exact, " << tally.httpErrors << " HTTP errors, " << tally.failures
              << " honest failures, " << tally.defects.size() << " defects";
}

Tally runSchedules(std::uint64_t first, std::uint64_t count) {
    boost::log::core::get()->set_logging_enabled(false);
    constexpr std::uint64_t perClient = 50;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("fault_schedules." + std::to_string(std::random_device()()));
    std::filesystem::create_directory(folder);
    std::mutex mutex;
    Tally tally;
    for (std::uint64_t begin = first; begin < first + count; begin += perClient) {
        const std::uint64_t end = std::min(begin + perClient, first + count);
        FaultPeer peer;
        CurlHttpClient client;
        std::atomic<std::uint64_t> next = begin;
        const auto work = [&] {
            for (std::uint64_t seed = next++; seed < end; seed = next++) {
                const Schedule schedule = makeSchedule(seed);
                const Verdict verdict = runSchedule(client, peer, schedule, folder);
                const std::lock_guard lock(mutex);
                ++tally.schedules;
                tally.requests += static_cast<std::uint64_t>(verdict.requests);
                tally.exact += verdict.ending == Ending::Exact ? 1 : 0;
                tally.httpErrors += verdict.ending == Ending::HttpError ? 1 : 0;
                tally.failures += verdict.ending == Ending::Failure ? 1 : 0;
                if (verdict.ending == Ending::Corruption || verdict.ending == Ending::Foreign) {
                    std::ostringstream text;
                    text << verdict.text << "\n" << schedule;
                    tally.defects.push_back(text.str());
                }
            }
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i) {
            threads.emplace_back(work);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    std::filesystem::remove_all(folder);
    return tally;
}

}  // namespace foundation::httpclient_curl::testing
