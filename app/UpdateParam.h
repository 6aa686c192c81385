#pragma once

#include <string>

// The line to the MCUs, as the update configuration describes it.
struct UpdateParam {
    std::string deviceName;
    int BaudRate = 0;
    int DataBits = 0;
    int StopBits = 0;
    int Parity = 0;
};
