#include "tests/simulator/SimulatorProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kLimit{10000};
constexpr milliseconds kStep{2};

template <typename Condition>
bool waitUntil(Condition condition, milliseconds limit) {
    const auto end = steady_clock::now() + limit;
    while (!condition()) {
        if (steady_clock::now() >= end) {
            return condition();
        }
        std::this_thread::sleep_for(kStep);
    }
    return true;
}

fs::path directoryOfThisTest() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& character : name) {
        character = character == '/' ? '_' : character;
    }
    return fs::path(SIMULATOR_TEST_DIRECTORY) / name;
}

// The program runs in the directory and writes to its files "stdout" and "stderr".
pid_t spawnIn(const fs::path& directory, const std::vector<std::string>& argv) {
    std::vector<char*> pointers;
    for (const std::string& argument : argv) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "stdout", flags, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "stderr", flags, 0644);
    pid_t pid = -1;
    const int result =
        posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) {
        throw std::runtime_error("cannot start " + argv[0]);
    }
    return pid;
}

}  // namespace

SimulatorProcess::SimulatorProcess() : m_directory(directoryOfThisTest()) {
    fs::remove_all(m_directory);
    fs::create_directories(m_directory / "store");
}

SimulatorProcess::~SimulatorProcess() {
    if (m_pid > 0 && !m_status) {
        (void)kill(m_pid, SIGKILL);
        (void)waitpid(m_pid, nullptr, 0);
    }
}

std::string SimulatorProcess::file(const std::string& name, const json& content) {
    return file(name, content.dump(2));
}

std::string SimulatorProcess::file(const std::string& name, const std::string& content) {
    std::ofstream out(m_directory / name, std::ios::binary);
    out << content;
    return name;
}

void SimulatorProcess::start(const std::vector<std::string>& arguments) {
    std::vector<std::string> argv = {SIMULATOR_PROGRAM};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    m_status.reset();
    m_pid = spawnIn(m_directory, argv);
}

void SimulatorProcess::startLine(const std::vector<json>& mcus, const json& faults,
                                 std::vector<std::string> more) {
    std::vector<std::string> arguments = {"--config",     file("mcus.json", json{{"mcus", mcus}}),
                                          "--transcript", "transcript.jsonl",
                                          "--state",      "state.json",
                                          "--store",      "store",
                                          "--ready-file", "ready"};
    if (!faults.is_null()) {
        arguments.insert(arguments.end(),
                         {"--faults", file("faults.json", json{{"faults", faults}})});
    }
    const bool ownEndpoint =
        std::find_if(more.begin(), more.end(), [](const std::string& option) {
            return option == "--unix" || option == "--tcp" || option == "--serial";
        }) != more.end();
    if (!ownEndpoint) {
        arguments.insert(arguments.end(), {"--pty-link", "line"});
    }
    arguments.insert(arguments.end(), more.begin(), more.end());
    start(arguments);
    (void)waitUntilReady();
}

std::string SimulatorProcess::waitUntilReady() {
    const bool there = waitUntil(
        [this] { return fs::exists(path("ready")) || wait(milliseconds(0)).has_value(); }, kLimit);
    if (!there || m_status) {
        throw std::runtime_error("the simulator does not come up: " + errors());
    }
    std::istringstream in(readText("ready"));
    std::string address;
    std::getline(in, address);
    return address;
}

std::optional<int> SimulatorProcess::wait(milliseconds limit) {
    waitUntil(
        [this] {
            int status = 0;
            if (!m_status && waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            return m_status.has_value();
        },
        limit);
    return m_status;
}

std::optional<int> SimulatorProcess::terminate() {
    if (!m_status) {
        (void)kill(m_pid, SIGTERM);
    }
    return wait(kLimit);
}

std::string SimulatorProcess::readText(const std::string& name) const {
    const Bytes bytes = readBytes(name);
    return {bytes.begin(), bytes.end()};
}

Bytes SimulatorProcess::readBytes(const std::string& name) const {
    std::ifstream in(m_directory / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<json> SimulatorProcess::transcript() const {
    std::istringstream in(readText("transcript.jsonl"));
    std::vector<json> records;
    for (std::string line; std::getline(in, line) && !in.eof();) {
        records.push_back(json::parse(line));
    }
    return records;
}

std::vector<std::string> SimulatorProcess::story(bool withEvents) const {
    std::vector<std::string> story;
    for (const json& record : transcript()) {
        if (withEvents || record.at("dir") != "event") {
            story.push_back(record.at("dir").get<std::string>() + " " +
                            record.at("meaning").get<std::string>());
        }
    }
    return story;
}

bool SimulatorProcess::waitForRecord(const std::string& meaning, int count) const {
    return waitUntil(
        [this, &meaning, count] {
            int found = 0;
            for (const json& record : transcript()) {
                found += record.at("meaning") == meaning ? 1 : 0;
            }
            return found >= count;
        },
        kLimit);
}

json SimulatorProcess::mcu(const std::string& name) const {
    const json state = json::parse(readText("state.json"));
    for (const json& report : state.at("mcus")) {
        if (report.at("name") == name) {
            return report;
        }
    }
    return nullptr;
}

json arm1(const json& changes) {
    json mcu = {
        {"name", "ARM1"},         {"target", 1},
        {"hardware", "a1b2c3d4"}, {"version", {1, 0, 0}},
        {"boot_delay_ms", 30},    {"xmodem", {{"start_delay_ms", 20}, {"start_interval_ms", 200}}}};
    mcu.merge_patch(changes);
    return mcu;
}
