#pragma once

#include <string>
#include <vector>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/ProgramReception.h"
#include "simulator/mcu/SettingsFile.h"
#include "simulator/mcu/SimClock.h"
#include "simulator/mcu/XmodemReceiver.h"

struct TelemetrySettings {
    bool on = false;
    Time period{0};  // between two reports
    Time quiet{0};   // silence after a stop-upload
    Bytes content;   // what a report consists of, byte by byte
};

// Where an image holds what the MCU that runs it says about itself.
struct ImageLayout {
    std::size_t versionPosition = 0;
    std::size_t hardwarePosition = 0;
    std::size_t hardwareLength = 0;
};

struct McuSettings {
    std::string name;
    std::uint8_t target = 0;
    Bytes hardware;  // in the order of the reply
    Bytes version;   // three bytes in the order of the reply
    bool startsInBoot = false;
    std::string image;  // file of the image that is installed at first; empty for none
    Time bootDelay{0};
    bool eraseOnUpdate = true;
    ImageLayout layout;
    XmodemSettings xmodem;
    ProgramSettings receiver;
    TelemetrySettings telemetry;
};

// Reads the list "mcus" of a configuration file. Throws SettingsError.
std::vector<McuSettings> readMcuSettings(const SettingsFile& file);
