#pragma once

#include <string>
#include <vector>

#include "tests/faults/FaultRun.h"

// One plan for each event of a clean update and each fault that can happen there. The data bytes of
// a block stand for each other: the first, the last and every kDataStride-th have plans.
std::vector<FaultPlan> planSweep(const std::vector<std::string>& events);

// Blocks that are damaged several times: as often as a transfer bears it, once more, as often for
// each of two blocks, and always.
std::vector<FaultPlan> planRepeats();

constexpr int kDataStride = 128;
// How long replies are held back: past the time-out for replies to commands, and past that of a
// transfer.
constexpr int kShortDelaySeconds = UpdateDevice::kTimeoutSeconds + 1;
constexpr int kLongDelaySeconds = 20;
// After how many seconds an unplugged device is back.
constexpr int kReplugSeconds = 2;
