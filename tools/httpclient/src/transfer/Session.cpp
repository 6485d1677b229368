#include "transfer/Session.h"

#include "command/UrlArgument.h"
#include "output/DescriptorWriter.h"
#include "report/Report.h"
#include "report/SystemFailure.h"
#include "terminal/ProgressDisplay.h"
#include "text/SafeText.h"
#include "transfer/Transfer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;

void describeRequest(TransferResult& result, const RequestOptions& options, std::size_t number) {
    std::ostringstream method;
    method << options.method;
    result.method = method.str();
    result.url = options.urls[number];
}

void putOutReport(ExitCode code, const std::vector<TransferResult>& results, int standardOutput) {
    const int error = writeAll(standardOutput, jsonReport(code, results));
    if (error != 0) {
        throw systemFailure("cannot write standard output", error);
    }
}

// What ends everything before the first request is a report as well: whoever reads it need not look at
// standard error.
void reportThatNothingWasSent(const RequestOptions& options,
                              const Failure& failure,
                              int standardOutput) {
    std::vector<TransferResult> results(options.urls.size());
    for (std::size_t number = 0; number < results.size(); ++number) {
        describeRequest(results[number], options, number);
        results[number].code = failure.code();
        results[number].failure = failure.what();
    }
    putOutReport(failure.code(), results, standardOutput);
}

class Session {
public:
    Session(const RequestOptions& options, Environment& environment)
        : options_(options),
          environment_(environment),
          builder_(options, environment.standardInput, environment.interrupts),
          log_(environment.errors, options.explain),
          display_(environment.errors,
                   environment.errors.isTerminal() && !options.writesToStandardOutput() &&
                       !options.quiet,
                   ProgressDisplay::steadyClock(),
                   {.files = options.urls.size(), .columns = {}}),
          context_{.options = options,
                   .builder = builder_,
                   .errors = environment.errors,
                   .log = log_,
                   .standardOutput = environment.standardOutput,
                   .mustStop = [this] { return mustStop(); },
                   .onProgress =
                       [this](std::size_t number, std::int64_t bytes, std::int64_t missing) {
                           showProgress(number, bytes, missing);
                       },
                   .onRetry = [this] { display_.countRetry(); }},
          results_(options.urls.size()) {
        requireDifferentNames();
    }

    ExitCode run() {
        {
            const Interrupts::Scope scope(environment_.interrupts, [this] { stopAll(); });
            work();
        }
        client_.reset();
        return report();
    }

private:
    struct Running {
        std::unique_ptr<Transfer> transfer;
        std::vector<unsigned long> ids;
    };
    struct Finished {
        std::size_t number;
        Outcome outcome;
    };

    void requireDifferentNames() const {
        std::set<std::string> names;
        for (std::size_t number = 0; number < options_.urls.size(); ++number) {
            const std::string& url = options_.urls[number];
            try {
                static_cast<void>(parseUrlArgument(url));
                if (options_.remoteName && !names.insert(remoteName(url)).second) {
                    throw Failure(ExitCode::Usage,
                                  "two URLs end in the same name; use -o for each");
                }
            } catch (const Failure& failure) {
                if (options_.urls.size() == 1) {
                    throw;
                }
                throw Failure(failure.code(),
                              "URL " + std::to_string(number + 1) + ": " + failure.what());
            }
        }
    }

    bool interrupted() const { return environment_.interrupts.interrupted(); }
    bool mustStop() const { return gaveUp_ || interrupted(); }

    // Made for the first request: a destination that cannot be written needs none.
    HttpClient& client() {
        if (client_ == nullptr) {
            httpclient_curl::CurlClientOptions options;
            options.attemptObserver = [this](const httpclient_curl::AttemptReport& report) {
                log_.attempted(report);
            };
            auto client = environment_.makeClient(std::move(options));
            client->setClientConfiguration(builder_.configuration());
            const std::lock_guard lock(mutex_);
            client_ = std::move(client);
        }
        return *client_;
    }

