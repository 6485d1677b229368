#pragma once
#include <foundation/httpclient_core/Export.h>

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
/// Logging for the libraries of this family: named channels over Boost.Log, whose headers it keeps away.
namespace foundation::log {

// NOLINTBEGIN(readability-identifier-naming): the names of the logging layer are in lower case.

/// A named channel that hands records to the Boost.Log core of the process.
///
/// A severity is a set of bits, of which the low 15 count (filter_bits); a record is written only if the mask
/// of the logger and the severity have a bit in common. The mask lets everything through at first: coarse
/// filtering by mask is cheap (one load and one test, no text is built), fine filtering is up to the sinks
/// and filters of the program.
///
/// Every record has two attributes for them: "Channel", a std::basic_string<CharT> with the name of the
/// channel, and "Severity", an int. The text is written with the classic locale, so a global locale of the
/// program puts no separators into numbers. While the program installed no sink Boost.Log prints records to
/// standard output; see LoggingChannels.h for how to install and to filter one.
///
/// The class is instantiated for `char`.
///
/// @par Thread safety
/// internally locked: the mask is atomic, and an exclusive lock covers each record from its opening to its
/// delivery to the sinks, so the records of one logger never interleave.
///
/// @par Example
/// A channel of its own, whose mask excludes notes on progress:
/// @code{.cpp}
/// foundation::log::basic_diagnostic_logger<char> logger("my::channel");
/// logger.set_filter_mask(16 | 512);
/// bool written = false;
/// logger.log(4, [&](std::ostream& os) { os << "progress"; written = true; });
/// assert(!written);  // the mask excludes 4, so the writer was not called
/// @endcode
template <class CharT>
class FOUNDATION_HTTPCLIENT_CORE_API basic_diagnostic_logger {
public:
    /// The bits of mask and severity that take part in filtering; also the mask of a new logger.
    static constexpr std::uint32_t filter_bits = 0x7fff;

    /// Opens a channel with this name; any text will do. Loggers of the same name are independent.
    explicit basic_diagnostic_logger(std::basic_string<CharT> channel);

    /// A logger stays where it is: others hold references to it.
    /// @{
    basic_diagnostic_logger(const basic_diagnostic_logger&) = delete;
    basic_diagnostic_logger& operator=(const basic_diagnostic_logger&) = delete;
    /// @}

    /// Closes the channel. The logger keeps the Boost.Log core alive until then.
    ~basic_diagnostic_logger();

    /// Returns the name of the channel.
    const std::basic_string<CharT>& channel() const noexcept;

    /// Returns the mask as it was set, bits outside filter_bits included; at first filter_bits.
    std::uint32_t filter_mask() const noexcept { return mask_.load(std::memory_order_relaxed); }

    /// Replaces the mask: a set bit enables the severities with this bit, 0 disables them all. Records that
    /// other threads are writing are not affected.
    void set_filter_mask(std::uint32_t mask) noexcept {
        mask_.store(mask, std::memory_order_relaxed);
    }

    /// Returns true if mask and severity have a bit of filter_bits in common; never for severity 0. Takes no
    /// lock and does not ask the Boost.Log core.
    bool enabled(std::uint32_t severity) const noexcept {
        return (filter_mask() & severity & filter_bits) != 0;
    }

    /// Writes one record: calls `writer(std::basic_ostream<CharT>&)` and hands the text to the Boost.Log core.
    ///
    /// The writer is called at most once, on the calling thread, and not at all if the severity is not
    /// enabled(), if logging is disabled in the core, or if no sink takes the record. The text is passed on
    /// unchanged, line breaks included, and no line end is added.
    ///
    /// The writer runs under the lock of the logger, which is not recursive, and so do the sinks. Neither may
    /// log to this logger, directly or by a function that logs: the thread would wait for itself.
    ///
    /// What writer, filter or sink throws leaves this function, unless the program installed an exception
    /// handler in the core; the lock is released, and nothing else was changed.
    template <class Writer>
    void log(std::uint32_t severity, Writer&& writer) {
        if (!enabled(severity)) {
            return;
        }
        auto* target = std::addressof(writer);
        emit(
            severity,
            [](void* context, std::basic_ostream<CharT>& os) {
                (*static_cast<decltype(target)>(context))(os);
            },
            const_cast<void*>(static_cast<const volatile void*>(target)));
    }

private:
    // The type of the writer ends here, so that the Boost.Log side is compiled once, in the library.
    void emit(std::uint32_t severity,
              void (*write)(void*, std::basic_ostream<CharT>&),
              void* context);

    struct Impl;  // the lock, the Boost.Log core and the attributes
    std::atomic<std::uint32_t> mask_{filter_bits};
    std::unique_ptr<Impl> impl_;
};
extern template class basic_diagnostic_logger<char>;

// NOLINTEND(readability-identifier-naming)
}  // namespace foundation::log
