#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/FirmwareImage.h"
#include "tests/e2e/RunResult.h"
#include "tests/e2e/SimulatedLine.h"
#include "tests/e2e/UpdateConfigFile.h"

// A target machine of its own for one test: an emulated 32-bit ARM computer with Linux, in real
// time, with everything that stands round the tool on a device (simulator/target/init starts it).
// Its line /dev/ttyS0 is a real serial port; the simulated MCUs are at the other end. What has to
// outlive its power (/job, /mnt/mtd/log, records) stands in a directory that host and machine
// share.
class Machine : public SimulatedLine {
  public:
    // In a directory named after the running test, or in this one; what it held is gone.
    Machine();
    explicit Machine(const std::filesystem::path& directory);

    // Files in the job's working directory, "/job" inside the machine.
    std::filesystem::path jobFile(const std::string& name) const;
    void firmware(const std::string& fileName, const FirmwareImage& image);
    void configuration(UpdateConfigFile config);

    // Starts these MCUs at the other end of the line, which carries `baud` bits per second. Their
    // restarts take half a second.
    void connect(std::vector<SimulatedMcu> mcus, const nlohmann::json& faults = nlohmann::json(),
                 int baud = 115200);
    // Instead of MCUs: the line leads to a second port, /dev/ttyS1, of the machine itself. What
    // happens in the ports' registers is recorded in serialTrace().
    void connectToItself();

    // Switches the machine on; it runs the shell script, in /job, and switches itself off.
    void boot(const std::string& script);
    // Waits until the script has run and the machine is off. Throws std::runtime_error if that
    // takes longer, or if the machine went off in another way.
    void waitUntilOff(std::chrono::seconds limit);
    // Takes the power away, now.
    void cutPower();
    // Waits until something with this meaning has gone over the line; see SimulatedLine.
    void waitForMeaning(const std::string& meaning, std::chrono::seconds limit);

    // What the script said and left, as far as it came.
    RunResult result() const;
    // Boots, runs the tool with these arguments and waits for it.
    RunResult runTool(const std::string& arguments, std::chrono::seconds limit);
    // A Type 1 job over the configuration.
    RunResult update(std::chrono::seconds limit);

    // Records of the stand-ins, a JSON object a line.
    std::vector<nlohmann::json> records(const std::string& fileName) const;
    std::filesystem::path share() const { return directory() / "share"; }
    std::filesystem::path serialTrace() const { return directory() / "serial.trace"; }

  private:
    std::vector<std::string> command() const;
    std::string lastWords() const;

    std::vector<std::string> m_lineOptions;
    std::unique_ptr<ChildProcess> m_emulator;
};

// What the tool is started with in these tests, for scripts.
extern const char kUpdateCommand[];
