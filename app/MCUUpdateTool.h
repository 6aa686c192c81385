#pragma once

#include <memory>
#include <string>

class MCUUpdateToolImpl;

// The jobs of the program over one update configuration. Set the three arguments, load the
// configuration, then run jobs. One thread.
class MCUUpdateTool {
  public:
    MCUUpdateTool();
    ~MCUUpdateTool();
    MCUUpdateTool(const MCUUpdateTool&) = delete;
    MCUUpdateTool& operator=(const MCUUpdateTool&) = delete;

    void setConfigFile(const std::string& path);
    // Put before every fileName as it is: a directory needs its trailing slash.
    void setUpdateFilePath(const std::string& path);
    // Seconds that each answer of an MCU is waited for.
    void setTimeout(int seconds);

    // Reads the configuration and what the firmware files say about themselves; files that are
    // missing or too short are left out. False, with the earlier contents kept, when the
    // configuration cannot be read or a required key is missing.
    bool loadConfig();
    // Tries every file of the list once through, each up to six times. Whether every MCU has what
    // it needs.
    bool updateAll();
    // Send the one command to all MCUs. Whether it was sent.
    bool rebootMCU();
    bool resetMCU();

  private:
    std::unique_ptr<MCUUpdateToolImpl> m_impl;
};
