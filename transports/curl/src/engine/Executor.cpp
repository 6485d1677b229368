#include "engine/Executor.h"

#include <system_error>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t baseThreads = 4;
constexpr std::size_t maxThreads = 256;
constexpr std::chrono::seconds idleTime(5);
// Far longer than a handler that does not block takes, far shorter than anybody notices. Twice as often
// somebody looks.
constexpr std::chrono::milliseconds longestWait(10);
constexpr std::chrono::milliseconds lookInterval(5);
constexpr std::chrono::milliseconds watchTime(20);
constexpr std::chrono::seconds eagerTime(1);

// The executor whose tasks the thread runs, or null, and how many: one may be inside the other.
constinit thread_local const Executor* current = nullptr;
constinit thread_local std::size_t depth = 0;

}  // namespace

Executor::~Executor() = default;

std::size_t Executor::tasksHere() const {
    return current == this ? depth : 0;
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
    push(std::move(tasks), Clock::now());
    const Calls calls = provideThreads();
    lock.unlock();
    notify(calls);
}

void Executor::push(std::vector<Task> tasks, Clock::time_point now) {
    for (Task& task : tasks) {
        tasks_.push_back({std::move(task), now});
    }
    lastPost_ = now;
}

void Executor::runOrPost(std::vector<Task> tasks) {
    std::unique_lock lock(mutex_);
    const Clock::time_point now = Clock::now();
    // Where little happens, a watching thread would be woken more often than one for each task.
    const bool isSteady = now - lastPost_ < longestWait;
    Calls calls;
    if (stopping_ || now < eagerUntil_ || !isSteady || !isWatched(calls)) {
        lock.unlock();
        notify(calls);
        post(std::move(tasks));
        return;
    }
    std::size_t most = tasks.size();
    push(std::move(tasks), now);
    watchUntil_ = now + watchTime;
    ++visiting_;
    const Executor* const former = std::exchange(current, this);
    const std::size_t formerDepth = std::exchange(depth, former == this ? depth : 0);
    if (calls.sleepers > 0 || calls.watcher) {
        lock.unlock();
        notify(calls);
        lock.lock();
    }
    for (; most > 0 && !tasks_.empty(); --most) {
        runTask(lock);
    }
    current = former;
    depth = formerDepth;
    --visiting_;
}

void Executor::postUrgent(Task task) {
    Calls calls;
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_front({std::move(task), Clock::now()});
        if (sleeping_ > called_) {
            callThread(calls);
        } else {
            // Beyond the limit too: what the other threads do may depend on it.
            try {
                addThread();
            } catch (const std::system_error&) {
                tasks_.pop_front();
                throw;
            }
        }
    }
    notify(calls);
}

// Whether a thread watches or is about to.
bool Executor::isWatched(Calls& calls) {
    return watching_ || onTheWay() > 0 || callThread(calls);
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
    if (visiting_ > 0 || resting() < threads_.size()) {
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
    if (watching_ && !watcherCalled_ && visiting_ == 0) {
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
        if (needsWatcher() && !stopping_) {  // NOLINT(bugprone-branch-clone): the order decides
            watch(lock);
        } else if (!tasks_.empty()) {
            runTask(lock);
        } else if (stopping_) {  // NOLINT(bugprone-branch-clone): the order decides
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
    ++depth;
    try {
        task();
    } catch (...) {  // NOLINT(bugprone-empty-catch): nobody is there to hear of it
    }
    // What the task held goes before the task counts as done, and outside the lock.
    task = nullptr;
    --depth;
    lock.lock();
    --running_;
    quiet_.notify_all();
}

void Executor::watch(std::unique_lock<std::mutex>& lock) {
    watching_ = true;
    Clock::time_point now;
    bool stalls = false;
    do {
        watch_.wait_for(lock, lookInterval, [this] { return stopping_ || watcherCalled_; });
        now = Clock::now();
        stalls = !tasks_.empty() && now - tasks_.front().since >= longestWait;
        if (lookForStall_ && !stopping_) {
            lock.unlock();
            const bool found = lookForStall_();
            lock.lock();
            stalls = stalls || found;
        }
        // The look is as old as `now`, so that nothing which waits since is forgotten.
    } while (!stalls && !stopping_ && !watcherCalled_ && (now < watchUntil_ || visiting_ > 0));
    watching_ = false;
    watcherCalled_ = false;
    if (stalls) {
        eagerUntil_ = now + eagerTime;
        const Calls calls = provideThreads();
        lock.unlock();
        notify(calls);
        lock.lock();
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
    const std::size_t own = tasksHere();
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
