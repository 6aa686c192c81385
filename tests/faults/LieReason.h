#pragma once

#include <string>
#include <vector>

#include "tests/faults/FaultRun.h"

// A run that reported success although not every MCU had been updated.
struct Lie {
    const FaultPlan& plan;
    const std::vector<LineFault>& happened;
    bool killed;
    bool acknowledgementForged;
    const std::string& note;
};

// Why the protocol, or the marker's life, allows this one; empty if nothing does.
std::string lieReason(const Lie& lie);
