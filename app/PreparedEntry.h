#pragma once

#include <string>

// One firmware file of the configuration together with what it says about itself.
struct PreparedEntry {
    int armType = 0;
    std::string armName;
    std::string fileName;      // as configured, for messages
    std::string filePath;      // prefix and name
    std::string fileVersion;   // decimal digits
    std::string fileHardware;  // lower-case hexadecimal digits
    std::string hardwareInfoMask;
    bool ForceUpdate = false;
    bool HigherVersion = false;
};
