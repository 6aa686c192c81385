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

namespace {

constexpr std::chrono::seconds kRunLimit{100};
constexpr std::chrono::seconds kReadyLimit{20};
constexpr std::chrono::milliseconds kReadyPoll{5};
const char kStopUpload[] = "fe050701000dff";

// The tool never sends this request, so it can mark a place in the transcript.
const char kMark[] = "alarm-off";
constexpr unsigned char kMarkFrame[] = {0xFE, 0x02, 0x06, 0x01, 0x00, 0x09, 0xFF};
constexpr std::chrono::seconds kMarkLimit{10};

fs::path directoryOfThisTest() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& character : name) {
        character = character == '/' ? '_' : character;
    }
    return fs::path(E2E_DIRECTORY) / name;
}

std::size_t countLinesWith(const fs::path& file, const std::string& text) {
    std::ifstream in(file);
    std::size_t count = 0;
    for (std::string line; std::getline(in, line);) {
        count += line.find(text) != std::string::npos ? 1U : 0U;
    }
    return count;
}

std::vector<json> jsonLines(const fs::path& file) {
    std::ifstream in(file);
    std::vector<json> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(json::parse(line));
    }
    return lines;
}

}  // namespace

Device::Device() : m_directory(directoryOfThisTest()), m_timeScale(E2E_TIME_SCALE) {
    fs::remove_all(m_directory);
    fs::create_directories(m_directory / "store");
    fs::create_directories(runDirectory() / "job" / "firmware");
}

Device::~Device() = default;

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
    if (m_simulator) {
        command.insert(command.end(), {"--tty", m_directory / "line"});
    }
    command.insert(command.end(), m_options.begin(), m_options.end());
    command.insert(command.end(), {"--", TOOL_PROGRAM});
    command.insert(command.end(), arguments.begin(), arguments.end());

    RunResult result;
    ChildProcess tool(command, m_directory / "stdout", m_directory / "stderr");
    result.status = tool.wait(kRunLimit).value_or(-1);
    tool.terminate();
    if (m_simulator) {
        waitUntilLineIsEmpty();
    }
    const fs::path note = runDirectory() / "log" / "MCUUpdateNote.log";
    result.output = readText(m_directory / "stdout");
    result.errors = readText(m_directory / "stderr");
    result.note = readText(note);
    result.markerExists = fs::exists(jobFile("MCUUpdateSuccess"));
    return result;
}

RunResult Device::update(int timeoutSeconds) {
    return runTool({"1", "/job/update.xml", "/job/firmware/", std::to_string(timeoutSeconds)});
}

void Device::connect(const std::vector<SimulatedMcu>& mcus, const json& faults) {
    json settings = {{"mcus", json::array()}};
    for (const SimulatedMcu& mcu : mcus) {
        settings["mcus"].push_back({{"name", mcu.name},
                                    {"target", mcu.target},
                                    {"hardware", mcu.hardware},
                                    {"version", mcu.version},
                                    {"state", mcu.state},
                                    {"telemetry", mcu.telemetry},
                                    {"boot_delay_ms", 0}});
    }
    writeText(m_directory / "mcus.json", settings.dump());
    std::vector<std::string> command = {SIMULATOR_PROGRAM,
                                        "--config",
                                        m_directory / "mcus.json",
                                        "--pty-link",
                                        m_directory / "line",
                                        "--store",
                                        m_directory / "store",
                                        "--state",
                                        m_directory / "state.json",
                                        "--transcript",
                                        m_directory / "transcript.jsonl",
                                        "--ready-file",
                                        m_directory / "ready",
                                        "--time-scale",
                                        std::to_string(m_timeScale)};
    if (!faults.is_null()) {
        writeText(m_directory / "faults.json", json({{"faults", faults}}).dump());
        command.insert(command.end(), {"--faults", m_directory / "faults.json"});
    }
    m_simulator = std::make_unique<ChildProcess>(command, m_directory / "simulator.out",
                                                 m_directory / "simulator.err");
    waitUntilReady();
}

void Device::waitUntilReady() {
    const auto deadline = std::chrono::steady_clock::now() + kReadyLimit;
    while (!fs::exists(m_directory / "ready")) {
        if (!m_simulator->isRunning() || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the simulator is not ready: " +
                                     readText(m_directory / "simulator.err"));
        }
        std::this_thread::sleep_for(kReadyPoll);
    }
}

std::vector<std::string> Device::requests() const {
    std::vector<std::string> sent;
    for (const json& record : transcript()) {
        const std::string bytes = record.at("bytes");
        if (record.at("dir") == "to-mcu" && bytes.compare(0, 2, "fe") == 0 &&
            bytes != kStopUpload) {
            sent.push_back(bytes);
        }
    }
    return sent;
}

std::vector<std::string> Device::sentMeanings() const {
    std::vector<std::string> meanings;
    for (const json& record : transcript()) {
        if (record.at("dir") == "to-mcu") {
            meanings.push_back(record.at("meaning"));
        }
    }
    return meanings;
}

std::size_t Device::countSent(const std::string& hexBytes) const {
    std::size_t count = 0;
    for (const json& record : transcript()) {
        count += record.at("dir") == "to-mcu" && record.at("bytes") == hexBytes ? 1U : 0U;
    }
    return count;
}

Bytes Device::storedImage(const std::string& mcuName) const {
    return readBytes(m_directory / "store" / (mcuName + ".bin"));
}

json Device::mcuState(const std::string& mcuName) const {
    const json report = json::parse(readText(m_directory / "state.json"));
    for (const json& mcu : report.at("mcus")) {
        if (mcu.at("name") == mcuName) {
            return mcu;
        }
    }
    throw std::runtime_error("no MCU " + mcuName + " in the state report");
}

std::vector<json> Device::transcript() const {
    std::vector<json> records = jsonLines(m_directory / "transcript.jsonl");
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [](const json& record) { return record.at("meaning") == kMark; }),
                  records.end());
    return records;
}

void Device::waitUntilLineIsEmpty() {
    const std::string line = m_directory / "line";
    const int port = open(line.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const bool written = port != -1 && write(port, kMarkFrame, sizeof(kMarkFrame)) ==
                                           static_cast<ssize_t>(sizeof(kMarkFrame));
    close(port);
    ++m_marks;
    const auto deadline = std::chrono::steady_clock::now() + kMarkLimit;
    while (countLinesWith(m_directory / "transcript.jsonl", kMark) < m_marks) {
        if (!written || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the simulator does not read its line");
        }
        std::this_thread::sleep_for(kReadyPoll);
    }
}

std::vector<json> Device::records(const std::string& fileName) const {
    return jsonLines(runDirectory() / fileName);
}
