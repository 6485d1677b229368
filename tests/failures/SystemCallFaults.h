#pragma once
#include <array>
#include <cstddef>
#include <string_view>

/// Calls of the system that fail on demand. A program that links this, or is started with it preloaded, goes
/// through it from every library but the C library itself.
///
/// Preloaded: the variable SYSTEM_CALL_FAULT is the name of a call, which one of them fails and the number of the
/// error ("send 3 104"); SYSTEM_CALL_COUNTS names a file to which the program writes at its end how often
/// it made each call.
namespace foundation::system_call_faults {

/// In the order of the names.
enum Call : std::size_t {
    Socket,
    SocketPair,
    Connect,
    Send,
    Receive,
    Poll,
    Read,
    Write,
    Open,
    Close,
    Synchronise,
    Rename,
    Truncate,
    Unlink,
    Lock,
    Status
};

inline constexpr std::array<std::string_view, 16> names{
    "socket", "socketpair", "connect", "send",   "receive",  "poll",   "read", "write",
    "open",   "close",      "sync",    "rename", "truncate", "unlink", "lock", "stat"};

using Counts = std::array<int, names.size()>;

/// Counts from zero on, and makes one call fail, the first being number 1; a number of 0: none.
void arm(Call call, int number, int error) noexcept;
/// Ends that, and tells how often each call was made.
Counts disarm() noexcept;
/// Whether the call that is to fail has failed.
bool hasFailed() noexcept;

}  // namespace foundation::system_call_faults
