#include "tests/failures/SystemCallFaults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace foundation::system_call_faults {
namespace {

// Plain numbers: calls are made before any constructor has run, and after all destructors.
std::array<std::atomic<int>, names.size()> counts{};
std::atomic<int> failingCall{-1};
std::atomic<int> failingNumber{0};
std::atomic<int> failingError{0};
std::atomic<bool> failed{false};

// The error with which this call fails; 0 for none.
int errorOf(Call call) noexcept {
    const int number = ++counts[call];
    if (failingCall != static_cast<int>(call) || failingNumber != number) {
        return 0;
    }
    failed = true;
    return failingError;
}

template <class Function>
Function* realOf(const char* name) noexcept {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// Makes the call, unless it is its turn to fail.
template <class Function, class... Arguments>
auto callOrFail(Call call, Function* real, Arguments... arguments) noexcept {
    if (const int error = errorOf(call)) {
        errno = error;
        return static_cast<decltype(real(arguments...))>(-1);
    }
    return real(arguments...);
}

[[gnu::constructor]] void readEnvironment() {
    const char* const fault = std::getenv("SYSTEM_CALL_FAULT");
    std::array<char, 16> name{};
    int number = 0;
    int error = 0;
    if (fault == nullptr || std::sscanf(fault, "%15s %d %d", name.data(), &number, &error) != 3) {
        return;
    }
    for (std::size_t call = 0; call < names.size(); ++call) {
        if (names[call] == name.data()) {
            arm(static_cast<Call>(call), number, error);
        }
    }
}

[[gnu::destructor]] void writeCounts() {
    const char* const path = std::getenv("SYSTEM_CALL_COUNTS");
    if (path == nullptr) {
        return;
    }
    const Counts made = disarm();
    if (std::FILE* file = std::fopen(path, "w")) {
        for (const int count : made) {
            std::fprintf(file, "%d\n", count);
        }
        std::fclose(file);
    }
}

}  // namespace

void arm(Call call, int number, int error) noexcept {
    failingNumber = 0;
    for (std::atomic<int>& count : counts) {
        count = 0;
    }
    failed = false;
    failingError = error;
    failingCall = static_cast<int>(call);
    failingNumber = number;
}

Counts disarm() noexcept {
    failingNumber = 0;
    Counts made{};
    for (std::size_t call = 0; call < names.size(); ++call) {
        made[call] = counts[call];
    }
    return made;
}

bool hasFailed() noexcept {
    return failed;
}

}  // namespace foundation::system_call_faults

using namespace foundation::system_call_faults;

#define FAULTY [[gnu::visibility("default")]]
// A function of the system with the same name, parameters and result.
#define FAULTY_CALL(call, name, parameters, ...)                   \
    FAULTY parameters {                                            \
        static auto* const real = realOf<decltype(::name)>(#name); \
        return callOrFail(call, real, __VA_ARGS__);                \
    }

extern "C" {

FAULTY_CALL(Socket,
            socket,
            int socket(int domain, int type, int protocol) noexcept,
            domain,
            type,
            protocol)
FAULTY_CALL(SocketPair,
            socketpair,
            int socketpair(int domain, int type, int protocol, int* ends) noexcept,
            domain,
            type,
            protocol,
            ends)
FAULTY_CALL(SocketPair, pipe, int pipe(int* ends) noexcept, ends)
FAULTY_CALL(SocketPair, pipe2, int pipe2(int* ends, int flags) noexcept, ends, flags)
FAULTY_CALL(Connect,
            connect,
            int connect(int fd, const sockaddr* address, socklen_t size),
            fd,
            address,
            size)
FAULTY_CALL(Send,
            send,
            ssize_t send(int fd, const void* bytes, size_t size, int flags),
            fd,
            bytes,
            size,
            flags)
FAULTY_CALL(Send,
            sendto,
            ssize_t sendto(int fd,
                           const void* bytes,
                           size_t size,
                           int flags,
                           const sockaddr* to,
                           socklen_t length),
            fd,
            bytes,
            size,
            flags,
            to,
            length)
FAULTY_CALL(Send,
            sendmsg,
            ssize_t sendmsg(int fd, const msghdr* message, int flags),
            fd,
            message,
            flags)
FAULTY_CALL(Receive,
            recv,
            ssize_t recv(int fd, void* bytes, size_t size, int flags),
            fd,
            bytes,
            size,
            flags)
FAULTY_CALL(Receive,
            recvfrom,
            ssize_t recvfrom(int fd,
                             void* bytes,
                             size_t size,
                             int flags,
                             sockaddr* from,
                             socklen_t* length),
            fd,
            bytes,
            size,
            flags,
            from,
            length)
FAULTY_CALL(Receive,
            recvmsg,
            ssize_t recvmsg(int fd, msghdr* message, int flags),
            fd,
            message,
            flags)
FAULTY_CALL(Poll,
            poll,
            int poll(pollfd* watched, nfds_t count, int timeout),
            watched,
            count,
            timeout)
FAULTY_CALL(Read, read, ssize_t read(int fd, void* bytes, size_t size), fd, bytes, size)
FAULTY_CALL(Read,
            pread,
            ssize_t pread(int fd, void* bytes, size_t size, off_t at),
            fd,
            bytes,
            size,
            at)
FAULTY_CALL(Write, write, ssize_t write(int fd, const void* bytes, size_t size), fd, bytes, size)
FAULTY_CALL(Write,
            pwrite,
            ssize_t pwrite(int fd, const void* bytes, size_t size, off_t at),
            fd,
            bytes,
            size,
            at)
FAULTY_CALL(Write, writev, ssize_t writev(int fd, const iovec* parts, int count), fd, parts, count)
FAULTY_CALL(Synchronise, fsync, int fsync(int fd), fd)
FAULTY_CALL(Synchronise, fdatasync, int fdatasync(int fd), fd)
FAULTY_CALL(Rename, rename, int rename(const char* from, const char* to) noexcept, from, to)
FAULTY_CALL(Truncate, ftruncate, int ftruncate(int fd, off_t size) noexcept, fd, size)
FAULTY_CALL(Unlink, unlink, int unlink(const char* path) noexcept, path)
FAULTY_CALL(Lock, flock, int flock(int fd, int operation) noexcept, fd, operation)
FAULTY_CALL(Status, fstat, int fstat(int fd, struct stat* status) noexcept, fd, status)
FAULTY_CALL(Status, stat, int stat(const char* path, struct stat* status) noexcept, path, status)

// Closes it all the same: the descriptor is gone whatever the result is.
FAULTY int close(int fd) {
    static auto* const real = realOf<decltype(::close)>("close");
    const int error = errorOf(Close);
    const int result = real(fd);
    if (error != 0) {
        errno = error;
        return -1;
    }
    return result;
}

FAULTY int open(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    if (const int error = errorOf(Open)) {
        errno = error;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

// The name of open() for files of any size.
FAULTY std::FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = realOf<decltype(::fopen64)>("fopen64");
    if (const int error = errorOf(Open)) {
        errno = error;
        return nullptr;
    }
    return real(path, mode);
}

FAULTY int mkostemp(char* name, int flags) {
    static auto* const real = realOf<decltype(::mkostemp)>("mkostemp");
    return callOrFail(Open, real, name, flags);
}

}  // extern "C"