    // From any thread. A request that starts at the same moment is stopped by its own thread.
    void stopAll() {
        HttpClient* client = nullptr;
        {
            const std::lock_guard lock(mutex_);
            client = client_.get();
        }
        if (client != nullptr) {
            client->cancelAllRequests();
        }
        const std::lock_guard lock(mutex_);
        for (const auto& [number, running] : running_) {
            running.transfer->wake();
        }
    }

    void work() {
        const auto start = std::chrono::steady_clock::now();
        std::size_t next = 0;
        while (next < options_.urls.size() || runningCount() > 0) {
            while (next < options_.urls.size() && !mustStop() &&
                   runningCount() < static_cast<std::size_t>(options_.parallel)) {
                begin(next++);
            }
            if (runningCount() == 0 && mustStop()) {
                break;
            }
            if (runningCount() > 0) {
                awaitOne(start);
            }
        }
        for (; next < options_.urls.size(); ++next) {
            settle(next, stopFailure(next));
        }
    }

    std::size_t runningCount() {
        const std::lock_guard lock(mutex_);
        return running_.size();
    }

    void begin(std::size_t number) {
        try {
            auto transfer = std::make_unique<Transfer>(number, options_.urls[number], context_);
            if (const auto held = transfer->destination().heldPart()) {
                display_.countHeld(held->size);
                const std::lock_guard lock(progressMutex_);
                progress_[number] = {held->size, 0};
            }
            Running* running = nullptr;
            {
                const std::lock_guard lock(mutex_);
                running = &running_[number];
                running->transfer = std::move(transfer);
            }
            send(*running);
        } catch (const Failure& failure) {
            settle(number, failure);
        }
    }

    void send(Running& running) {
        const std::size_t number = running.transfer->number();
        HttpRequest request = running.transfer->request();
        running.ids.push_back(client().makeAsyncRequest(
            std::move(request), [this, number](HttpRequest /*request*/, HttpResponse response,
                                               std::exception_ptr error) {
                {
                    const std::lock_guard lock(mutex_);
                    finished_.push_back({number, {std::move(response), std::move(error)}});
                }
                changed_.notify_one();
            }));
        // A wish to stop that came before the request was known is acted on here.
        if (mustStop()) {
            stopAll();
        }
    }

    void awaitOne(std::chrono::steady_clock::time_point start) {
        std::unique_lock lock(mutex_);
        const auto isReady = [this] { return !finished_.empty(); };
        if (options_.maxTime.has_value() && !gaveUp_) {
            if (!changed_.wait_until(lock, start + *options_.maxTime, isReady)) {
                gaveUp_ = true;
                lock.unlock();
                stopAll();
                return;
            }
        } else {
            changed_.wait(lock, isReady);
        }
        Finished finished = std::move(finished_.front());
        finished_.pop_front();
        Running& running = running_.at(finished.number);
        lock.unlock();
        end(running, finished);
    }

    void end(Running& running, Finished& finished) {
        if (!mustStop() && running.transfer->wantsAnother(finished.outcome)) {
            send(running);
            return;
        }
        const std::size_t number = finished.number;
        describeAnswer(results_[number], finished.outcome);
        results_[number].attempts = log_.records(running.ids, number);
        try {
            conclude(*running.transfer, finished.outcome);
            settle(number, std::nullopt);
        } catch (const Failure& failure) {
            settle(number, failure);
        }
    }

    void conclude(Transfer& transfer, Outcome& outcome) {
        const bool isWhole = isSuccessful(outcome) && !transfer.destination().trouble().has_value();
        if (interrupted() || (gaveUp_ && !isWhole)) {
            throw transfer.giveUp(stopFailure(transfer.number()));
        }
        transfer.conclude(outcome);
        if (options_.verbose) {
            environment_.errors.note(transfer.destination().name() + ": " +
                                     display_.summary(transfer.destination().size()));
        }
    }

