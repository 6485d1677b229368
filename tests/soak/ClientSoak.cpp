#include "tests/soak/ClientSoak.h"

#include "tests/soak/SoakServer.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <random>
#include <thread>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace httpclient_core;
using Access = httpclient_core::detail::ClientConfigurationAccess;

constexpr std::size_t clientCount = 16;
constexpr int inFlightAtMost = 12;  ///< Of each client.

std::int64_t entriesOf(const char* folder) {
    const std::filesystem::directory_iterator begin(folder);
    return std::distance(begin, std::filesystem::directory_iterator());
}

Footprint footprint() {
    ::malloc_trim(0);
    std::ifstream statm("/proc/self/statm");
    std::int64_t total = 0;
    std::int64_t resident = 0;
    statm >> total >> resident;
    return {entriesOf("/proc/self/task"), entriesOf("/proc/self/fd"),
            resident * ::sysconf(_SC_PAGESIZE)};
}

/// One request and what it has to end with.
struct Errand {
    SoakKind kind = SoakKind::Well;
    std::size_t size = 0;
    std::uint64_t number = 0;
    bool mayBeCancelled = false;
};

std::string described(const Errand& errand) {
    return "/" + nameOf(errand.kind) + "/" + std::to_string(errand.size) + "/" +
           std::to_string(errand.number);
}

enum class End { Exact, Page, Failure, Cancelled, Wrong };

End endOf(const Errand& errand, const HttpResponse& response, const std::exception_ptr& error) {
    if (error != nullptr) {
        try {
            std::rethrow_exception(error);
        } catch (const HttpRequestCancelledException&) {
            return errand.mayBeCancelled ? End::Cancelled : End::Wrong;
        } catch (const HttpRequestFailedException&) {
            const SoakKind kind = errand.kind;
            const bool mustFail = kind == SoakKind::CutHead || kind == SoakKind::CutBody ||
                                  kind == SoakKind::Reset || kind == SoakKind::BadChunk ||
                                  kind == SoakKind::TwoLengths || kind == SoakKind::Silent;
            return mustFail ? End::Failure : End::Wrong;
        } catch (...) {
            return End::Wrong;
        }
    }
    const std::string body = response.getResponseBodyString();
    const HttpResponseCode code = response.getResponseCode();
    switch (errand.kind) {
        case SoakKind::Well:
        case SoakKind::Chunked:
        case SoakKind::Redirect:
        case SoakKind::Resume:
        case SoakKind::Drip:
            return isSuccess(code) && body == soakBody(errand.size, errand.number) ? End::Exact
                                                                                   : End::Wrong;
        case SoakKind::Put:
            return isSuccess(code) && body == std::to_string(errand.size) ? End::Exact : End::Wrong;
        case SoakKind::Page:
            return code == HttpResponseCode::NotFound && body == "page" ? End::Page : End::Wrong;
        case SoakKind::Busy:
            return code == HttpResponseCode::ServiceUnavailable && body == "page" ? End::Page
                                                                                  : End::Wrong;
        default:
            return End::Wrong;
    }
}

/// The numbers that the reports of one client name.
class Numbers {
public:
    void note(const AttemptReport& report) {
        const std::lock_guard lock(mutex_);
        ++attempts_;
        if (!report.requestId.has_value()) {
            return;
        }
        int& last = lastAttempts_[*report.requestId];
        if (report.attempt != last + 1) {
            ++gaps_;
        }
        last = report.attempt;
    }
    std::uint64_t attempts() const { return attempts_; }
    std::uint64_t gaps() const { return gaps_; }
    bool knows(unsigned long id) const { return lastAttempts_.contains(id); }

private:
    std::mutex mutex_;
    std::map<unsigned long, int> lastAttempts_;
    std::uint64_t attempts_ = 0;
    std::uint64_t gaps_ = 0;
};

/// A client with a thread that sends its requests.
class Sender {
public:
    Sender(int port, std::uint64_t requests, std::uint64_t seed, std::uint64_t firstNumber)
        : root_("http://127.0.0.1:" + std::to_string(port)),
          random_(seed),
          firstNumber_(firstNumber),
          errands_(requests),
          calls_(requests) {}

    void run(SoakResult& result, std::mutex& mutex) {
        {
            CurlClientOptions options;
            options.attemptObserver = [this](const AttemptReport& report) {
                numbers_.note(report);
            };
            CurlHttpClient client(std::move(options));
            client.setClientConfiguration(configuration());
            for (std::size_t index = 0; index < errands_.size(); ++index) {
                send(client, index);
            }
            awaitRoom(0);
        }
        const std::lock_guard lock(mutex);
        addTo(result);
    }

private:
    std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

