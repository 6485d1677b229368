#pragma once
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace foundation::httpclient_tool::testing {

/// A program that runs with an empty standard input and its output in the given descriptors.
class Process {
public:
    Process(std::vector<std::string> arguments, int standardOutput, int standardError) {
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&actions, standardOutput, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, standardError, STDERR_FILENO);
        EXPECT_EQ(::posix_spawnp(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ),
                  0);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        if (pid_ > 0) {
            send(SIGKILL);
            wait();
        }
    }

    void send(int signal) const { ::kill(pid_, signal); }

    /// The exit status, or minus the number of the signal that ended it.
    int wait() {
        int status = 0;
        EXPECT_EQ(::waitpid(pid_, &status, 0), pid_);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t pid_ = -1;
};

}  // namespace foundation::httpclient_tool::testing
