#include "tests/faults/matrix/FaultCase.h"

#include "tests/faults/matrix/Watchdog.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <thread>

namespace foundation::httpclient_curl::testing {
namespace {

constexpr std::chrono::seconds longestAllowed(10);

/// A case in one of its forms.
struct Run {
    const FaultCase* fault = nullptr;
    Road road = Road::Synchronous;
    Sink sink = Sink::Memory;
};

/// Answers for all runs of a batch, each under a number of its own: "/7", "/7/next".
class CasePeer {
public:
    explicit CasePeer(const std::vector<Run>& runs)
        : runs_(runs),
          requests_(runs.size()),
          server_([this](const auto& request, auto& peer) { answer(request, peer); }) {}

    std::string url(std::size_t index) const { return server_.url("/" + std::to_string(index)); }
    int requestCount(std::size_t index) const { return requests_[index]; }

private:
    void answer(const ReceivedRequest& request, Connection& connection) {
        std::size_t index = runs_.size();
        const std::string& target = request.target;
        std::from_chars(target.data() + 1, target.data() + target.size(), index);
        if (index >= runs_.size() || !runs_[index].fault->answer) {
            connection.sendResponse(500, "No such case");
            return;
        }
        runs_[index].fault->answer(request, connection, requests_[index]++);
    }

    const std::vector<Run>& runs_;
    std::vector<std::atomic<int>> requests_;
    LoopbackServer server_;  // Last: it uses the rest.
};

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

ClientConfiguration shortConfiguration() {
    ClientConfiguration configuration = plainConfiguration();
    Access::setConnectTimeoutMs(configuration, 8000);
    Access::setResponseTimeoutMs(configuration, 8000);
    Access::setIdleTimeoutMs(configuration, 8000);
    return configuration;
}

std::string brief(const std::string& text) {
    constexpr std::size_t most = 200;
    return std::to_string(text.size()) + " bytes " + ::testing::PrintToString(text.substr(0, most));
}

bool isOurs(const std::exception_ptr& error) {
    return holds<HttpRequestFailedException>(error) || holds<HttpRequestTimeoutException>(error);
}

bool isRight(const FaultCase& fault, HttpResponseCode code, const std::string& body) {
    return std::any_of(fault.right.begin(), fault.right.end(), [&](const RightAnswer& right) {
        const bool codeFits =
            right.code == 0 ? isSuccess(code) : code == static_cast<HttpResponseCode>(right.code);
        return codeFits && (right.isAnyBody || body == right.body);
    });
}

/// Runs one batch with one client and one peer, and collects what came of it.
class Batch {
public:
    Batch(const std::string& family,
          const std::vector<Run>& runs,
          const std::filesystem::path& folder,
          FamilyTally& tally)
        : family_(family),
          runs_(runs),
          folder_(folder),
          tally_(tally),
          handlerCalls_(runs.size()) {}

    void run(int threads) {
        {
            CasePeer peer(runs_);
            TestClient client;
            std::vector<std::thread> workers;
            std::atomic<std::size_t> next = 0;
            for (int i = 0; i < threads; ++i) {
                workers.emplace_back([&] {
                    for (std::size_t at = next++; at < runs_.size(); at = next++) {
                        runOne(at, peer, *client);
                    }
                });
            }
            for (std::thread& worker : workers) {
                worker.join();
            }
        }
        for (std::size_t at = 0; at < runs_.size(); ++at) {
            const bool isAsynchronous = runs_[at].road == Road::Asynchronous;
            if (isAsynchronous && handlerCalls_[at] != 1) {
                addDefect(at, std::to_string(handlerCalls_[at]) + " calls of the handler");
            }
        }
    }

private:
    void runOne(std::size_t at, CasePeer& peer, CurlHttpClient& client) {
        const FaultCase& fault = *runs_[at].fault;
        const Watchdog watchdog(described(at));
        const std::filesystem::path file = folder_ / std::to_string(at);
        std::string url = peer.url(at);
        ClientConfiguration configuration = shortConfiguration();
        const std::shared_ptr<void> server =
            fault.serve ? fault.serve(url, configuration) : nullptr;
        const auto begun = std::chrono::steady_clock::now();
        Outcome outcome;
        try {
            HttpRequest request(fault.method, URL(url), {});
            if (runs_[at].sink == Sink::File) {
                request.setResponseStreamFactory([file](auto, const auto&, const auto&) {
                    return std::make_unique<std::fstream>(
                        file, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
                });
            }
            if (fault.arrange) {
                fault.arrange(request, configuration);
            }
            request.setClientConfiguration(configuration);
            outcome = send(at, client, std::move(request));
        } catch (...) {
            outcome.error = std::current_exception();
        }
        const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - begun);
        judge(at, outcome, file, taken);
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }

