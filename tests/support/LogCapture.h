#pragma once
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// One record as a sink of the host program receives it.
struct LogRecord {
    std::string channel;
    int severity = 0;
    std::string text;

    bool operator==(const LogRecord&) const = default;
    friend std::ostream& operator<<(std::ostream& os, const LogRecord& record) {
        return os << "{" << record.channel << ", " << record.severity << ", \"" << record.text
                  << "\"}";
    }
};

/// A record of the library's own channel.
inline LogRecord coreRecord(int severity, std::string text) {
    return {"foundation::httpclient_core", severity, std::move(text)};
}

/// Collects every record that is written while it lives, in order, from all threads. While one lives
/// nothing reaches the terminal. Only one may live at a time.
class LogCapture {
public:
    LogCapture() {
        auto backend = boost::make_shared<Backend>();
        backend_ = backend.get();
        sink_ = boost::make_shared<Sink>(backend);
        boost::log::core::get()->add_sink(sink_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() { boost::log::core::get()->remove_sink(sink_); }

    std::vector<LogRecord> records() const {
        const std::lock_guard lock(backend_->mutex);
        return backend_->records;
    }

    void clear() {
        const std::lock_guard lock(backend_->mutex);
        backend_->records.clear();
    }

private:
    struct Backend
        : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
        void consume(const boost::log::record_view& view) {
            const std::string absent = "none";
            LogRecord record;
            record.channel = boost::log::extract_or_default<std::string>("Channel", view, absent);
            record.severity = boost::log::extract_or_default<int>("Severity", view, -1);
            record.text = boost::log::extract_or_default<std::string>("Message", view, absent);
            const std::lock_guard lock(mutex);
            records.push_back(std::move(record));
        }
        std::mutex mutex;
        std::vector<LogRecord> records;
    };
    using Sink = boost::log::sinks::synchronous_sink<Backend>;

    Backend* backend_;
    boost::shared_ptr<Sink> sink_;
};

}  // namespace foundation::httpclient_core::testing
