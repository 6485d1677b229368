#include <foundation/log/basic_diagnostic_logger.h>

#include <boost/log/attributes/attribute_set.hpp>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record.hpp>
#include <boost/log/detail/default_attribute_names.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <cstdint>
#include <locale>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>

namespace foundation::log {

template <class CharT>
struct basic_diagnostic_logger<CharT>::Impl {
    explicit Impl(std::basic_string<CharT> name) : channel(std::move(name)) {
        attributes.insert("Channel",
                          boost::log::attributes::constant<std::basic_string<CharT>>(channel));
        // Reads the slot that emit() sets, so one attribute set serves every severity.
        attributes.insert("Severity", boost::log::sources::aux::severity_level<int>());
        // Boost makes its static objects at first use. Those that a record needs must be older than a
        // static logger: they then outlive it, and records written while the process exits find them.
        boost::log::sources::aux::get_severity_level() = 0;
        boost::log::aux::default_attribute_names::message();
    }

    std::basic_string<CharT> channel;
    // Held so that the logging core outlives this logger, whatever the order of static destruction.
    boost::log::core_ptr core = boost::log::core::get();
    boost::log::attribute_set attributes;
    std::mutex mutex;
};

template <class CharT>
basic_diagnostic_logger<CharT>::basic_diagnostic_logger(std::basic_string<CharT> channel)
    : impl_(std::make_unique<Impl>(std::move(channel))) {}

template <class CharT>
basic_diagnostic_logger<CharT>::~basic_diagnostic_logger() = default;

template <class CharT>
const std::basic_string<CharT>& basic_diagnostic_logger<CharT>::channel() const noexcept {
    return impl_->channel;
}

template <class CharT>
void basic_diagnostic_logger<CharT>::emit(std::uint32_t severity,
                                          void (*write)(void*, std::basic_ostream<CharT>&),
                                          void* context) {
    if (!impl_->core->get_logging_enabled()) {
        return;
    }
    const std::lock_guard lock(impl_->mutex);
    boost::log::sources::aux::get_severity_level() = severity;
    boost::log::record record = impl_->core->open_record(impl_->attributes);
    if (!record) {
        return;
    }
    boost::log::basic_record_ostream<CharT> stream(record);
    // The host's global locale would group digits ("1,234"): records are for machines too.
    stream.imbue(std::locale::classic());
    write(context, stream.stream());
    // Detaching would do it, but cannot tell that there is no memory.
    stream.flush();
    stream.detach_from_record();
    // The sinks read the slot as well, and a writer that logs elsewhere has changed it.
    boost::log::sources::aux::get_severity_level() = severity;
    impl_->core->push_record(std::move(record));
}

template class basic_diagnostic_logger<char>;

}  // namespace foundation::log