    Outcome send(std::size_t at, CurlHttpClient& client, HttpRequest request) {
        if (runs_[at].road == Road::Synchronous) {
            return {client.makeRequest(std::move(request)), nullptr};
        }
        auto promise = std::make_shared<std::promise<Outcome>>();
        std::future<Outcome> outcome = promise->get_future();
        client.makeAsyncRequest(
            std::move(request),
            [this, at, promise](HttpRequest, HttpResponse response, std::exception_ptr error) {
                if (++handlerCalls_[at] == 1) {
                    promise->set_value({std::move(response), std::move(error)});
                }
            });
        return outcome.get();
    }

    void judge(std::size_t at,
               Outcome& outcome,
               const std::filesystem::path& file,
               std::chrono::milliseconds taken) {
        const FaultCase& fault = *runs_[at].fault;
        if (taken >= longestAllowed) {
            addDefect(at, "took " + std::to_string(taken.count()) + " ms");
        }
        const bool isExact = outcome.error == nullptr;
        if (isExact) {
            // A stream that is kept in the response has bytes of its own only until it is flushed.
            const std::string body =
                runs_[at].sink == Sink::File ? contentOf(file) : outcome.body();
            if (!isRight(fault, outcome.code(), body)) {
                addDefect(at, "a wrong answer: " + to_string(outcome.code()) + ", " + brief(body));
            } else if (fault.wanted == Wanted::Failure) {
                addDefect(at, "no failure: " + to_string(outcome.code()) + ", " + brief(body));
            }
        } else if (!isOurs(outcome.error)) {
            addDefect(at, "not one of our exceptions: " + outcome.message());
        } else if (fault.wanted == Wanted::Exact) {
            addDefect(at, "failed: " + outcome.message());
        }
        const std::lock_guard lock(mutex_);
        ++tally_.runs;
        ++(isExact ? tally_.exact : tally_.failures);
        if (taken > tally_.longest) {
            tally_.longest = taken;
            tally_.longestRun = fault.label;
        }
    }

    std::string described(std::size_t at) const {
        std::ostringstream text;
        text << family_ << ": " << runs_[at].fault->label << " (" << runs_[at].road
             << (runs_[at].sink == Sink::File ? ", file)" : ", memory)");
        return text.str();
    }

    void addDefect(std::size_t at, const std::string& text) {
        const std::lock_guard lock(mutex_);
        tally_.defects.push_back(described(at) + ": " + text);
    }

    const std::string& family_;
    const std::vector<Run>& runs_;
    const std::filesystem::path& folder_;
    std::mutex mutex_;  ///< Guards the tally.
    FamilyTally& tally_;
    std::vector<std::atomic<int>> handlerCalls_;
};

/// An empty folder as long as it lives.
class Folder {
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() /
                ("fault_matrix." + std::to_string(std::random_device()()))) {
        std::filesystem::create_directory(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace

FamilyTally runFamily(const Family& family) {
    // A peer has a thread for each connection it ever had, so it is not kept for long.
    constexpr std::size_t perBatch = 250;
    FamilyTally tally;
    tally.name = family.name;
    const Folder folder;
    std::set<std::string> labels;
    std::vector<Run> runs;
    const auto runBatch = [&] {
        Batch(family.name, runs, folder.path(), tally).run(family.threads);
        runs.clear();
    };
    for (const FaultCase& fault : family.cases) {
        if (!labels.insert(fault.label).second) {
            tally.defects.push_back(family.name + ": " + fault.label + " is there twice");
        }
        for (const Road road : family.roads) {
            for (const Sink sink : family.sinks) {
                runs.push_back({&fault, road, sink});
            }
        }
        if (runs.size() >= perBatch) {
            runBatch();
        }
    }
    runBatch();
    tally.cases = labels.size();
    return tally;
}

std::ostream& operator<<(std::ostream& os, const FamilyTally& tally) {
    return os << std::left << std::setw(28) << tally.name << std::right << std::setw(6)
              << tally.cases << " cases " << std::setw(6) << tally.runs << " runs " << std::setw(6)
              << tally.exact << " exact " << std::setw(6) << tally.failures << " failures "
              << std::setw(3) << tally.defects.size() << " defects, longest " << std::setw(5)
              << tally.longest.count() << " ms" << (tally.longestRun.empty() ? "" : " in ")
              << tally.longestRun;
}

}  // namespace foundation::httpclient_curl::testing
