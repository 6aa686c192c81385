#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/faults/LineFault.h"
#include "tests/faults/UpdateDevice.h"

// One update with faults, and the plain one after it.
struct FaultPlan {
    std::vector<LineFault> faults;
    bool markerBefore = false;  // the marker of an earlier job is there at the start
    int attempts = 0;           // how many at files there must be; 0 for any number
};

// As text: the faults, then "+marker" and "=ATTEMPTS".
std::string idOf(const FaultPlan& plan);
FaultPlan planFrom(const std::string& id);

enum class Verdict {
    Success,      // the marker, and every MCU holds its image
    Failure,      // no marker, and not every MCU does
    Understated,  // no marker although every MCU does: the safe side
    Lie,          // the marker, but not every MCU holds its image
};
const char* titleOf(Verdict verdict);

struct FaultReport {
    FaultPlan plan;
    bool happened = false;  // whether every fault came
    bool inStep = true;     // whether all went as in the clean update until the first one
    Verdict verdict = Verdict::Failure;
    std::string reason;      // of a lie, when it is one that the protocol allows
    int attempts = 0;        // at files, in the run with faults
    double seconds = 0;      // of the device's time, in the run with faults
    double bound = 0;        // the most that they may be
    bool recovered = false;  // the plain run succeeded, and every MCU holds its image
    int recoveryAttempts = 0;
    double recoverySeconds = 0;
    std::vector<std::string> violations;  // of what must hold; empty when all is well
};

// What a clean update looks like: the questions of the tool, and all events.
struct CleanUpdate {
    std::vector<std::string> questions;
    std::vector<std::string> events;
};

// Runs the update without faults, again when a busy machine made the tool ask twice. Throws
// std::runtime_error if it is not as it should be.
CleanUpdate recordCleanUpdate(const std::filesystem::path& directory,
                              const Surroundings& surroundings);

// Runs the plan in the directory, which is made afresh. Runs it again, a few times at most, when a
// fault did not come, or not as in the clean update: a busy machine can delay the tool so much that
// it asks again before the fault, or that its background thread says less. The directory goes when
// nothing was amiss, unless files are to be kept.
FaultReport runWithFaults(const FaultPlan& plan, const CleanUpdate& clean,
                          const std::filesystem::path& directory, const Surroundings& surroundings);
