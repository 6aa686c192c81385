#include "tests/sandbox/Sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr int kSignalStatusBase = 1000;

fs::path directoryOfThisTest() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& character : name) {
        character = character == '/' ? '_' : character;
    }
    return fs::path(SANDBOX_TEST_DIRECTORY) / name;
}

Words joined(Words first, const Words& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace

BackgroundProgram::BackgroundProgram(const Words& command, const fs::path& outputFile,
                                     const fs::path& errorFile) {
    Words words = command;
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputFile.c_str(), kFlags, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.c_str(), kFlags, 0644);
    const int error =
        posix_spawn(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + command[0]);
    }
}

BackgroundProgram::~BackgroundProgram() {
    if (m_status) {
        return;
    }
    signal(SIGTERM);
    if (!wait()) {
        signal(SIGKILL);
        (void)wait();
    }
}

std::optional<int> BackgroundProgram::wait() {
    int status = 0;
    if (!m_status && eventually([&] { return waitpid(m_pid, &status, WNOHANG) == m_pid; })) {
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalStatusBase + WTERMSIG(status);
    }
    return m_status;
}

void BackgroundProgram::signal(int number) const {
    (void)kill(m_pid, number);
}

Sandbox::Sandbox() : m_directory(directoryOfThisTest()) {
    fs::remove_all(m_directory);
    fs::create_directories(m_directory);
}

std::string Sandbox::readFile(const std::string& name) const {
    return readText(path(name));
}

void Sandbox::writeFile(const std::string& name, const std::string& content) const {
    fs::create_directories(path(name).parent_path());
    std::ofstream(path(name)) << content;
}

std::vector<json> Sandbox::records(const std::string& name) const {
    return readRecords(device(name));
}

RunResult Sandbox::run(const Words& options, const Words& program) const {
    const auto running = start(options, program);
    const int status = running->wait().value_or(-1);
    return {status, readFile("stdout"), readFile("stderr")};
}

RunResult Sandbox::probe(const Words& options, const Words& arguments) const {
    return run(options, joined({PROBE_PROGRAM}, arguments));
}

RunResult Sandbox::shell(const Words& options, const std::string& line) const {
    return run(options, {"sh", "-c", line});
}

RunResult Sandbox::script(const Words& arguments) const {
    BackgroundProgram running(joined({SANDBOX_SCRIPT}, arguments), path("stdout"), path("stderr"));
    const int status = running.wait().value_or(-1);
    return {status, readFile("stdout"), readFile("stderr")};
}

std::unique_ptr<BackgroundProgram> Sandbox::start(const Words& options,
                                                  const Words& program) const {
    Words command = {SANDBOX_SCRIPT, "--dir", path("device"), "--build", BUILD_DIRECTORY};
    command = joined(joined(command, options), {"--"});
    return std::make_unique<BackgroundProgram>(joined(command, program), path("stdout"),
                                               path("stderr"));
}

std::string readText(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<json> readRecords(const fs::path& file) {
    std::ifstream in(file);
    std::vector<json> records;
    for (std::string line; std::getline(in, line);) {
        records.push_back(json::parse(line));
    }
    return records;
}
