#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "simulator/mcu/Bytes.h"

// A running mcu-simulator with a directory of its own below the build tree. It is ended when the
// object goes.
class SimulatorProcess {
  public:
    SimulatorProcess();
    ~SimulatorProcess();
    SimulatorProcess(const SimulatorProcess&) = delete;
    SimulatorProcess& operator=(const SimulatorProcess&) = delete;

    // Writes a settings file into the directory; its path.
    std::string file(const std::string& name, const nlohmann::json& content);
    std::string file(const std::string& name, const std::string& content);
    std::filesystem::path path(const std::string& name) const { return m_directory / name; }

    // Starts the program with these arguments, in the directory.
    void start(const std::vector<std::string>& arguments);
    // Starts it with these MCUs and faults, a transcript, a state report, a store and the link
    // "line", and waits until the line is there.
    void startLine(const std::vector<nlohmann::json>& mcus, const nlohmann::json& faults = nullptr,
                   std::vector<std::string> more = {});
    // Waits until the file "ready" appears; its first line.
    std::string waitUntilReady();

    // Waits for the end: the exit status, or nothing when the program still runs.
    std::optional<int> wait(std::chrono::milliseconds limit);
    // SIGTERM, and the exit status.
    std::optional<int> terminate();
    std::string output() const { return readText("stdout"); }
    std::string errors() const { return readText("stderr"); }

    std::string readText(const std::string& name) const;
    Bytes readBytes(const std::string& name) const;
    std::vector<nlohmann::json> transcript() const;
    // "to-mcu version request" and so on, of all records so far; events too when asked for.
    std::vector<std::string> story(bool withEvents = false) const;
    // Waits until a record with this meaning is there.
    bool waitForRecord(const std::string& meaning, int count = 1) const;
    // What the state report says of the MCU.
    nlohmann::json mcu(const std::string& name) const;

  private:
    std::filesystem::path m_directory;
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

// An MCU as most tests use it: ARM1 behind target 1, hardware a1b2c3d4, version 1 0 0, quick.
nlohmann::json arm1(const nlohmann::json& changes = nlohmann::json::object());