    ClientConfiguration configuration() {
        ResumingRetryOptions options;
        options.maxRetries = 1;
        options.firstWait = std::chrono::milliseconds(1);
        options.maxWait = std::chrono::milliseconds(1);
        ClientConfiguration configuration;
        configuration.setResumeOnRetry(true);
        configuration.setRetryStrategy(resumingRetryStrategy(options));
        configuration.setMaxThreads(2);
        configuration.setMaxRequestsPerThread(3);
        return configuration;
    }

    Errand anyErrand() {
        constexpr std::array good{SoakKind::Well, SoakKind::Chunked, SoakKind::Put};
        Errand errand;
        if (below(100) >= 40) {
            errand.kind = good[below(good.size())];
        } else if (below(100) == 0) {
            errand.kind = SoakKind::Silent;
        } else {
            do {
                errand.kind =
                    static_cast<SoakKind>(below(static_cast<std::size_t>(SoakKind::Count)));
            } while (!isFaulty(errand.kind) || errand.kind == SoakKind::Silent);
        }
        errand.size = 2 + below(below(20) == 0 ? 100000 : 5000);
        return errand;
    }

    HttpRequest requestFor(const Errand& errand) {
        HttpRequest request(errand.kind == SoakKind::Put ? HttpMethod::PUT : HttpMethod::GET,
                            URL(root_ + described(errand)), {});
        if (errand.kind == SoakKind::Put) {
            request.setRequestBody(soakBody(errand.size, errand.number));
        }
        if (errand.kind == SoakKind::Silent) {
            ClientConfiguration hasty = configuration();
            constexpr int soon = 30;
            Access::setResponseTimeoutMs(hasty, soon);
            request.setClientConfiguration(hasty);
        }
        return request;
    }

    void send(CurlHttpClient& client, std::size_t index) {
        Errand& errand = errands_[index];
        errand = anyErrand();
        errand.number = firstNumber_ + index;
        if (below(10) < 3) {
            sendSynchronously(client, index);
            return;
        }
        const bool isCancelled = below(20) == 0;
        errand.mayBeCancelled = isCancelled;
        awaitRoom(inFlightAtMost - 1);
        {
            const std::lock_guard lock(mutex_);
            ++inFlight_;
        }
        const unsigned long id = client.makeAsyncRequest(
            requestFor(errand), CompletionHandler([this, index](HttpRequest, HttpResponse response,
                                                                std::exception_ptr error) {
                finish(index, response, error);
                const std::lock_guard lock(mutex_);
                --inFlight_;
                // Under the lock: the sender may end right after.
                changed_.notify_all();
            }));
        if (id != nextId_++) {
            ++idGaps_;
        }
        lastAsynchronous_.emplace_back(id, isCancelled);
        if (isCancelled) {
            std::this_thread::sleep_for(std::chrono::microseconds(below(500)));
            client.cancelRequest(id);
        }
    }

    void sendSynchronously(CurlHttpClient& client, std::size_t index) {
        ++synchronous_;
        try {
            finish(index, client.makeRequest(requestFor(errands_[index])), nullptr);
        } catch (...) {
            finish(index, HttpResponse(), std::current_exception());
        }
    }

    void finish(std::size_t index, const HttpResponse& response, const std::exception_ptr& error) {
        ++calls_[index];
        const End end = endOf(errands_[index], response, error);
        ++ends_[static_cast<std::size_t>(end)];
        if (end == End::Wrong) {
            std::string text = "no error";
            try {
                if (error != nullptr) {
                    std::rethrow_exception(error);
                }
            } catch (const std::exception& exception) {
                text = exception.what();
            }
            const std::lock_guard lock(mutex_);
            defects_.push_back(described(errands_[index]) + ": " +
                               to_string(response.getResponseCode()) + ", " + text +
                               (errands_[index].mayBeCancelled ? ", cancelled" : ""));
        }
    }

