#pragma once

#include "tests/e2e/SimulatedLine.h"

// ARM1 of the version 1.0.0 whose images lrzsz's rx receives, from `startDelayMilliseconds` after
// the permission on. rx writes whole blocks, so that an image is stored with the zeros that fill
// its last block.
SimulatedMcu arm1BehindRx(int startDelayMilliseconds, const std::string& state = "application");

// The receiver may still be waiting for silence after the end of transmission when the tool has
// taken an acknowledgement of something earlier for that of the end, and is done.
void waitUntilReceptionIsOver(const SimulatedLine& line);
