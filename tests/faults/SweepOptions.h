#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// The command line of fault-sweep.
struct SweepOptions {
    std::filesystem::path directory;
    std::filesystem::path sandbox;
    std::filesystem::path tool;
    double timeScale = 0;
    int jobs = 0;
    std::string only;                // a part that the ids of the runs must have
    int stride = 1;                  // every how-many-th run
    std::vector<std::string> plans;  // these runs instead of the sweep's
    bool list = false;
    bool keep = false;  // the files of all runs
};

struct ParsedSweepOptions {
    std::optional<SweepOptions> options;
    int exitStatus = 0;
};
ParsedSweepOptions parseSweepOptions(int argc, const char* const* argv);
