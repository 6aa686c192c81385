#pragma once

#include <string>
#include <vector>

struct ProgramRun {
    int status = -1;     // as the shell sees it
    std::string output;  // standard output
};

// Runs MCUUpdateTool with these arguments to its end.
ProgramRun runProgram(const std::vector<std::string>& arguments);
