#include "tests/e2e/Device.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;
using nlohmann::json;

// 200 ms of real time, whatever the scale.
const int kTimeout = E2E_TIME_SCALE / 5;

namespace {

constexpr std::chrono::seconds kRunLimit{100};

// See kMarkMeaning.
constexpr unsigned char kMarkFrame[] = {0xFE, 0x02, 0x06, 0x01, 0x00, 0x09, 0xFF};
constexpr std::chrono::seconds kMarkLimit{10};
constexpr std::chrono::milliseconds kMarkPoll{5};
constexpr std::chrono::seconds kAwaitLimit{60};

std::size_t countLinesWith(const fs::path& file, const std::string& text) {
    std::ifstream in(file);
    std::size_t count = 0;
    for (std::string line; std::getline(in, line);) {
        count += line.find(text) != std::string::npos ? 1U : 0U;
    }
    return count;
}

// Where the host's pseudo-terminals are inside the device of a movable line.
const fs::path kHostTerminals = "/ptys";

void awaitIn(const fs::path& file, const std::string& text) {
    const auto deadline = std::chrono::steady_clock::now() + kAwaitLimit;
    while (readText(file).find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("not in " + file.string() + ": " + text);
        }
        std::this_thread::sleep_for(kMarkPoll);
    }
}

}  // namespace

Device::Device() : SimulatedLine(directoryOfThisTest(E2E_DIRECTORY)), m_timeScale(E2E_TIME_SCALE) {
    fs::create_directories(runDirectory() / "job" / "firmware");
}

Device& Device::timeScale(int factor) {
    m_timeScale = factor;
    return *this;
}

Device& Device::lineSpeed(int baud) {
    m_lineSpeed = {"--baud", std::to_string(baud)};
    return *this;
}

Device& Device::sandboxOption(const std::string& option, const std::string& value) {
    m_options.push_back(option);
    if (!value.empty()) {
        m_options.push_back(value);
    }
    return *this;
}

fs::path Device::jobFile(const std::string& name) const {
    return runDirectory() / "job" / name;
}

void Device::firmware(const std::string& fileName, const FirmwareImage& image) {
    image.writeTo(jobFile("firmware") / fileName);
}

void Device::configuration(const UpdateConfigFile& config) {
    config.writeTo(jobFile("update.xml"));
}

Device& Device::movableLine() {
    m_isLineMovable = true;
    return sandboxOption("--ptys", kHostTerminals);
}

void Device::plugIn() const {
    const fs::path terminal = fs::read_symlink(directory() / "line").filename();
    fs::create_symlink(kHostTerminals / terminal, jobFile("line"));
}

void Device::pullOut() const {
    fs::remove(jobFile("line"));
}

void Device::hangUp() {
    stopMcus();
    m_marks = 0;
}

RunResult Device::runTool(const std::vector<std::string>& arguments) {
    start(arguments);
    return finish();
}

void Device::start(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {SANDBOX_SCRIPT, "--dir", runDirectory(), "--time-scale",
                                        std::to_string(m_timeScale)};
    if (hasMcus() && !m_isLineMovable) {
        command.insert(command.end(), {"--tty", directory() / "line"});
    }
    command.insert(command.end(), m_options.begin(), m_options.end());
    command.insert(command.end(), {"--", TOOL_PROGRAM});
    command.insert(command.end(), arguments.begin(), arguments.end());

    m_tool =
        std::make_unique<ChildProcess>(command, directory() / "stdout", directory() / "stderr");
}

RunResult Device::finish() {
    RunResult result;
    result.status = m_tool->wait(kRunLimit).value_or(-1);
    m_tool.reset();
    if (hasMcus()) {
        waitUntilLineIsEmpty();
    }
    if (m_isLineMovable) {
        result.line = "/job/line";
    }
    const fs::path note = runDirectory() / "log" / "MCUUpdateNote.log";
    result.output = readText(directory() / "stdout");
    result.errors = readText(directory() / "stderr");
    result.note = readText(note);
    result.markerExists = fs::exists(jobFile("MCUUpdateSuccess"));
    return result;
}

RunResult Device::update(int timeoutSeconds) {
    startUpdate(timeoutSeconds);
    return finish();
}

void Device::startUpdate(int timeoutSeconds) {
    start({"1", "/job/update.xml", "/job/firmware/", std::to_string(timeoutSeconds)});
}

void Device::awaitNote(const std::string& text) const {
    awaitIn(runDirectory() / "log" / "MCUUpdateNote.log", text);
}

void Device::awaitOnLine(const std::string& meaning) const {
    awaitIn(transcriptFile(), '"' + meaning + '"');
}

void Device::connect(const std::vector<SimulatedMcu>& mcus, const json& faults) {
    std::vector<std::string> options = {"--pty-link", directory() / "line", "--time-scale",
                                        std::to_string(m_timeScale)};
    options.insert(options.end(), m_lineSpeed.begin(), m_lineSpeed.end());
    startMcus(mcus, faults, options);
}

void Device::waitUntilLineIsEmpty() {
    const std::string line = directory() / "line";
    const int port = open(line.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const bool written = port != -1 && write(port, kMarkFrame, sizeof(kMarkFrame)) ==
                                           static_cast<ssize_t>(sizeof(kMarkFrame));
    close(port);
    ++m_marks;
    const auto deadline = std::chrono::steady_clock::now() + kMarkLimit;
    while (countLinesWith(transcriptFile(), kMarkMeaning) < m_marks) {
        if (!written || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the simulator does not read its line");
        }
        std::this_thread::sleep_for(kMarkPoll);
    }
}

std::vector<json> Device::records(const std::string& fileName) const {
    return jsonLines(runDirectory() / fileName);
}
