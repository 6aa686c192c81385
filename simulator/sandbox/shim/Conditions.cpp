// Condition variables with a deadline: the deadline is a moment of the device's time.
#include <pthread.h>

#include <ctime>

#include "simulator/sandbox/shim/Next.h"
#include "simulator/sandbox/shim/TimeScale.h"

namespace {

Next<decltype(pthread_cond_timedwait)> nextTimedwait("pthread_cond_timedwait",
                                                     "__pthread_cond_timedwait64");
Next<decltype(pthread_cond_clockwait)> nextClockwait("pthread_cond_clockwait",
                                                     "__pthread_cond_clockwait64");

// A condition variable does not tell which of the two clocks its deadlines are on. The time of day
// is decades ahead of the time since the machine's start, so the nearer one is it.
clockid_t clockOf(timespec deadline) {
    const time_t timeOfDay = time_scale::realClock(CLOCK_REALTIME).tv_sec;
    const time_t sinceBoot = time_scale::realClock(CLOCK_MONOTONIC).tv_sec;
    const time_t middle = sinceBoot + (timeOfDay - sinceBoot) / 2;
    return deadline.tv_sec < middle ? CLOCK_MONOTONIC : CLOCK_REALTIME;
}

}  // namespace

SHIM_EXPORT int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                       const timespec* deadline) {
    if (!time_scale::isActive()) {
        return nextTimedwait.get()(condition, mutex, deadline);
    }
    const timespec real = time_scale::deadlineToReal(clockOf(*deadline), *deadline);
    return nextTimedwait.get()(condition, mutex, &real);
}

SHIM_EXPORT int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                       clockid_t clock, const timespec* deadline) {
    if (!time_scale::isActive()) {
        return nextClockwait.get()(condition, mutex, clock, deadline);
    }
    const timespec real = time_scale::deadlineToReal(clock, *deadline);
    return nextClockwait.get()(condition, mutex, clock, &real);
}
