#include "tests/technic/FrozenClock.h"

#include <sys/syscall.h>
#include <sys/times.h>
#include <unistd.h>

#include <atomic>

#include "technic/TimeUtil.h"

namespace {

std::atomic<bool> isFrozen{false};
std::atomic<clock_t> frozenTicks{0};

clock_t realTicks(tms* usage) {
    return static_cast<clock_t>(syscall(SYS_times, usage));
}

}  // namespace

// Takes the place of the C library's in this program.
extern "C" clock_t times(tms* usage) noexcept {
    const clock_t real = realTicks(usage);
    return isFrozen ? frozenTicks.load() : real;
}

FrozenClock::FrozenClock() {
    (void)monotonicSeconds();  // takes its first value from the real clock
    tms unused{};
    frozenTicks = realTicks(&unused);
    isFrozen = true;
}

FrozenClock::~FrozenClock() {
    isFrozen = false;
}

void FrozenClock::advance(long seconds) {
    frozenTicks += seconds * clocksPerSecond();
}
