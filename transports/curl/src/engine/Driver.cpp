#include "engine/Driver.h"

#include <algorithm>
#include <utility>

namespace foundation::httpclient_curl {

Driver::Driver(long maxConnections) : maxConnections_(maxConnections), multi_(makeMulti()) {}

Driver::~Driver() = default;

MultiHandle Driver::makeMulti() const {
    MultiHandle multi(requireMemory(curl_multi_init()));
    // Without it the number shrinks with the transfers of the moment, and bursts reconnect.
    curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, maxConnections_);
    return multi;
}

void Driver::makeRoom(std::size_t exchanges) {
    for (std::vector<Exchange*>* list : {&active_, &ended_, &taken_}) {
        list->reserve(exchanges);
    }
}

void Driver::start(Exchange& exchange) {
    makeRoom(active_.size() + ended_.size() + 1);
    if (exchange.begin() == Exchange::Next::Again) {
        active_.push_back(&exchange);
        add(exchange);
    } else {
        ended_.push_back(&exchange);
    }
}

void Driver::add(Exchange& exchange) {
    if (curl_multi_add_handle(multi_.get(), exchange.handle()) != CURLM_OK) {
        std::erase(active_, &exchange);
        exchange.finish(CURLE_OUT_OF_MEMORY);
        ended_.push_back(&exchange);
    }
}

void Driver::end(Exchange& exchange, CURLcode code) {
    curl_multi_remove_handle(multi_.get(), exchange.handle());
    if (exchange.finish(code) == Exchange::Next::Again) {
        add(exchange);
        return;
    }
    std::erase(active_, &exchange);
    ended_.push_back(&exchange);
}

const std::vector<Exchange*>& Driver::turn() {
    taken_.clear();
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg == CURLMSG_DONE) {
            auto* owner = info<char*>(message->easy_handle, CURLINFO_PRIVATE);
            // Read before the handle goes: the message is part of it.
            const CURLcode code = message->data.result;
            end(*reinterpret_cast<Exchange*>(owner), code);
        }
    }
    const Exchange::Clock::time_point now = Exchange::Clock::now();
    // From the back: what ends leaves the list.
    for (std::size_t i = active_.size(); i > 0; --i) {
        Exchange& exchange = *active_[i - 1];
        if (exchange.mustStop(now)) {
            end(exchange, CURLE_ABORTED_BY_CALLBACK);
        }
    }
    taken_.swap(ended_);
    return taken_;
}

void Driver::wait(Exchange::Clock::time_point latest) {
    const Exchange::Clock::time_point now = Exchange::Clock::now();
    for (const Exchange* exchange : active_) {
        latest = std::min(latest, exchange->nextCheck(now));
    }
    // A call that gets lost, since the system refused the means for it, costs no more than this.
    const std::chrono::milliseconds longest(isDeaf_ ? 10 : 1000);
    auto time = std::chrono::ceil<std::chrono::milliseconds>(std::min(latest, now + longest) - now);
    if (!ended_.empty() || time < std::chrono::milliseconds::zero()) {
        time = std::chrono::milliseconds::zero();
    }
    Rest none = Rest::None;
    if (rest_.compare_exchange_strong(none, Rest::Waiting)) {
        curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(time.count()), nullptr);
    }
    rest_ = Rest::None;
}

void Driver::wake() noexcept {
    if (rest_.exchange(Rest::Called) != Rest::Waiting) {
        return;
    }
    const std::lock_guard lock(mutex_);
    // What the system refuses once, for want of buffers, it seldom refuses again.
    constexpr int mostTries = 3;
    for (int tries = 0; tries < mostTries; ++tries) {
        if (curl_multi_wakeup(multi_.get()) == CURLM_OK) {
            return;
        }
    }
    isDeaf_ = true;
}

void Driver::closeConnections() {
    MultiHandle fresh = makeMulti();
    const std::lock_guard lock(mutex_);
    multi_.swap(fresh);
    // A wake() that came in between went to the handle that is gone.
    curl_multi_wakeup(multi_.get());
}

}  // namespace foundation::httpclient_curl
