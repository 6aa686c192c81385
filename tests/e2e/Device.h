#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/FirmwareImage.h"
#include "tests/e2e/UpdateConfigFile.h"

// How a run of the tool ended and what it left behind.
struct RunResult {
    int status = -1;            // exit status; -1 when the run had to be ended by force
    std::string output;         // standard output
    std::string errors;         // standard error
    std::string note;           // the note log
    bool markerExists = false;  // whether the marker file stands in the working directory
};

// One simulated MCU behind the line of a test's device.
struct SimulatedMcu {
    std::string name;
    int target = 1;
    std::string hardware;               // hexadecimal digits, as the tool shows them
    std::vector<int> version;           // three numbers, in reading order
    std::string state = "application";  // or "boot"
    bool telemetry = false;             // whether the application uploads reports unasked
};

// A device of its own for one test: a directory below the build tree with the sandbox's run
// directory in it, and a simulated MCU line when the test connects one. Times inside the device run
// faster than real ones by timeScale().
class Device {
  public:
    Device();
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Options; they hold for every later run.
    Device& timeScale(int factor);
    Device& sandboxOption(const std::string& option, const std::string& value = "");

    // Files in the job's working directory, "/job" inside the device.
    std::filesystem::path jobFile(const std::string& name) const;
    void firmware(const std::string& fileName, const FirmwareImage& image);
    void configuration(const UpdateConfigFile& config);

    // Starts the simulated line /dev/ttyS1 with these MCUs and, optionally, a fault script.
    void connect(const std::vector<SimulatedMcu>& mcus,
                 const nlohmann::json& faults = nlohmann::json());

    // Runs the tool with these arguments.
    RunResult runTool(const std::vector<std::string>& arguments);
    // Runs a Type 1 job over the configuration with this time-out argument.
    RunResult update(int timeoutSeconds);

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

    // Records written by the sandbox's stand-ins, a JSON object a line.
    std::vector<nlohmann::json> records(const std::string& fileName) const;
    std::filesystem::path runDirectory() const { return m_directory / "device"; }

  private:
    void waitUntilReady();
    // Until the simulated MCUs have taken, and recorded, all that the tool wrote before it ended.
    void waitUntilLineIsEmpty();

    std::filesystem::path m_directory;
    int m_timeScale;
    std::vector<std::string> m_options;
    std::unique_ptr<ChildProcess> m_simulator;
    std::size_t m_marks = 0;
};
