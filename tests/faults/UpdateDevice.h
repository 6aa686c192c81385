#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "simulator/mcu/Options.h"
#include "tests/e2e/FirmwareImage.h"

// Where things are and how fast the device's time runs.
struct Surroundings {
    std::filesystem::path sandbox;  // scripts/sandbox
    std::filesystem::path tool;     // the program under test
    double timeScale = 1;
    bool keepFiles = false;  // also of runs in which nothing was amiss
};

// What a run of the tool left behind.
struct ToolRun {
    bool ended = true;    // by itself, or because it was killed as the test wanted
    bool killed = false;  // as the test wanted
    int status = 0;       // of the tool; 128 and the signal when one ended it
    double seconds = 0;   // of the device's time
    std::string note;
    std::string output;
    std::string errors;
    bool markerExists = false;
    std::vector<std::string> leftovers;  // descriptors and threads that were there at the exit
    std::vector<std::string> crashLogs;  // event logs that tell of a crash
};

// A device with two MCUs to update, made afresh in a directory of its own: the first with an image
// of three blocks of which the last is filled, the second with an image of one whole block. The
// version of the first differs in one bit from the one that it gets.
class UpdateDevice {
  public:
    static constexpr int kTimeoutSeconds = 2;
    static constexpr int kEntries = 2;

    UpdateDevice(std::filesystem::path directory, Surroundings surroundings);

    // For the simulated MCUs of this device, and the link that is its serial device.
    Options mcuOptions() const;
    std::filesystem::path serialDevice() const { return job() / "ttyS1"; }
    // Where the program sees the host's pseudo-terminals.
    static std::filesystem::path terminals() { return "/ptys"; }

    void placeMarker() const;
    void removeMarker() const;

    // Runs a job of the tool. `turn` is called again and again meanwhile, for a few milliseconds
    // each time, and asks with true for the tool to be killed. Ends it after `limit` of real time.
    ToolRun update(const std::function<bool()>& turn, std::chrono::milliseconds limit) const;

    // For each MCU whether it holds its image exactly, and whether what it holds, if anything, is
    // that image.
    bool allHoldTheirImage() const;
    bool noneHoldsAnother() const;

  private:
    std::filesystem::path job() const { return m_directory / "device" / "job"; }
    std::filesystem::path store() const { return m_directory / "store"; }
    void collect(ToolRun& run) const;

    std::filesystem::path m_directory;
    Surroundings m_surroundings;
};
