#include "tests/e2e/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::chrono::milliseconds kPollInterval{5};
constexpr std::chrono::seconds kTerminationLimit{5};
constexpr int kSignalStatusBase = 128;

int statusFrom(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus)
                                 : kSignalStatusBase + WTERMSIG(waitStatus);
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> argv,
                           const std::filesystem::path& standardOutput,
                           const std::filesystem::path& standardError) {
    std::vector<char*> arguments;
    for (std::string& argument : argv) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);

    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, standardOutput.c_str(), kFlags, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, standardError.c_str(), kFlags, 0644);
    // Nothing of what this process has open is the child's.
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    const int error =
        posix_spawn(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + argv[0]);
    }
}

ChildProcess::~ChildProcess() {
    terminate();
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (isRunning()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
    return m_status;
}

bool ChildProcess::isRunning() {
    if (m_status) {
        return false;
    }
    int waitStatus = 0;
    if (waitpid(m_pid, &waitStatus, WNOHANG) != m_pid) {
        return true;
    }
    m_status = statusFrom(waitStatus);
    return false;
}

void ChildProcess::terminate() {
    if (!isRunning()) {
        return;
    }
    ::kill(m_pid, SIGTERM);
    if (!wait(kTerminationLimit)) {
        kill();
    }
}

void ChildProcess::kill() {
    if (isRunning()) {
        ::kill(m_pid, SIGKILL);
        wait(kTerminationLimit);
    }
}
