#pragma once

#include <string>

// One firmware file of the update configuration, as configured.
struct UpdateFileEntry {
    int armType = 0;                   // which MCU: the target byte of every request to it
    std::string armName;               // its name in messages
    std::string versionPosition;       // hexadecimal byte offset in the file
    std::string hardwareInfoPosition;  // hexadecimal byte offset in the file
    std::string fileName;              // put behind the file prefix of the command line
    int hardwareInfoLength = 0;        // bytes
    std::string hardwareInfoMask;      // hexadecimal digits; empty for no mask
    bool ForceUpdate = false;          // send whatever the versions say
    bool HigherVersion = false;        // send only a higher version
};
