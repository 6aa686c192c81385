#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/FirmwareImage.h"
#include "tests/e2e/RunResult.h"
#include "tests/e2e/SimulatedLine.h"
#include "tests/e2e/UpdateConfigFile.h"

// The tool's time-out argument: long enough for a busy machine at the tests' time scale.
extern const int kTimeout;

// A device of its own for one test: a directory below the build tree with the sandbox's run
// directory in it, and a simulated MCU line when the test connects one. Times inside the device run
// faster than real ones by timeScale().
class Device : public SimulatedLine {
  public:
    Device();

    // Options; they hold for every later run.
    Device& timeScale(int factor);
    // The line takes its time; it takes none otherwise.
    Device& lineSpeed(int baud);
    Device& sandboxOption(const std::string& option, const std::string& value = "");

    // Files in the job's working directory, "/job" inside the device.
    std::filesystem::path jobFile(const std::string& name) const;
    void firmware(const std::string& fileName, const FirmwareImage& image);
    void configuration(const UpdateConfigFile& config);

    // Starts the simulated line /dev/ttyS1 with these MCUs and, optionally, a fault script.
    void connect(const std::vector<SimulatedMcu>& mcus,
                 const nlohmann::json& faults = nlohmann::json());

    // The simulated line as "/job/line" from now on, a link that can be taken away and put back
    // while the tool runs; there is none at first.
    Device& movableLine();
    void plugIn() const;
    void pullOut() const;
    // The MCUs go, and so does the line under whoever has it open. They can be connected again.
    void hangUp();

    // Runs the tool with these arguments.
    RunResult runTool(const std::vector<std::string>& arguments);
    // Runs a Type 1 job over the configuration with this time-out argument.
    RunResult update(int timeoutSeconds);
    // The same in two steps, for a test that does something to the device meanwhile.
    void startUpdate(int timeoutSeconds);
    RunResult finish();
    // Waits until the note, or the record of the line, holds this text. Throws std::runtime_error
    // when it does not in time.
    void awaitNote(const std::string& text) const;
    void awaitOnLine(const std::string& meaning) const;

    // Records written by the sandbox's stand-ins, a JSON object a line.
    std::vector<nlohmann::json> records(const std::string& fileName) const;
    std::filesystem::path runDirectory() const { return directory() / "device"; }

  private:
    // Until the simulated MCUs have taken, and recorded, all that the tool wrote before it ended.
    void waitUntilLineIsEmpty();

    void start(const std::vector<std::string>& arguments);

    int m_timeScale;
    std::vector<std::string> m_lineSpeed;
    bool m_isLineMovable = false;
    std::vector<std::string> m_options;
    std::size_t m_marks = 0;
    std::unique_ptr<ChildProcess> m_tool;
};
