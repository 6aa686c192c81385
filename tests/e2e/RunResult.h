#pragma once

#include <string>

// How a run of the tool ended and what it left behind.
struct RunResult {
    int status = -1;                  // exit status; -1 when the run had to be ended by force
    std::string output;               // standard output
    std::string errors;               // standard error
    std::string note;                 // the note log
    bool markerExists = false;        // whether the marker file stands in the working directory
    std::string line = "/dev/ttyS1";  // the serial device that the configuration names
};
