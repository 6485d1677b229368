#pragma once
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// A program with its standard output and error in a pipe. The destructor ends it by its process id.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> arguments);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    pid_t pid() const noexcept { return pid_; }
    /// Whether it runs; if not, wait() does not block.
    bool isRunning();
    /// Waits for its end; gives the status of waitpid().
    int wait();
    /// Sends a signal.
    void signal(int number) const;
    /// Reads until the text appears; gives what was read. Ends after ten seconds at the latest.
    std::string readUntil(std::string_view text);

private:
    pid_t pid_ = -1;
    int status_ = -1;
    int output_ = -1;
};

/// Runs a program to its end. Throws with its output unless it succeeds.
void runProgram(std::vector<std::string> arguments);
/// A port of 127.0.0.1 that nobody listens on at the moment.
int freePort();
/// Waits until somebody listens on the port of 127.0.0.1; false when the process ends before, or after
/// twenty seconds.
bool waitForPort(int port, ChildProcess& process);

}  // namespace foundation::httpclient_curl::testing