    Failure stopFailure(std::size_t number) const {
        if (interrupted()) {
            return {ExitCode::Interrupted, "interrupted"};
        }
        return {ExitCode::TimedOut, shownUrl(options_.urls[number]) +
                                        ": not complete when --max-time was over; allow more time"};
    }

    static void describeAnswer(TransferResult& result, const Outcome& outcome) {
        const HttpResponse& response = outcome.response;
        result.status = static_cast<int>(response.getResponseCode());
        result.reason = response.getResponseCodeReason();
        result.headers = response.getHeaders();
        result.effectiveUrl = response.getTransactionReport().effectiveURL().toAsciiString();
        result.redirects = response.getTransactionReport().redirectCount();
    }

    // Records the end of a transfer and forgets it.
    void settle(std::size_t number, const std::optional<Failure>& failure) {
        TransferResult& result = results_[number];
        describeRequest(result, options_, number);
        result.code = failure.has_value() ? failure->code() : ExitCode::Success;
        result.failure = failure.has_value() ? failure->what() : "";
        Running ended;
        {
            const std::lock_guard lock(mutex_);
            const auto running = running_.find(number);
            if (running != running_.end()) {
                ended = std::move(running->second);
                running_.erase(running);
            }
        }
        if (ended.transfer != nullptr) {
            result.output =
                options_.writesToStandardOutput() ? "" : ended.transfer->destination().name();
            result.bytes = ended.transfer->destination().size();
            result.resumedFrom = ended.transfer->resumedFrom();
        }
        totalBytes_ += result.bytes;
        display_.countFile();
        // One line says that everything was interrupted.
        const bool isToldAlready = result.code == ExitCode::Interrupted && toldInterrupt_;
        if (failure.has_value() && !isToldAlready) {
            environment_.errors.failure(result.failure);
            toldInterrupt_ = result.code == ExitCode::Interrupted;
        }
    }

    void showProgress(std::size_t number, std::int64_t bytes, std::int64_t missing) {
        std::int64_t allBytes = 0;
        std::int64_t allMissing = 0;
        {
            const std::lock_guard lock(progressMutex_);
            progress_[number] = {bytes, missing};
            for (const auto& [each, counts] : progress_) {
                allBytes += counts.first;
                allMissing += counts.second;
            }
        }
        display_.update(allBytes, allMissing);
    }

    ExitCode report() {
        ExitCode code = ExitCode::Success;
        for (const TransferResult& result : results_) {
            if (code == ExitCode::Success || result.code == ExitCode::Interrupted) {
                code = result.code;
            }
        }
        if (code == ExitCode::Success) {
            display_.finish(totalBytes_);
        } else {
            display_.abandon();
        }
        if (options_.json) {
            putOutReport(code, results_, environment_.standardOutput);
        }
        return code;
    }

    const RequestOptions& options_;
    Environment& environment_;
    RequestBuilder builder_;
    AttemptLog log_;
    ProgressDisplay display_;
    TransferContext context_;
    std::vector<TransferResult> results_;
    std::atomic<bool> gaveUp_{false};
    bool toldInterrupt_ = false;
    std::int64_t totalBytes_ = 0;

    std::mutex progressMutex_;  ///< Guards `progress_`.
    std::map<std::size_t, std::pair<std::int64_t, std::int64_t>> progress_;

    std::mutex mutex_;  ///< Guards what follows; the entries of `running_` are the main thread's.
    std::condition_variable changed_;
    std::map<std::size_t, Running> running_;
    std::deque<Finished> finished_;

    std::unique_ptr<HttpClient> client_;  ///< Goes first: its handlers use the rest.
};

}  // namespace

ExitCode runSession(const RequestOptions& options, Environment& environment) {
    std::optional<Session> session;
    try {
        session.emplace(options, environment);
    } catch (const Failure& failure) {
        if (options.json) {
            reportThatNothingWasSent(options, failure, environment.standardOutput);
        }
        throw;
    }
    return session->run();
}

}  // namespace foundation::httpclient_tool
