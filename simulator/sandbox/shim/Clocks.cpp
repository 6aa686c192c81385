// The clocks: what they tell is the device's time.
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

#include <ctime>

#include "simulator/sandbox/shim/Next.h"
#include "simulator/sandbox/shim/TimeScale.h"
#include "simulator/sandbox/shim/WallStep.h"

namespace {

Next<decltype(clock_gettime)> nextClockGettime("clock_gettime", "__clock_gettime64");
Next<decltype(gettimeofday)> nextGettimeofday("gettimeofday", "__gettimeofday64");
Next<decltype(time)> nextTime("time", "__time64");
Next<decltype(times)> nextTimes("times");
Next<decltype(timespec_get)> nextTimespecGet("timespec_get", "__timespec_get64");

timespec deviceTimeOfDay() {
    return time_scale::momentToDevice(time_scale::realClock(CLOCK_REALTIME));
}

bool isWallClock(clockid_t clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE ||
           clock == CLOCK_REALTIME_ALARM || clock == CLOCK_TAI;
}

time_t wallStep() {
    return static_cast<time_t>(wallStepSeconds());
}

}  // namespace

SHIM_EXPORT int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const int result = nextClockGettime.get()(clock, now);
    if (result == 0 && time_scale::isActive() && time_scale::isScaledClock(clock)) {
        *now = time_scale::momentToDevice(*now);
    }
    if (result == 0 && isWallClock(clock)) {
        now->tv_sec += wallStep();
    }
    return result;
}

SHIM_EXPORT int gettimeofday(timeval* now, void* zone) noexcept {
    const int result = nextGettimeofday.get()(now, zone);
    if (result == 0 && time_scale::isActive()) {
        *now = time_scale::toTimeval(deviceTimeOfDay());
    }
    if (result == 0) {
        now->tv_sec += wallStep();
    }
    return result;
}

SHIM_EXPORT time_t time(time_t* now) noexcept {
    const time_t seconds =
        wallStep() + (time_scale::isActive() ? deviceTimeOfDay().tv_sec : nextTime.get()(nullptr));
    if (now != nullptr) {
        *now = seconds;
    }
    return seconds;
}

// The elapsed ticks are the device's; the processor times are as they were.
SHIM_EXPORT clock_t times(tms* used) noexcept {
    const clock_t ticks = nextTimes.get()(used);
    if (!time_scale::isActive()) {
        return ticks;
    }
    const std::int64_t perTick = time_scale::kNanosecondsPerSecond / sysconf(_SC_CLK_TCK);
    return ticks + static_cast<clock_t>(time_scale::nanosecondsAhead() / perTick);
}

SHIM_EXPORT int timespec_get(timespec* now, int base) noexcept {
    const int result = nextTimespecGet.get()(now, base);
    if (result == TIME_UTC && time_scale::isActive()) {
        *now = time_scale::momentToDevice(*now);
    }
    if (result == TIME_UTC) {
        now->tv_sec += wallStep();
    }
    return result;
}
