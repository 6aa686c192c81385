#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <map>

#include "tests/sandbox/probe/Probe.h"

namespace {

constexpr std::int64_t kRealPause = 60 * kNanosecondsPerMillisecond;

std::int64_t nanoseconds(timespec time) {
    return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

template <clockid_t clock>
std::int64_t look() {
    timespec now{};
    (void)clock_gettime(clock, &now);
    return nanoseconds(now);
}

std::int64_t lookTime() {
    return time(nullptr) * kNanosecondsPerSecond;
}

std::int64_t lookTimeOfDay() {
    timeval now{};
    (void)gettimeofday(&now, nullptr);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_usec * 1000;
}

std::int64_t lookTicks() {
    tms used{};
    return times(&used) * (kNanosecondsPerSecond / sysconf(_SC_CLK_TCK));
}

std::int64_t lookTimespec() {
    timespec now{};
    (void)timespec_get(&now, TIME_UTC);
    return nanoseconds(now);
}

const std::map<std::string, std::int64_t (*)()>& clocks() {
    static const std::map<std::string, std::int64_t (*)()> all = {
        {"realtime", look<CLOCK_REALTIME>},
        {"realtime-coarse", look<CLOCK_REALTIME_COARSE>},
        {"monotonic", look<CLOCK_MONOTONIC>},
        {"monotonic-coarse", look<CLOCK_MONOTONIC_COARSE>},
        {"monotonic-raw", look<CLOCK_MONOTONIC_RAW>},
        {"boottime", look<CLOCK_BOOTTIME>},
        {"process-cpu", look<CLOCK_PROCESS_CPUTIME_ID>},
        {"thread-cpu", look<CLOCK_THREAD_CPUTIME_ID>},
        {"time", lookTime},
        {"gettimeofday", lookTimeOfDay},
        {"times", lookTicks},
        {"timespec_get", lookTimespec},
    };
    return all;
}

void keepBusyFor(std::int64_t realNanoseconds) {
    const std::int64_t end = realNow() + realNanoseconds;
    while (realNow() < end) {
    }
}

}  // namespace

int probeClock(const Arguments& arguments) {
    const auto clock = clocks().at(arguments.at(0));
    const std::int64_t beforeFirst = realNow();
    const std::int64_t first = clock();
    const std::int64_t afterFirst = realNow();
    keepBusyFor(kRealPause);
    const std::int64_t beforeSecond = realNow();
    const std::int64_t second = clock();
    const std::int64_t afterSecond = realNow();
    std::printf("%lld %lld %lld\n", static_cast<long long>(beforeSecond - afterFirst),
                static_cast<long long>(second - first),
                static_cast<long long>(afterSecond - beforeFirst));
    return 0;
}

int probeStart(const Arguments& /*arguments*/) {
    timespec real{};
    (void)syscall(SYS_clock_gettime, CLOCK_REALTIME, &real);
    const std::int64_t device = look<CLOCK_REALTIME>();
    std::printf("%lld\n", static_cast<long long>(device - nanoseconds(real)));
    return 0;
}

int probeAhead(const Arguments& arguments) {
    const std::string& name = arguments.at(0);
    const bool isMonotonic = name.compare(0, 9, "monotonic") == 0;
    const std::int64_t clock = clocks().at(name)();
    timespec real{};
    (void)syscall(SYS_clock_gettime, isMonotonic ? CLOCK_MONOTONIC : CLOCK_REALTIME, &real);
    std::printf("%lld\n",
                static_cast<long long>((clock - nanoseconds(real)) / kNanosecondsPerSecond));
    return 0;
}
