#include "tests/e2e/SimulatedLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;
using nlohmann::json;

const char kMarkMeaning[] = "alarm-off";

namespace {

constexpr std::chrono::seconds kReadyLimit{20};
constexpr std::chrono::milliseconds kReadyPoll{5};
const char kStopUpload[] = "fe050701000dff";

json settingsOf(const std::vector<SimulatedMcu>& mcus) {
    json settings = {{"mcus", json::array()}};
    for (const SimulatedMcu& mcu : mcus) {
        settings["mcus"].push_back({{"name", mcu.name},
                                    {"target", mcu.target},
                                    {"hardware", mcu.hardware},
                                    {"version", mcu.version},
                                    {"state", mcu.state},
                                    {"telemetry", mcu.telemetry},
                                    {"boot_delay_ms", mcu.bootDelayMilliseconds}});
        settings["mcus"].back().merge_patch(mcu.more);
    }
    return settings;
}

}  // namespace

fs::path directoryOfThisTest(const fs::path& root) {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& character : name) {
        character = character == '/' ? '_' : character;
    }
    return root / name;
}

std::vector<json> jsonLines(const fs::path& file) {
    std::ifstream in(file);
    std::vector<json> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(json::parse(line));
    }
    return lines;
}

SimulatedLine::SimulatedLine(fs::path directory) : m_directory(std::move(directory)) {
    fs::remove_all(m_directory);
    fs::create_directories(m_directory / "store");
}

SimulatedLine::~SimulatedLine() = default;

std::string SimulatedLine::startMcus(const std::vector<SimulatedMcu>& mcus, const json& faults,
                                     const std::vector<std::string>& lineOptions) {
    writeText(m_directory / "mcus.json", settingsOf(mcus).dump());
    std::vector<std::string> command = {
        SIMULATOR_PROGRAM,     "--config",     m_directory / "mcus.json",  "--store",
        m_directory / "store", "--state",      m_directory / "state.json", "--transcript",
        transcriptFile(),      "--ready-file", m_directory / "ready"};
    command.insert(command.end(), lineOptions.begin(), lineOptions.end());
    if (!faults.is_null()) {
        writeText(m_directory / "faults.json", json({{"faults", faults}}).dump());
        command.insert(command.end(), {"--faults", m_directory / "faults.json"});
    }
    m_simulator = std::make_unique<ChildProcess>(command, m_directory / "simulator.out",
                                                 m_directory / "simulator.err");
    waitUntilReady();
    return readText(m_directory / "ready");
}

void SimulatedLine::stopMcus() {
    m_simulator.reset();
}

void SimulatedLine::waitUntilReady() {
    const auto deadline = std::chrono::steady_clock::now() + kReadyLimit;
    while (!fs::exists(m_directory / "ready")) {
        if (!m_simulator->isRunning() || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the simulator is not ready: " +
                                     readText(m_directory / "simulator.err"));
        }
        std::this_thread::sleep_for(kReadyPoll);
    }
}

std::vector<std::string> SimulatedLine::requests() const {
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

std::vector<std::string> SimulatedLine::sentMeanings() const {
    std::vector<std::string> meanings;
    for (const json& record : transcript()) {
        if (record.at("dir") == "to-mcu") {
            meanings.push_back(record.at("meaning"));
        }
    }
    return meanings;
}

std::size_t SimulatedLine::countSent(const std::string& hexBytes) const {
    std::size_t count = 0;
    for (const json& record : transcript()) {
        count += record.at("dir") == "to-mcu" && record.at("bytes") == hexBytes ? 1U : 0U;
    }
    return count;
}

Bytes SimulatedLine::storedImage(const std::string& mcuName) const {
    return readBytes(m_directory / "store" / (mcuName + ".bin"));
}

json SimulatedLine::mcuState(const std::string& mcuName) const {
    const json report = json::parse(readText(m_directory / "state.json"));
    for (const json& mcu : report.at("mcus")) {
        if (mcu.at("name") == mcuName) {
            return mcu;
        }
    }
    throw std::runtime_error("no MCU " + mcuName + " in the state report");
}

std::vector<json> SimulatedLine::transcript() const {
    std::vector<json> records = jsonLines(transcriptFile());
    records.erase(
        std::remove_if(records.begin(), records.end(),
                       [](const json& record) { return record.at("meaning") == kMarkMeaning; }),
        records.end());
    return records;
}
