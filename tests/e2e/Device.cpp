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

std::size_t countLinesWith(const fs::path& file, const std::string& text) {
    std::ifstream in(file);
    std::size_t count = 0;
    for (std::string line; std::getline(in, line);) {
        count += line.find(text) != std::string::npos ? 1U : 0U;
    }
    return count;
}

}  // namespace

Device::Device() : SimulatedLine(directoryOfThisTest(E2E_DIRECTORY)), m_timeScale(E2E_TIME_SCALE) {
    fs::create_directories(runDirectory() / "job" / "firmware");
}

Device& Device::timeScale(int factor) {
    m_timeScale = factor;
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

RunResult Device::runTool(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {SANDBOX_SCRIPT, "--dir", runDirectory(), "--time-scale",
                                        std::to_string(m_timeScale)};
    if (hasMcus()) {
        command.insert(command.end(), {"--tty", directory() / "line"});
    }
    command.insert(command.end(), m_options.begin(), m_options.end());
    command.insert(command.end(), {"--", TOOL_PROGRAM});
    command.insert(command.end(), arguments.begin(), arguments.end());

    RunResult result;
    ChildProcess tool(command, directory() / "stdout", directory() / "stderr");
    result.status = tool.wait(kRunLimit).value_or(-1);
    tool.terminate();
    if (hasMcus()) {
        waitUntilLineIsEmpty();
    }
    const fs::path note = runDirectory() / "log" / "MCUUpdateNote.log";
    result.output = readText(directory() / "stdout");
    result.errors = readText(directory() / "stderr");
    result.note = readText(note);
    result.markerExists = fs::exists(jobFile("MCUUpdateSuccess"));
    return result;
}

RunResult Device::update(int timeoutSeconds) {
    return runTool({"1", "/job/update.xml", "/job/firmware/", std::to_string(timeoutSeconds)});
}

void Device::connect(const std::vector<SimulatedMcu>& mcus, const json& faults) {
    startMcus(mcus, faults,
              {"--pty-link", directory() / "line", "--time-scale", std::to_string(m_timeScale)});
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
