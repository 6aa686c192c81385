#pragma once

#include <cstdint>

// By how many seconds somebody has set the wall clock: the number in the file that
// DEVICE_SHIM_WALL_STEP names, looked up at each call. 0 without the variable, without the file or
// without a number in it.
std::int64_t wallStepSeconds();
