#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <vector>

#include "tests/faults/FaultRun.h"

// Runs plans side by side.
class SweepRunner {
  public:
    // Each run gets a directory below `directory`, which goes when nothing was amiss.
    SweepRunner(std::filesystem::path directory, Surroundings surroundings, int jobs);

    // Clean updates side by side; their questions, and the events that came in all of them: the
    // tool's background thread and a busy machine add some that do not always come.
    CleanUpdate recordClean();

    // `done` is called for each plan that has run, by one thread at a time. Throws what a run threw
    // after the others have ended.
    void run(const std::vector<FaultPlan>& plans, const CleanUpdate& clean,
             const std::function<void(const FaultReport&)>& done);

  private:
    // `work` for each index below `count`, in threads.
    void inParallel(std::size_t count, const std::function<void(std::size_t)>& work) const;

    std::filesystem::path m_directory;
    Surroundings m_surroundings;
    int m_jobs;
    std::mutex m_mutex;
};
