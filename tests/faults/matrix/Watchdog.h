#pragma once
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace foundation::httpclient_curl::testing {

/// Ends the program, with a text that says what hangs, when it lives longer than a minute.
class Watchdog {
public:
    explicit Watchdog(std::string what) {
        Kennel& kennel = theKennel();
        const std::lock_guard lock(kennel.mutex);
        place_ = kennel.watched.emplace(kennel.watched.end(),
                                        Clock::now() + std::chrono::minutes(1), std::move(what));
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() {
        Kennel& kennel = theKennel();
        const std::lock_guard lock(kennel.mutex);
        kennel.watched.erase(place_);
    }

private:
    using Clock = std::chrono::steady_clock;
    using Watched = std::list<std::pair<Clock::time_point, std::string>>;

    /// One thread for all of them.
    struct Kennel {
        Kennel() : thread([this] { patrol(); }) {}
        Kennel(const Kennel&) = delete;
        Kennel& operator=(const Kennel&) = delete;
        ~Kennel() {
            {
                const std::lock_guard lock(mutex);
                closes = true;
            }
            changed.notify_all();
            thread.join();
        }
        void patrol() {
            std::unique_lock lock(mutex);
            while (!changed.wait_for(lock, std::chrono::seconds(1), [this] { return closes; })) {
                // The list is in the order of its times.
                if (!watched.empty() && watched.front().first < Clock::now()) {
                    std::cerr << "HANG: " << watched.front().second << std::endl;
                    std::abort();
                }
            }
        }

        std::mutex mutex;  ///< Guards what follows but the thread.
        std::condition_variable changed;
        Watched watched;
        bool closes = false;
        std::thread thread;
    };

    static Kennel& theKennel() {
        static Kennel kennel;
        return kennel;
    }

    Watched::iterator place_;
};

}  // namespace foundation::httpclient_curl::testing
