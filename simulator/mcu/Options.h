#pragma once

#include <optional>
#include <string>

// The command line.
struct Options {
    std::string config;
    std::string ptyLink;
    std::string unixPath;
    std::string tcpAddress;
    std::string serialDevice;
    std::string serialLine = "115200,8,1,none";
    long baud = 0;  // 0: the line takes no time
    std::string faults;
    std::string transcript;
    std::string state;
    std::string store;
    std::string readyFile;
    bool live = false;
    double timeScale = 1;
};

// Reads the command line, or gives the exit status to end with after help or an error was printed.
struct ParsedOptions {
    std::optional<Options> options;
    int exitStatus = 0;
};
ParsedOptions parseOptions(int argc, const char* const* argv);
