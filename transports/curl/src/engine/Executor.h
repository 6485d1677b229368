#pragma once
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl {

/// The threads that completion handlers run on. Handlers may sleep, ask the user, or wait for further
/// requests of the same client, so nothing waits for long behind a blocked one. While tasks are short,
/// one thread runs them in order, and under steady traffic the thread that brings them runs them itself:
/// to wake a thread for each costs more than the task. Meanwhile one thread watches. Once it finds that
/// something has waited 10 ms, and for the second that follows, every task gets a thread of its own at
/// once, up to 256 threads, beyond which tasks queue. Threads that have nothing to do for five seconds
/// leave, but for four.
class Executor : public std::enable_shared_from_this<Executor> {
public:
    using Task = std::function<void()>;

    Executor() = default;
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;
    ~Executor();

    /// Runs the task on one of the threads. What it throws is dropped.
    void post(Task task);
    /// The same for several. Where it throws, none of them runs.
    void post(std::vector<Task> tasks);
    /// Runs the tasks on the calling thread where that is worth it, else posts them. What waits for the
    /// calling thread meanwhile has to be told to `onStall`.
    void runOrPost(std::vector<Task> tasks);
    /// Before the first task: what the watching thread calls now and then; it answers whether something
    /// has waited for too long.
    void onStall(std::function<bool()> look) { lookForStall_ = std::move(look); }
    /// Runs a task that others wait for before all others, on a thread of its own if need be. Throws
    /// std::system_error where there is none to be had.
    void postUrgent(Task task);
    /// Waits until every task has run, but for one that this is called from.
    void drain();
    /// Ends the threads once they are done; waits for them unless called on one of them, which is then
    /// left to end by itself. What is posted afterwards runs at once, on the posting thread.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    using Threads = std::list<std::thread>;
    struct Waiting {
        Task task;
        Clock::time_point since;
    };

    /// Threads to notify, once the lock is released: they would only run into it.
    struct Calls {
        int sleepers = 0;
        bool watcher = false;
    };

    Calls provideThreads();
    bool callThread(Calls& calls);
    void notify(Calls calls);
    std::size_t onTheWay() const;
    std::size_t resting() const;
    void addThread();
    void run(Threads::iterator self);
    void runTask(std::unique_lock<std::mutex>& lock);
    bool isWatched(Calls& calls);
    void push(std::vector<Task> tasks, Clock::time_point now);
    void watch(std::unique_lock<std::mutex>& lock);
    bool needsWatcher() const { return !watching_ && visiting_ > 0; }
    bool sleep(std::unique_lock<std::mutex>& lock);
    std::size_t tasksHere() const;
    void joinFinished(std::unique_lock<std::mutex>& lock);

    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable watch_;
    std::condition_variable quiet_;
    std::deque<Waiting> tasks_;
    Threads threads_;
    Threads finished_;  ///< Threads that left and wait to be joined.
    std::size_t starting_ = 0;
    std::size_t sleeping_ = 0;
    std::size_t called_ = 0;  ///< Of those that sleep; they will look for a task.
    std::size_t running_ = 0;
    std::size_t visiting_ = 0;  ///< Threads that run what they brought.
    std::function<bool()> lookForStall_;
    Clock::time_point lastPost_;
    bool watching_ = false;  ///< One thread looks now and then whether tasks wait for too long.
    bool watcherCalled_ = false;  ///< It will look for a task.
    Clock::time_point watchUntil_;
    Clock::time_point eagerUntil_;  ///< Until then every task gets a thread at once.
    bool stopping_ = false;
};

}  // namespace foundation::httpclient_curl
