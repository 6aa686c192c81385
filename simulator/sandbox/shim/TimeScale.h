#pragma once

#include <sys/time.h>

#include <cstdint>
#include <ctime>

// The device's time as this process sees it: real time until the process starts, from then on
// DEVICE_SHIM_TIME_SCALE times as fast. Any thread may call these functions.
namespace time_scale {

constexpr std::int64_t kNanosecondsPerSecond = 1000000000;

// Whether the device's time differs from real time. When it does not, every function must be left
// alone.
bool isActive();

// The device's time since the start of the process, and how far it is ahead of real time.
std::int64_t nanosecondsSinceStart();
std::int64_t nanosecondsAhead();

// Real times, straight from the system.
timespec realClock(clockid_t clock);

// Whether a clock tells the time of day or the time since some moment; the clocks that count
// processor time are not scaled.
bool isScaledClock(clockid_t clock);

// A device's duration as a real one; above 0 stays above 0. Invalid durations are handed on, so
// that the system refuses them.
timespec toReal(timespec device);
// A real duration as a device's, never more than `limit`.
timespec toDevice(timespec real, timespec limit);

// A moment of the device's time on that clock as the real moment.
timespec deadlineToReal(clockid_t clock, timespec device);

// A moment of real time on that clock as the device's.
timespec momentToDevice(timespec real);

timespec fromNanoseconds(std::int64_t nanoseconds);
timespec fromTimeval(timeval time);
timeval toTimeval(timespec time);

}  // namespace time_scale
