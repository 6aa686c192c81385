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

// The reason with which an MCU may be left with an image without its end.
extern const char kAcknowledgementForged[];

// Why the protocol, or the marker's life, allows this one; empty if nothing does.
std::string lieReason(const Lie& lie);
