#include "simulator/sandbox/shim/TimeScale.h"

#include <cstdlib>

#include "simulator/sandbox/shim/Next.h"

namespace time_scale {
namespace {

constexpr std::int64_t kNanosecondsPerMicrosecond = 1000;
// Durations beyond this (136 years) are as good as for ever; it keeps the arithmetic in range.
constexpr std::int64_t kLongestSeconds = INT64_C(1) << 32;

Next<decltype(clock_gettime)> nextClockGettime("clock_gettime", "__clock_gettime64");

std::int64_t toNanoseconds(timespec time) {
    std::int64_t seconds = time.tv_sec;
    if (seconds > kLongestSeconds) {
        seconds = kLongestSeconds;
    }
    return seconds * kNanosecondsPerSecond + time.tv_nsec;
}

std::int64_t realMonotonic() {
    return toNanoseconds(realClock(CLOCK_MONOTONIC));
}

// A scale that is no number, or below 1, is taken as 1.
double scaleFromEnvironment() {
    const char* text = std::getenv("DEVICE_SHIM_TIME_SCALE");
    const double scale = text != nullptr ? std::strtod(text, nullptr) : 1;
    return scale > 1 ? scale : 1;
}

struct Setting {
    double scale = scaleFromEnvironment();
    std::int64_t start = realMonotonic();
};

// Set up by the library's constructor, or before it when another library's constructor asks for
// the time; in either case there is one thread only.
const Setting& setting() {
    static const Setting instance;
    return instance;
}

__attribute__((constructor)) void startTime() {
    (void)setting();
}

bool isValid(timespec time) {
    return time.tv_sec >= 0 && time.tv_nsec >= 0 && time.tv_nsec < kNanosecondsPerSecond;
}

std::int64_t multiplied(std::int64_t nanoseconds, double factor) {
    return static_cast<std::int64_t>(static_cast<double>(nanoseconds) * factor);
}

}  // namespace

bool isActive() {
    return setting().scale > 1;
}

std::int64_t nanosecondsSinceStart() {
    const Setting& now = setting();
    return multiplied(realMonotonic() - now.start, now.scale);
}

std::int64_t nanosecondsAhead() {
    const Setting& now = setting();
    return multiplied(realMonotonic() - now.start, now.scale - 1);
}

timespec realClock(clockid_t clock) {
    timespec now{};
    (void)nextClockGettime.get()(clock, &now);  // the callers' clocks are known to exist
    return now;
}

bool isScaledClock(clockid_t clock) {
    switch (clock) {
        case CLOCK_REALTIME:
        case CLOCK_REALTIME_COARSE:
        case CLOCK_REALTIME_ALARM:
        case CLOCK_MONOTONIC:
        case CLOCK_MONOTONIC_COARSE:
        case CLOCK_MONOTONIC_RAW:
        case CLOCK_BOOTTIME:
        case CLOCK_BOOTTIME_ALARM:
        case CLOCK_TAI:
            return true;
        default:
            return false;
    }
}

timespec toReal(timespec device) {
    const std::int64_t nanoseconds = toNanoseconds(device);
    if (!isValid(device) || nanoseconds == 0) {
        return device;
    }
    const std::int64_t real = multiplied(nanoseconds, 1 / setting().scale);
    return fromNanoseconds(real > 0 ? real : 1);
}

timespec toDevice(timespec real, timespec limit) {
    const std::int64_t most = toNanoseconds(limit);
    const std::int64_t device = multiplied(toNanoseconds(real), setting().scale);
    return device < most ? fromNanoseconds(device) : limit;
}

timespec deadlineToReal(clockid_t clock, timespec device) {
    if (!isValid(device)) {
        return device;
    }
    const std::int64_t realNow = toNanoseconds(realClock(clock));
    const std::int64_t left = toNanoseconds(device) - (realNow + nanosecondsAhead());
    if (left <= 0) {
        return fromNanoseconds(realNow);
    }
    return fromNanoseconds(realNow + multiplied(left, 1 / setting().scale));
}

timespec momentToDevice(timespec real) {
    return fromNanoseconds(toNanoseconds(real) + nanosecondsAhead());
}

timespec fromNanoseconds(std::int64_t nanoseconds) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(nanoseconds / kNanosecondsPerSecond);
    time.tv_nsec = static_cast<long>(nanoseconds % kNanosecondsPerSecond);
    return time;
}

timespec fromTimeval(timeval time) {
    timespec result{};
    result.tv_sec = time.tv_sec;
    result.tv_nsec = static_cast<long>(time.tv_usec * kNanosecondsPerMicrosecond);
    return result;
}

timeval toTimeval(timespec time) {
    timeval result{};
    result.tv_sec = time.tv_sec;
    result.tv_usec = static_cast<suseconds_t>(time.tv_nsec / kNanosecondsPerMicrosecond);
    return result;
}

}  // namespace time_scale
