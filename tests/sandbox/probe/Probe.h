#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The parts of sandbox-probe, a program that does one thing inside the sandbox and prints what came
// of it, so that a test outside can judge. Real time is taken from the kernel, past the shim.

using Arguments = std::vector<std::string>;

// Prints "result errno value" of a line-status request; the argument says to what: "slave",
// "master", "file", "null" (a slave, but no place for the answer), or a path.
int probeLineStatus(const Arguments& arguments);
// Like probeLineStatus for a slave, before and after the process sets the shim's variable itself.
int probeLineStatusSwitch(const Arguments& arguments);
// Prints "result errno" of a watchdog feed for each path that is named.
int probeFeed(const Arguments& arguments);
// Prints "result errno" of another request to the watchdog's node.
int probeOtherRequest(const Arguments& arguments);
// Makes one feed after each of so many seconds of sleep.
int probeFeedAfterSleeps(const Arguments& arguments);
// Waits one second with the named function; prints the real milliseconds.
int probeWait(const Arguments& arguments);
// Prints, in nanoseconds, the least real time, the clock's time and the most real time between two
// looks at the named clock.
int probeClock(const Arguments& arguments);
// Prints by how many nanoseconds the time of day is ahead of the real one at the program's start.
int probeStart(const Arguments& arguments);
// Prints by how many seconds the named clock, one of the wall or a monotonic one, is ahead of the
// real one.
int probeAhead(const Arguments& arguments);
// Prints what the named function, with a limit of 10 seconds, has left when it is interrupted
// after about 50 real milliseconds, and how long it really took, both in milliseconds.
int probeRemainder(const Arguments& arguments);
// Cancels a thread that waits in the named function; prints "cancelled" and whether its objects
// were destroyed.
int probeCancel(const Arguments& arguments);
// Prints "count errno byte" of a read from a serial line with the named condition.
int probeTerminalRead(const Arguments& arguments);
// Sends bytes (hexadecimal) to the control daemon; prints its answer or "none".
int probeDaemon(const Arguments& arguments);

// Nanoseconds of the kernel's monotonic clock.
std::int64_t realNow();
void realSleep(std::int64_t nanoseconds);

constexpr std::int64_t kNanosecondsPerMillisecond = 1000000;
constexpr std::int64_t kNanosecondsPerSecond = 1000000000;
