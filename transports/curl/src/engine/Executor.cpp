#include "engine/Executor.h"

#include "engine/WithMemory.h"

#include <exception>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t baseThreads = 4;
constexpr std::size_t maxThreads = 256;
constexpr std::chrono::seconds idleTime(5);
// Longer than most handlers take, shorter than anybody notices.
constexpr std::chrono::milliseconds longestPatience(10);

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
    enqueue(std::move(tasks), false);
}

void Executor::offer(std::vector<Task> tasks) {
    enqueue(std::move(tasks), true);
}

void Executor::prepare() {
    const std::lock_guard lock(mutex_);
    if (threads_.empty() && !stopping_) {
        addThread();
    }
}

void Executor::enqueue(std::vector<Task> tasks, bool isPatient) {
    Threads finished;
    Calls calls;
    {
        std::unique_lock lock(mutex_);
        if (stopping_) {
            // Only what the last handler leaves behind comes so late.
            lock.unlock();
            for (const Task& task : tasks) {
                task();
            }
            return;
        }
        if (threads_.empty()) {
            addThread();
        }
        for (Task& task : tasks) {
            withMemory([this, &task] { tasks_.push_back(std::move(task)); });
        }
        calls = isPatient ? callThread() : callThreads(tasks_.size());
        finished.swap(finished_);
    }
    notify(calls);
    for (std::thread& thread : finished) {
        thread.join();
    }
}

std::size_t Executor::onTheWay() const {
    return called_ + starting_ + (lookoutCalled_ ? 1 : 0);
}

// Whenever tasks wait, a thread is on its way to them, or a busy one may come back for them before the
// lookout does. To be called when tasks came, and when one was taken.
Executor::Calls Executor::callThread() {
    if (tasks_.empty() || onTheWay() > 0) {
        return {};
    }
    if (running_ > 0) {
        lookoutUntil_ = Clock::now() + 2 * longestPatience;
        if (hasLookout_) {
            return {};
        }
    }
    return callThreads(1);
}

// Has that many threads on their way, if there are as many to be had.
Executor::Calls Executor::callThreads(std::size_t most) {
    Calls calls;
    while (onTheWay() < most) {
        if (sleeping_ > 0) {
            --sleeping_;
            ++called_;
            ++calls.sleepers;
        } else if (hasLookout_ && !lookoutCalled_) {
            lookoutCalled_ = true;
            calls.lookout = true;
        } else {
            try {
                if (threads_.size() >= maxThreads) {
                    break;
                }
                addThread();
            } catch (const std::exception&) {
                // The threads that exist will come to it.
                break;
            }
        }
    }
    return calls;
}

void Executor::notify(Calls calls) {
    for (; calls.sleepers > 0; --calls.sleepers) {
        work_.notify_one();
    }
    if (calls.lookout) {
        lookout_.notify_one();
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
        } else if (!stopping_ && !hasLookout_ && Clock::now() < lookoutUntil_) {
            lookOut(lock);
        } else if (stopping_ || !sleep(lock)) {
            break;
        }
    }
    // After stop() the list is gone and the handle with it.
    if (!stopping_) {
        finished_.splice(finished_.end(), threads_, self);
    }
}

void Executor::runTask(std::unique_lock<std::mutex>& lock) {
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    ++running_;
    const Calls calls = callThread();
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
    if (draining_ > 0) {
        quiet_.notify_all();
    }
}

// False when the thread is not needed any more.
bool Executor::sleep(std::unique_lock<std::mutex>& lock) {
    ++sleeping_;
    const bool isCalled =
        work_.wait_for(lock, idleTime, [this] { return stopping_ || called_ > 0; });
    if (isCalled && called_ > 0) {
        --called_;
        return true;
    }
    --sleeping_;
    return isCalled || threads_.size() <= baseThreads;
}

void Executor::lookOut(std::unique_lock<std::mutex>& lock) {
    hasLookout_ = true;
    lookout_.wait_for(lock, longestPatience, [this] { return stopping_ || lookoutCalled_; });
    hasLookout_ = false;
    lookoutCalled_ = false;
}

void Executor::drain() {
    std::unique_lock lock(mutex_);
    const std::size_t own = tasksHere();
    ++draining_;
    quiet_.wait(lock, [&] { return tasks_.empty() && running_ <= own; });
    --draining_;
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
    lookout_.notify_all();
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

}  // namespace foundation::httpclient_curl
