#pragma once

#include <sys/types.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

using Words = std::vector<std::string>;

// A program that runs beside the test, with its output in files. It is ended when the object goes.
class BackgroundProgram {
  public:
    // Throws std::runtime_error when the program cannot be started.
    BackgroundProgram(const Words& command, const std::filesystem::path& outputFile,
                      const std::filesystem::path& errorFile);
    ~BackgroundProgram();
    BackgroundProgram(const BackgroundProgram&) = delete;
    BackgroundProgram& operator=(const BackgroundProgram&) = delete;

    // Waits for the end: the exit status, 1000 + the signal that ended it, or nothing when it still
    // runs after ten seconds.
    std::optional<int> wait();
    void signal(int number) const;
    pid_t pid() const { return m_pid; }

  private:
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

struct RunResult {
    int status = -1;
    std::string output;
    std::string errors;
};

// A directory of the running test's own below the build tree, empty at first, and scripts/sandbox
// with its run directory "device" in it.
class Sandbox {
  public:
    Sandbox();

    std::filesystem::path path(const std::string& name) const { return m_directory / name; }
    std::filesystem::path device(const std::string& name) const {
        return m_directory / "device" / name;
    }
    std::string readFile(const std::string& name) const;
    void writeFile(const std::string& name, const std::string& content) const;
    // A file of records in the run directory.
    std::vector<nlohmann::json> records(const std::string& name) const;

    // Runs a program with these options of the script in the run directory "device".
    RunResult run(const Words& options, const Words& program) const;
    // Runs sandbox-probe.
    RunResult probe(const Words& options, const Words& arguments) const;
    // Runs a line of shell.
    RunResult shell(const Words& options, const std::string& line) const;
    // Runs the script with these arguments and no others.
    RunResult script(const Words& arguments) const;
    // Starts the script in the run directory "device"; its output is in "stdout" and "stderr".
    std::unique_ptr<BackgroundProgram> start(const Words& options, const Words& program) const;

  private:
    std::filesystem::path m_directory;
};

// Waits until the condition holds; false if it does not within ten seconds.
template <typename Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 1000; ++i) {
        if (condition()) {
            return true;
        }
        timespec pause{0, 10000000};
        (void)nanosleep(&pause, nullptr);
    }
    return false;
}

std::string readText(const std::filesystem::path& file);
std::vector<nlohmann::json> readRecords(const std::filesystem::path& file);
