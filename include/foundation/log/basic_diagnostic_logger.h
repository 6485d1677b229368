#pragma once
#include <foundation/httpclient_core/Export.h>

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
namespace foundation::log {
template <class CharT>
class FOUNDATION_HTTPCLIENT_CORE_API
    basic_diagnostic_logger {  // member definitions and <char> instantiation in src/log/
public:
    static constexpr std::uint32_t filter_bits = 0x7fff;
    explicit basic_diagnostic_logger(std::basic_string<CharT> channel);
    basic_diagnostic_logger(const basic_diagnostic_logger&) = delete;
    basic_diagnostic_logger& operator=(const basic_diagnostic_logger&) = delete;
    ~basic_diagnostic_logger();
    const std::basic_string<CharT>& channel() const noexcept;
    std::uint32_t filter_mask() const noexcept { return mask.load(std::memory_order_relaxed); }
    void set_filter_mask(std::uint32_t m) noexcept { mask.store(m, std::memory_order_relaxed); }
    bool enabled(std::uint32_t severity) const noexcept {
        return (filter_mask() & severity & filter_bits) != 0;
    }
    // Opens, writes and pushes one record under the lock; writer(std::basic_ostream<CharT>&) runs only once a record is open.
    template <class Writer>
    void log(std::uint32_t severity, Writer&& writer) {
        if (!enabled(severity)) {
            return;
        }
        auto* w = std::addressof(writer);
        emit(
            severity,
            [](void* context, std::basic_ostream<CharT>& os) {
                (*static_cast<decltype(w)>(context))(os);
            },
            const_cast<void*>(static_cast<const volatile void*>(w)));
    }

private:
    void emit(std::uint32_t severity,
              void (*write)(void*, std::basic_ostream<CharT>&),
              void* context);
    struct Impl;  // exclusive lock, Boost.Log core and attribute set
    std::atomic<std::uint32_t> mask{filter_bits};  // default: everything enabled
    std::unique_ptr<Impl> impl;
};
extern template class basic_diagnostic_logger<char>;
}  // namespace foundation::log
