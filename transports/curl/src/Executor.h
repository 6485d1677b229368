#pragma once
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace foundation::httpclient_curl {

/// The threads that completion handlers run on. Handlers may sleep, ask the user, or wait for further
/// requests of the same client, so a task never waits behind a blocked one: threads are added up to
/// 256, beyond which tasks queue. Threads that have nothing to do for five seconds leave, but for four.
class Executor : public std::enable_shared_from_this<Executor> {
public:
    using Task = std::function<void()>;

    Executor() = default;
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;
    ~Executor();

    /// Runs the task on one of the threads. What it throws is dropped.
    void post(Task task);
    /// Waits until every task has run, but for one that this is called from.
    void drain();
    /// Ends the threads once they are done; waits for them unless called on one of them, which is then
    /// left to end by itself. What is posted afterwards runs at once, on the posting thread.
    void stop();

private:
    using Threads = std::list<std::thread>;

    void addThread();
    void run(Threads::iterator self);
    bool runsHere() const;
    void joinFinished(std::unique_lock<std::mutex>& lock);

    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable quiet_;
    std::deque<Task> tasks_;
    Threads threads_;
    Threads finished_;  ///< Threads that left and wait to be joined.
    std::size_t starting_ = 0;
    std::size_t idle_ = 0;
    std::size_t running_ = 0;
    bool stopping_ = false;
};

}  // namespace foundation::httpclient_curl
