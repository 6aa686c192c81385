#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/target/Machine.h"

// Boots the machine and runs in it a test program that it holds. Returns what every failed test of
// that program has to say, beginning with its name; a program that ran no test, or that did not
// come to its end, gives a line, too.
std::vector<std::string> failedGuestTests(Machine& machine, const std::string& program,
                                          std::chrono::seconds limit);
