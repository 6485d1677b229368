#include "engine/Executor.h"

#include <system_error>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t baseThreads = 4;
constexpr std::size_t maxThreads = 256;
constexpr std::chrono::seconds idleTime(5);
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
    enqueue(std::move(tasks), false);
}

std::uint64_t Executor::offer(std::vector<Task> tasks) {
    return enqueue(std::move(tasks), true);
}

std::uint64_t Executor::enqueue(std::vector<Task> tasks, bool isPatient) {
    Threads finished;
    std::size_t toNotify = 0;
    std::uint64_t last = 0;
    {
        std::unique_lock lock(mutex_);
        if (stopping_) {
            // Only what the last handler leaves behind comes so late.
            lock.unlock();
            for (const Task& task : tasks) {
                task();
            }
            return 0;
        }
        if (threads_.empty()) {
            addThread();
        }
        for (Task& task : tasks) {
            tasks_.push_back(std::move(task));
            ++posted_;
        }
        last = posted_;
        if (isPatient && Clock::now() >= eagerUntil_) {
            const bool isBusy = running_ + called_ + starting_ > 0;
            toNotify = isBusy ? 0 : callThreads(1);
        } else {
            toNotify = callThreads(tasks_.size());
        }
        finished.swap(finished_);
    }
    notify(toNotify);
    for (std::thread& thread : finished) {
        thread.join();
    }
    return last;
}

void Executor::hurry(std::uint64_t offered) {
    std::size_t toNotify = 0;
    {
        const std::lock_guard lock(mutex_);
        if (posted_ - tasks_.size() >= offered) {
            return;
        }
        eagerUntil_ = Clock::now() + eagerTime;
        toNotify = callThreads(tasks_.size());
    }
    notify(toNotify);
}

// Has that many threads on their way, if there are as many to be had. Answers how many to notify once the
// lock is released, which they would only run into.
std::size_t Executor::callThreads(std::size_t most) {
    std::size_t toNotify = 0;
    while (called_ + starting_ < most) {
        if (sleeping_ > 0) {
            --sleeping_;
            ++called_;
            ++toNotify;
            continue;
        }
        if (threads_.size() >= maxThreads) {
            break;
        }
        try {
            addThread();
        } catch (const std::system_error&) {
            // The threads that exist will come to it.
            break;
        }
    }
    return toNotify;
}

void Executor::notify(std::size_t count) {
    for (; count > 0; --count) {
        work_.notify_one();
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
    lock.unlock();
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
    if (work_.wait_for(lock, idleTime, [this] { return stopping_ || called_ > 0; })) {
        if (called_ > 0) {
            --called_;
        } else {
            --sleeping_;
        }
        return true;
    }
    --sleeping_;
    return threads_.size() <= baseThreads;
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
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

}  // namespace foundation::httpclient_curl
