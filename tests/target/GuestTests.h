#pragma once

#include <chrono>
#include <string>

#include "tests/target/Machine.h"

// Boots the machine and runs in it a test program that it holds. Returns what every failed test of
// that program has to say, beginning with its name, and nothing when all passed. A program that ran
// no test, or that did not come to its end, has failed, too.
std::string failedGuestTests(Machine& machine, const std::string& program,
                             std::chrono::seconds limit);
