#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// A program started by a test, with its standard output and error in files. It is killed when the
// object goes, so that no test leaves a process behind.
class ChildProcess {
  public:
    // Starts argv[0] (an absolute path); output goes to the two files.
    ChildProcess(std::vector<std::string> argv, const std::filesystem::path& standardOutput,
                 const std::filesystem::path& standardError);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // The exit status (128 + signal number when a signal ended it), or nothing if the process still
    // runs after `limit`.
    std::optional<int> wait(std::chrono::milliseconds limit);
    bool isRunning();
    pid_t pid() const { return m_pid; }
    // Asks the process to end (SIGTERM) and waits for it.
    void terminate();
    // Ends it at once (SIGKILL).
    void kill();

  private:
    pid_t m_pid = -1;
    std::optional<int> m_status;
};
