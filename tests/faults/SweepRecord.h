#pragma once

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/faults/FaultRun.h"

// What a sweep knows so far, kept on disk so that it can go on after an interruption: the clean
// update that it started from, and a line for each run that is done.
class SweepRecord {
  public:
    // tool: the program under test. The directory is made when missing. Throws std::runtime_error
    // when what it holds was found with another build of the tool.
    SweepRecord(std::filesystem::path directory, const std::filesystem::path& tool);

    // The recorded clean update; without events when there is none yet.
    const CleanUpdate& clean() const { return m_clean; }
    void keepClean(const CleanUpdate& clean);

    // Whether the run needs not be done any more. One in which the fault did not come as planned,
    // as happens on a busy machine, told too little.
    bool isDone(const std::string& id) const;
    // Kept at once; a run that is not whole on disk after a crash is done again.
    void keep(const FaultReport& report);

    const std::map<std::string, nlohmann::json>& runs() const { return m_runs; }

  private:
    std::filesystem::path m_directory;
    std::string m_build;  // of the tool
    CleanUpdate m_clean;
    std::map<std::string, nlohmann::json> m_runs;
};

nlohmann::json jsonOf(const FaultReport& report);
