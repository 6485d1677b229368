#include "tests/soak/RetrySimulation.h"

#include "config/JitterSources.h"
#include "tests/soak/SimulatedTransport.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <random>
#include <sstream>

namespace foundation::httpclient_core::testing {
namespace {

constexpr int maxAttempts = 6;
constexpr std::uint64_t arrivalsPerSecond = 1000;

/// Takes the place of the random device and the clock of the strategies, for the whole process.
class SeededJitter {
public:
    explicit SeededJitter(std::uint64_t seed) {
        engine_.seed(seed);
        config::setJitterSources({&draw, &draw});
    }
    SeededJitter(const SeededJitter&) = delete;
    SeededJitter& operator=(const SeededJitter&) = delete;
    ~SeededJitter() { config::setJitterSources(config::systemJitterSources()); }

private:
    static std::uint32_t draw() { return static_cast<std::uint32_t>(engine_()); }

    static inline std::mt19937_64 engine_;
};

class Simulation {
public:
    Simulation(std::uint64_t requests, std::uint64_t seed)
        : jitter_(seed),
          random_(seed),
          transport_([this](VirtualTime now) { return answer(now); }),
          calls_(requests, 0) {
        load_.seed = seed;
        load_.requests = requests;
        const std::uint64_t seconds = std::max<std::uint64_t>(requests / arrivalsPerSecond, 10);
        outageBegin_ = std::chrono::seconds(seconds * 45 / 100);
        outageEnd_ = std::chrono::seconds(seconds * 55 / 100);
        load_.phases = {{"before", 0, 0}, {"during", 0, 0}, {"after", 0, 0}};
    }

    RetryLoad run() {
        RetryBackoffOptions options;
        options.backoffBase = 100;
        options.maxBackoff = 10;
        options.minJitter = 0;
        options.maxJitter = 400;
        options.useRetryAfter = true;
        transport_.setClientConfiguration(ClientConfiguration().withRetryStrategy(
            defaultRetryStrategy(maxAttempts, defaultIsRetriable(), maxAttempts, options)));
        transport_.at(VirtualTime(0), [this] { arrive(0); });
        transport_.run();
        judge();
        return std::move(load_);
    }

private:
    std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

    LoadPhase& phaseOf(VirtualTime time) {
        return load_.phases[time < outageBegin_ ? 0 : time < outageEnd_ ? 1 : 2];
    }

    // One arrival calls for the next, so that the queue holds what is in flight and no more.
    void arrive(std::uint64_t index) {
        ++phaseOf(transport_.now()).arrivals;
        const unsigned long id = transport_.makeAsyncRequest(
            HttpRequest(HttpMethod::GET, url_, {}),
            CompletionHandler([this, index](HttpRequest, const HttpResponse& response,
                                            const std::exception_ptr& error) {
                ++calls_[index];
                ++(error != nullptr                        ? load_.failed
                   : isSuccess(response.getResponseCode()) ? load_.succeeded
                                                           : load_.refused);
            }));
        if (id != index) {
            load_.defects.push_back("request " + std::to_string(index) + " has the id " +
                                    std::to_string(id));
        }
        if (index + 1 < load_.requests) {
            transport_.at(VirtualTime((index + 1) * 1000 / arrivalsPerSecond),
                          [this, index] { arrive(index + 1); });
        }
    }

    SimulatedTransport::Reply answer(VirtualTime now) {
        note(now);
        SimulatedTransport::Reply reply{.latency = VirtualTime(5 + below(20))};
        if (now < outageBegin_ || now >= outageEnd_) {
            // Now and then something fails on a good day.
            reply.code =
                below(1000) == 0 ? HttpResponseCode::ServiceUnavailable : HttpResponseCode::OK;
            return reply;
        }
        const VirtualTime length = outageEnd_ - outageBegin_;
        if (now < outageBegin_ + length / 10) {
            reply.latency *= 10;
            reply.isTimeout = below(4) == 0;
        } else {
            reply.isTimeout = below(10) == 0;
            reply.code = HttpResponseCode::ServiceUnavailable;
            reply.retryAfterSeconds = below(3) == 0 ? static_cast<int>(1 + below(5)) : 0;
        }
        if (reply.isTimeout) {
            reply.latency = VirtualTime(1000);
        }
        return reply;
    }

    void note(VirtualTime now) {
        ++load_.attempts;
        ++phaseOf(now).attempts;
        const auto second = static_cast<std::size_t>(now.count() / 1000);
        if (perSecond_.size() <= second) {
            perSecond_.resize(second + 1);
        }
        ++perSecond_[second];
        // Each attempt at its time, in the manner of FNV-1a.
        load_.fingerprint = (load_.fingerprint ^ static_cast<std::uint64_t>(now.count())) *
                            std::uint64_t{0x100000001b3};
    }

    void judge() {
        const auto wrong = std::count_if(calls_.begin(), calls_.end(),
                                         [](std::uint8_t calls) { return calls != 1; });
        if (wrong > 0) {
            load_.defects.push_back(std::to_string(wrong) +
                                    " requests whose handler was not called once");
        }
        if (load_.succeeded + load_.refused + load_.failed != load_.requests) {
            load_.defects.emplace_back("the ends do not add up to the requests");
        }
        if (load_.attempts > load_.requests * maxAttempts) {
            load_.defects.emplace_back("more attempts than the strategy allows");
        }
        const auto calm = static_cast<double>(arrivalsPerSecond) * 1.05;
        const auto end = static_cast<std::size_t>(outageEnd_.count() / 1000);
        // The last second is not a whole one.
        const std::size_t last = load_.requests / arrivalsPerSecond;
        for (std::size_t second = 0; second < perSecond_.size(); ++second) {
            load_.peak = std::max(load_.peak, static_cast<double>(perSecond_[second]) /
                                                  static_cast<double>(arrivalsPerSecond));
            if (second >= end && second<last&& static_cast<double>(perSecond_[second])> calm) {
                load_.secondsToCalm = second + 1 - end;
            }
        }
    }

    SeededJitter jitter_;
    std::mt19937_64 random_;
    const URL url_{"http://server.invalid/"};
    SimulatedTransport transport_;
    VirtualTime outageBegin_{0};
    VirtualTime outageEnd_{0};
    std::vector<std::uint8_t> calls_;
    std::vector<std::uint64_t> perSecond_;
    RetryLoad load_;
};

}  // namespace

std::ostream& operator<<(std::ostream& os, const RetryLoad& load) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << load.requests << " requests from seed "
         << load.seed << ": " << load.succeeded << " succeeded, " << load.refused << " refused, "
         << load.failed << " failed, " << load.attempts << " attempts; attempts per request";
    for (const LoadPhase& phase : load.phases) {
        text << " " << phase.name << " " << phase.amplification() << ",";
    }
    text << " peak " << load.peak << ", calm " << load.secondsToCalm
         << " s after the outage; fingerprint " << std::hex << load.fingerprint << std::dec << "; "
         << load.defects.size() << " defects";
    return os << text.str();
}

RetryLoad simulateRetries(std::uint64_t requests, std::uint64_t seed) {
    return Simulation(requests, seed).run();
}

}  // namespace foundation::httpclient_core::testing
