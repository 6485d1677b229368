#pragma once
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl {

/// The threads that completion handlers run on. Handlers may sleep, ask the user, or wait for further
/// requests of the same client, so no task waits for another one to end: as many threads are on their way
/// as tasks wait, up to 256 threads, beyond which tasks queue. Only a task that is offered may be left for
/// about 10 ms to a thread that is busy, since most handlers return at once, and to wake a thread costs
/// more than they do. Threads that have nothing to do for five seconds leave, but for four.
class Executor : public std::enable_shared_from_this<Executor> {
public:
    using Task = std::function<void()>;

    Executor() = default;
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;
    ~Executor();

    /// Has a thread, so that tasks that come from threads of the transport find one. Throws std::system_error or
    /// std::bad_alloc if none can be had.
    void prepare();
    /// Runs the task on one of the threads. What it throws is dropped.
    void post(Task task);
    /// The same for several. Where it throws, none of them runs.
    void post(std::vector<Task> tasks);
    /// Like post(), but leaves the tasks to one thread where that is quick enough.
    void offer(std::vector<Task> tasks);
    /// Waits until every task has run, but for those that this is called from.
    void drain();
    /// Ends the threads once they are done; waits for them unless called on one of them, which is then
    /// left to end by itself. What is posted afterwards runs at once, on the posting thread.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    using Threads = std::list<std::thread>;

    void enqueue(std::vector<Task> tasks, bool isPatient);
    /// Threads to notify once the lock is released, which they would only run into.
    struct Calls {
        std::size_t sleepers = 0;
        bool lookout = false;
    };

    Calls callThread();
    Calls callThreads(std::size_t most);
    void notify(Calls calls);
    void addThread();
    void run(Threads::iterator self);
    void runTask(std::unique_lock<std::mutex>& lock);
    bool sleep(std::unique_lock<std::mutex>& lock);
    void lookOut(std::unique_lock<std::mutex>& lock);
    std::size_t onTheWay() const;
    std::size_t tasksHere() const;

    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable lookout_;
    std::condition_variable quiet_;
    std::deque<Task> tasks_;
    Threads threads_;
    Threads finished_;          ///< Threads that left and wait to be joined.
    std::size_t sleeping_ = 0;  ///< Threads that nobody has called, without the lookout.
    std::size_t called_ = 0;    ///< Threads that slept and will look for a task.
    std::size_t starting_ = 0;  ///< Threads that are new and will look for a task.
    std::size_t running_ = 0;
    std::size_t draining_ = 0;
    bool hasLookout_ = false;         ///< A thread wakes up soon and takes a task that waits.
    bool lookoutCalled_ = false;      ///< It looks at once.
    Clock::time_point lookoutUntil_;  ///< Tasks were left to busy threads lately.
    bool stopping_ = false;
};

}  // namespace foundation::httpclient_curl
