#include "Executor.h"

#include <system_error>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t baseThreads = 4;
constexpr std::size_t maxThreads = 256;
constexpr std::chrono::seconds idleTime(5);
// Far longer than a handler that does not block takes, far shorter than anybody notices.
constexpr std::chrono::milliseconds longestWait(5);
constexpr std::chrono::milliseconds watchTime(20);
constexpr std::chrono::seconds eagerTime(1);

// The executor whose task the thread runs, or null.
constinit thread_local const Executor* current = nullptr;

}  // namespace

Executor::~Executor() = default;

bool Executor::runsHere() const {
    return current == this;
}

void Executor::post(Task task) {
    std::vector<Task> one;
    one.push_back(std::move(task));
    post(std::move(one));
}

void Executor::post(std::vector<Task> tasks) {
    std::unique_lock lock(mutex_);
    if (stopping_) {
        // Only what the last handler leaves behind comes so late.
        lock.unlock();
        for (const Task& task : tasks) {
            task();
        }
        return;
    }
    joinFinished(lock);
    if (threads_.empty()) {
        addThread();
    }
    const Clock::time_point now = Clock::now();
    for (Task& task : tasks) {
        tasks_.push_back({std::move(task), now});
    }
    const Calls calls = provideThreads();
    lock.unlock();
    notify(calls);
}

// Every task that waits has a thread on its way to it or one that watches over the wait. Called whenever
// tasks came, and whenever one was taken and others are left.
Executor::Calls Executor::provideThreads() {
    Calls calls;
    if (tasks_.empty()) {
        return calls;
    }
    const Clock::time_point now = Clock::now();
    if (now < eagerUntil_) {
        while (onTheWay() < tasks_.size() && callThread(calls)) {
        }
        return calls;
    }
    if (onTheWay() > 0) {
        return calls;
    }
    if (resting() < threads_.size()) {
        watchUntil_ = now + watchTime;
        if (watching_) {
            return calls;
        }
    }
    callThread(calls);
    return calls;
}

void Executor::notify(Calls calls) {
    for (; calls.sleepers > 0; --calls.sleepers) {
        work_.notify_one();
    }
    if (calls.watcher) {
        watch_.notify_one();
    }
}

std::size_t Executor::onTheWay() const {
    return called_ + starting_ + (watcherCalled_ ? 1 : 0);
}

std::size_t Executor::resting() const {
    return sleeping_ + (watching_ ? 1 : 0);
}

// False when there is none to be had.
bool Executor::callThread(Calls& calls) {
    if (sleeping_ > called_) {
        ++called_;
        ++calls.sleepers;
        return true;
    }
    if (watching_ && !watcherCalled_) {
        watcherCalled_ = true;
        calls.watcher = true;
        return true;
    }
    if (threads_.size() >= maxThreads) {
        return false;
    }
    try {
        addThread();
        return true;
    } catch (const std::system_error&) {
        // The threads that exist will come to it.
        return false;
    }
}

void Executor::addThread() {
    const auto self = threads_.emplace(threads_.end());
    try {
        // The thread waits for the lock first, so the handle is in place when it needs it.
        *self = std::thread([executor = shared_from_this(), self] { executor->run(self); });
    } catch (...) {
        threads_.erase(self);
        throw;
    }
    ++starting_;
}

void Executor::run(Threads::iterator self) {
    current = this;
    std::unique_lock lock(mutex_);
    --starting_;
    for (;;) {
        if (!tasks_.empty()) {
            runTask(lock);
        } else if (stopping_) {
            break;
        } else if (!watching_ && Clock::now() < watchUntil_) {
            watch(lock);
        } else if (!sleep(lock)) {
            break;
        }
    }
    // After stop() the list is gone and the handle with it.
    if (!stopping_) {
        finished_.splice(finished_.end(), threads_, self);
    }
}

void Executor::runTask(std::unique_lock<std::mutex>& lock) {
    Task task = std::move(tasks_.front().task);
    tasks_.pop_front();
    ++running_;
    const Calls calls = provideThreads();
    lock.unlock();
    notify(calls);
    try {
        task();
    } catch (...) {  // NOLINT(bugprone-empty-catch): nobody is there to hear of it
    }
    // What the task held goes before the task counts as done, and outside the lock.
    task = nullptr;
    lock.lock();
    --running_;
    quiet_.notify_all();
}

void Executor::watch(std::unique_lock<std::mutex>& lock) {
    watching_ = true;
    watch_.wait_for(lock, longestWait, [this] { return stopping_ || watcherCalled_; });
    watching_ = false;
    watcherCalled_ = false;
    const Clock::time_point now = Clock::now();
    if (!tasks_.empty() && now - tasks_.front().since >= longestWait) {
        eagerUntil_ = now + eagerTime;
    }
}

// False when the thread is not needed any more.
bool Executor::sleep(std::unique_lock<std::mutex>& lock) {
    ++sleeping_;
    work_.wait_for(lock, idleTime, [this] { return stopping_ || called_ > 0; });
    --sleeping_;
    if (called_ > 0) {
        --called_;
        return true;
    }
    return stopping_ || threads_.size() <= baseThreads;
}

void Executor::joinFinished(std::unique_lock<std::mutex>& lock) {
    Threads finished = std::move(finished_);
    finished_.clear();
    if (finished.empty()) {
        return;
    }
    lock.unlock();
    for (std::thread& thread : finished) {
        thread.join();
    }
    lock.lock();
}

void Executor::drain() {
    std::unique_lock lock(mutex_);
    const std::size_t own = runsHere() ? 1 : 0;
    quiet_.wait(lock, [&] { return tasks_.empty() && running_ <= own; });
}

void Executor::stop() {
    Threads threads;
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        threads.splice(threads.end(), threads_);
        threads.splice(threads.end(), finished_);
    }
    work_.notify_all();
    watch_.notify_all();
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

}  // namespace foundation::httpclient_curl