    void awaitRoom(int most) {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::minutes(2), [&] { return inFlight_ <= most; })) {
            std::abort();  // A request that never ends.
        }
    }

    void addTo(SoakResult& result) {
        for (std::size_t index = 0; index < errands_.size(); ++index) {
            if (calls_[index] != 1) {
                defects_.push_back(described(errands_[index]) + ": " +
                                   std::to_string(calls_[index]) + " calls of the handler");
            }
            result.faulty += isFaulty(errands_[index].kind) ? 1U : 0U;
        }
        if (idGaps_ + numbers_.gaps() > 0) {
            defects_.push_back(std::to_string(idGaps_) + " gaps between ids, " +
                               std::to_string(numbers_.gaps()) + " between attempts");
        }
        for (const auto& [id, isCancelled] : lastAsynchronous_) {
            if (!isCancelled && !numbers_.knows(id)) {
                defects_.push_back("id " + std::to_string(id) + " has no report");
            }
        }
        result.requests += errands_.size();
        result.synchronous += synchronous_;
        result.exact += ends_[static_cast<std::size_t>(End::Exact)];
        result.pages += ends_[static_cast<std::size_t>(End::Page)];
        result.failures += ends_[static_cast<std::size_t>(End::Failure)];
        result.cancelled += ends_[static_cast<std::size_t>(End::Cancelled)];
        result.attempts += numbers_.attempts();
        result.defects.insert(result.defects.end(), defects_.begin(), defects_.end());
    }

    std::string root_;
    std::mt19937_64 random_;
    std::uint64_t firstNumber_;
    std::vector<Errand> errands_;
    std::vector<std::atomic<int>> calls_;
    std::array<std::atomic<std::uint64_t>, 5> ends_{};
    std::vector<std::pair<unsigned long, bool>> lastAsynchronous_;
    unsigned long nextId_ = 0;
    std::uint64_t idGaps_ = 0;
    std::uint64_t synchronous_ = 0;
    Numbers numbers_;
    std::mutex mutex_;  ///< Guards what follows.
    std::condition_variable changed_;
    int inFlight_ = 0;
    std::vector<std::string> defects_;
};

void runGeneration(int port, std::uint64_t requests, std::mt19937_64& random, SoakResult& result) {
    std::mutex mutex;
    std::vector<std::unique_ptr<Sender>> senders;
    std::vector<std::thread> threads;
    const std::uint64_t begun = result.requests;
    for (std::size_t i = 0; i < clientCount; ++i) {
        const std::uint64_t first = requests * i / clientCount;
        const std::uint64_t end = requests * (i + 1) / clientCount;
        senders.push_back(std::make_unique<Sender>(port, end - first, random(), begun + first));
        threads.emplace_back(
            [&result, &mutex, sender = senders.back().get()] { sender->run(result, mutex); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const SoakResult& result) {
    const auto change = [&os](const char* name, std::int64_t from, std::int64_t to) {
        os << ", " << name << " " << from << " -> " << to;
    };
    os << result.requests << " requests from seed " << result.seed << ", " << result.synchronous
       << " synchronous, " << result.faulty << " faulty, " << result.attempts
       << " attempts: " << result.exact << " exact, " << result.pages << " pages, "
       << result.failures << " failures, " << result.cancelled << " cancelled";
    change("threads", result.before.threads, result.after.threads);
    change("descriptors", result.before.descriptors, result.after.descriptors);
    change("KiB", result.before.memory / 1024, result.after.memory / 1024);
    return os << "; " << result.defects.size() << " defects";
}

SoakResult soakClients(int port, std::uint64_t requests, std::uint64_t seed, bool checksMemory) {
    constexpr std::uint64_t generations = 10;
    constexpr std::int64_t growthAtMost = std::int64_t{2} * 1024 * 1024;
    SoakResult result;
    result.seed = seed;
    std::mt19937_64 random(seed);
    // ThreadSanitizer has a thread of its own, which comes with the first other one.
    std::thread([] {}).join();
    const Footprint start = footprint();
    for (std::uint64_t i = 0; i < generations; ++i) {
        runGeneration(port, requests * (i + 1) / generations - requests * i / generations, random,
                      result);
        if (i == 0) {
            result.before = footprint();
        }
    }
    result.after = footprint();
    if (result.after.threads != start.threads) {
        result.defects.push_back("threads were left: " + std::to_string(start.threads) + " -> " +
                                 std::to_string(result.after.threads));
    }
    if (result.after.descriptors != start.descriptors) {
        result.defects.push_back("descriptors were left: " + std::to_string(start.descriptors) +
                                 " -> " + std::to_string(result.after.descriptors));
    }
    if (checksMemory && result.after.memory - result.before.memory > growthAtMost) {
        result.defects.push_back("memory grew by " +
                                 std::to_string(result.after.memory - result.before.memory));
    }
    return result;
}

}  // namespace foundation::httpclient_curl::testing
