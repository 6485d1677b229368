#include "Executor.h"

#include <system_error>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t baseThreads = 4;
constexpr std::size_t maxThreads = 256;
constexpr std::chrono::seconds idleTime(5);

// The executor whose task the thread runs, or null.
constinit thread_local const Executor* current = nullptr;

}  // namespace

Executor::~Executor() = default;

bool Executor::runsHere() const {
    return current == this;
}

void Executor::post(Task task) {
    std::unique_lock lock(mutex_);
    if (stopping_) {
        // Only what the last handler leaves behind comes so late.
        lock.unlock();
        task();
        return;
    }
    joinFinished(lock);
    tasks_.push_back(std::move(task));
    if (tasks_.size() > idle_ + starting_ && threads_.size() < maxThreads) {
        try {
            addThread();
        } catch (const std::system_error&) {
            // The threads that exist will come to it.
            if (threads_.empty()) {
                tasks_.pop_back();
                throw;
            }
        }
    }
    work_.notify_one();
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
        ++idle_;
        const bool timely =
            work_.wait_for(lock, idleTime, [this] { return stopping_ || !tasks_.empty(); });
        --idle_;
        if (!tasks_.empty()) {
            Task task = std::move(tasks_.front());
            tasks_.pop_front();
            ++running_;
            lock.unlock();
            try {
                task();
            } catch (...) {  // NOLINT(bugprone-empty-catch): nobody is there to hear of it
            }
            // What the task held goes before the task counts as done, and outside the lock.
            task = nullptr;
            lock.lock();
            --running_;
            quiet_.notify_all();
        } else if (stopping_ || (!timely && threads_.size() > baseThreads)) {
            break;
        }
    }
    // After stop() the list is gone and the handle with it.
    if (!stopping_) {
        finished_.splice(finished_.end(), threads_, self);
    }
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
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

}  // namespace foundation::httpclient_curl
