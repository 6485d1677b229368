#pragma once
#include <chrono>
#include <condition_variable>
#include <cstdint>
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
/// a while to a thread that is busy, since most handlers return at once, and to wake a thread costs more
/// than they do. Threads that have nothing to do for five seconds leave, but for four.
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
    /// Like post(), but leaves the tasks to one thread, and wakes none where one is busy. The caller has to
    /// call hurry() with the answer a moment later.
    std::uint64_t offer(std::vector<Task> tasks);
    /// Where tasks of that offer still wait, gives each task that waits a thread, and for the next second
    /// each that is offered, too: handlers take long at the moment.
    void hurry(std::uint64_t offered);
    /// Waits until every task has run, but for those that this is called from.
    void drain();
    /// Ends the threads once they are done; waits for them unless called on one of them, which is then
    /// left to end by itself. What is posted afterwards runs at once, on the posting thread.
    void stop();

private:
    using Threads = std::list<std::thread>;

    using Clock = std::chrono::steady_clock;

    std::uint64_t enqueue(std::vector<Task> tasks, bool isPatient);
    std::size_t callThreads(std::size_t most);
    void notify(std::size_t count);
    void addThread();
    void run(Threads::iterator self);
    void runTask(std::unique_lock<std::mutex>& lock);
    bool sleep(std::unique_lock<std::mutex>& lock);
    std::size_t tasksHere() const;

    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable quiet_;
    std::deque<Task> tasks_;
    std::uint64_t posted_ = 0;  ///< Tasks that ever came; those that wait are the last of them.
    Threads threads_;
    Threads finished_;          ///< Threads that left and wait to be joined.
    std::size_t sleeping_ = 0;  ///< Threads that nobody has called.
    std::size_t called_ = 0;    ///< Threads that slept and will look for a task.
    std::size_t starting_ = 0;  ///< Threads that are new and will look for a task.
    std::size_t running_ = 0;
    std::size_t draining_ = 0;
    Clock::time_point eagerUntil_;  ///< Until then what is offered gets a thread at once.
    bool stopping_ = false;
};

}  // namespace foundation::httpclient_curl
