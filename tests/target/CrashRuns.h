#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/target/Machine.h"

// What a run of crash-victim said and left.
struct CrashRun {
    int status = -1;
    std::string output;
    // From the trouble to the process's exit handlers; 0 when it never came there.
    double seconds = 0;
    // The logs; a time stamp in them is "TIME".
    std::string signalLog;
    std::string rebootLog;

    // The crash line as a whole, and its numbers as they stand there; empty when there is none.
    std::string crashLine;
    std::string errAddr;
    std::string programCounter;
    std::vector<std::string> stack;

    // Where the addresses lie: the name of the function in crash-victim, or else of the file that
    // is mapped there, or else the number itself.
    std::string place;
    std::vector<std::string> calls;
};

// Runs crash-victim on the machine, once for each name, with these options of it.
std::map<std::string, CrashRun> runCrashVictim(Machine& machine,
                                               const std::map<std::string, std::string>& options);
