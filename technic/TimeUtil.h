#pragma once

#include <cstdint>
#include <string>

// Clocks, the local time as text, and the one sleep of the product. Any thread.

// The local time: code 1 gives "MM/DD/YYYY hh:mm:ss", any other code "YYYY-MM-DD hh:mm:ss".
std::string currentTimeString(int code);

// Whole seconds of the process ticks plus 10000: the clock of every time-out in the foundation. It
// does not follow changes of the wall clock.
long long monotonicSeconds();

// The wall clock in whole seconds, taken through the broken-down local time.
long long localWallSeconds();

// Waits in select. Negative times are no wait. Ends early when a signal arrives.
void sleepFor(long seconds, long microseconds);

// Clock ticks per second, asked of the system once; -1 (and "time error" on standard output) when
// the system does not tell.
long clocksPerSecond();

// Seconds since boot, from the tick count.
double secondsSinceBoot();

// Offset of the local time zone from UTC in hours, east positive.
double timeZoneHours();

// The local clock: the wall clock moved by the time-zone offset.
std::int64_t localClockMicroseconds();
double localClockSeconds();
