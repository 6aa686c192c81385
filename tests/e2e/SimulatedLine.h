#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/FirmwareImage.h"

// One simulated MCU behind the line of a test's device.
struct SimulatedMcu {
    std::string name;
    int target = 1;
    std::string hardware;               // hexadecimal digits, as the tool shows them
    std::vector<int> version;           // three numbers, in reading order
    std::string state = "application";  // or "boot"
    bool telemetry = false;             // whether the application uploads reports unasked
    int bootDelayMilliseconds = 0;      // how long a restart takes
    nlohmann::json more = nlohmann::json::object();  // further settings, merged into these
};

// A serial line with simulated MCUs behind it, and the record of what went over it. Its files stand
// in the directory of the test.
class SimulatedLine {
  public:
    SimulatedLine(const SimulatedLine&) = delete;
    SimulatedLine& operator=(const SimulatedLine&) = delete;

    // The frames, blocks and control bytes that went over the line so far, in order.
    std::vector<nlohmann::json> transcript() const;
    // The command frames that the tool sent, in order, hexadecimal, without stop-upload, which the
    // keeper sends at moments of its own.
    std::vector<std::string> requests() const;
    // The meanings of everything that the tool sent, in order.
    std::vector<std::string> sentMeanings() const;
    std::size_t countSent(const std::string& hexBytes) const;
    // The image that the MCU has stored; empty when none.
    Bytes storedImage(const std::string& mcuName) const;
    nlohmann::json mcuState(const std::string& mcuName) const;

  protected:
    explicit SimulatedLine(std::filesystem::path directory);
    ~SimulatedLine();

    const std::filesystem::path& directory() const { return m_directory; }
    // Starts the MCUs behind a line of the simulator's options `lineOptions`, with an optional
    // fault script. Returns the line's address when it is there.
    std::string startMcus(const std::vector<SimulatedMcu>& mcus, const nlohmann::json& faults,
                          const std::vector<std::string>& lineOptions);
    // Ends the MCUs and their line; the record of the line is kept until they are started again.
    void stopMcus();
    bool hasMcus() const { return m_simulator != nullptr; }
    std::filesystem::path transcriptFile() const { return m_directory / "transcript.jsonl"; }

  private:
    void waitUntilReady();

    const std::filesystem::path m_directory;
    std::unique_ptr<ChildProcess> m_simulator;
};

// A directory for the running test below `root`, named after it.
std::filesystem::path directoryOfThisTest(const std::filesystem::path& root);
// The objects of a file of one JSON object a line; none when there is no such file.
std::vector<nlohmann::json> jsonLines(const std::filesystem::path& file);

// The tool never sends this request, so a test can mark a place in the transcript with it.
extern const char kMarkMeaning[];
