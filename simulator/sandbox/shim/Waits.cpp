// Sleeps and waits with a time-out: what they are given and what they give back is the device's
// time. All of them stay cancellation points, so none may be noexcept.
#include <poll.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "simulator/sandbox/shim/Next.h"
#include "simulator/sandbox/shim/TimeScale.h"

// What programs call that are built with checks of buffer sizes, and what ends a program that hands
// over fewer bytes than it says; the names are the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __poll_chk(pollfd* polled, nfds_t count, int timeout, size_t size);
extern "C" int __ppoll_chk(pollfd* polled, nfds_t count, const timespec* timeout,
                           const sigset_t* mask, size_t size);
extern "C" [[noreturn]] void __chk_fail();
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr int kMillisecondsPerSecond = 1000;
constexpr long kNanosecondsPerMillisecond = 1000000;
constexpr long kNanosecondsPerMicrosecond = 1000;
constexpr useconds_t kMicrosecondsPerSecond = 1000000;

Next<decltype(select)> nextSelect("select", "__select64");
Next<decltype(pselect)> nextPselect("pselect", "__pselect64");
Next<decltype(poll)> nextPoll("poll");
Next<decltype(ppoll)> nextPpoll("ppoll", "__ppoll64");
Next<decltype(sleep)> nextSleep("sleep");
Next<decltype(usleep)> nextUsleep("usleep");
Next<decltype(nanosleep)> nextNanosleep("nanosleep", "__nanosleep64");
Next<decltype(clock_nanosleep)> nextClockNanosleep("clock_nanosleep", "__clock_nanosleep_time64");

// Sleeps for a device's duration; when a signal ends it, `left` is what was left of it.
int sleepFor(timespec duration, timespec* left) {
    const timespec real = time_scale::toReal(duration);
    timespec realLeft{};
    const int result = nextNanosleep.get()(&real, &realLeft);
    if (result != 0 && errno == EINTR && left != nullptr) {
        *left = time_scale::toDevice(realLeft, duration);
    }
    return result;
}

void checkSize(nfds_t count, size_t size) {
    if (size / sizeof(pollfd) < count) {
        __chk_fail();
    }
}

timespec fromMilliseconds(int milliseconds) {
    return {milliseconds / kMillisecondsPerSecond,
            milliseconds % kMillisecondsPerSecond * kNanosecondsPerMillisecond};
}

}  // namespace

// As the kernel does, leaves in `timeout` what is left of it.
SHIM_EXPORT int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                       timeval* timeout) {
    if (timeout == nullptr || !time_scale::isActive()) {
        return nextSelect.get()(count, readable, writable, exceptional, timeout);
    }
    const timespec limit = time_scale::fromTimeval(*timeout);
    timeval real = time_scale::toTimeval(time_scale::toReal(limit));
    if (real.tv_sec == 0 && real.tv_usec == 0 && (limit.tv_sec > 0 || limit.tv_nsec > 0)) {
        real.tv_usec = 1;  // a wait never becomes a mere look
    }
    const int result = nextSelect.get()(count, readable, writable, exceptional, &real);
    *timeout = time_scale::toTimeval(time_scale::toDevice(time_scale::fromTimeval(real), limit));
    return result;
}

SHIM_EXPORT int pselect(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                        const timespec* timeout, const sigset_t* mask) {
    if (timeout == nullptr || !time_scale::isActive()) {
        return nextPselect.get()(count, readable, writable, exceptional, timeout, mask);
    }
    const timespec real = time_scale::toReal(*timeout);
    return nextPselect.get()(count, readable, writable, exceptional, &real, mask);
}

SHIM_EXPORT int poll(pollfd* polled, nfds_t count, int timeout) {
    if (timeout <= 0 || !time_scale::isActive()) {
        return nextPoll.get()(polled, count, timeout);
    }
    const timespec real = time_scale::toReal(fromMilliseconds(timeout));
    return nextPpoll.get()(polled, count, &real, nullptr);
}

SHIM_EXPORT int ppoll(pollfd* polled, nfds_t count, const timespec* timeout, const sigset_t* mask) {
    if (timeout == nullptr || !time_scale::isActive()) {
        return nextPpoll.get()(polled, count, timeout, mask);
    }
    const timespec real = time_scale::toReal(*timeout);
    return nextPpoll.get()(polled, count, &real, mask);
}

SHIM_EXPORT int __poll_chk(pollfd* polled, nfds_t count, int timeout, size_t size) {
    checkSize(count, size);
    return poll(polled, count, timeout);
}

#ifdef __LP64__  // elsewhere the C library checks nothing for 64-bit times
SHIM_EXPORT int __ppoll_chk(pollfd* polled, nfds_t count, const timespec* timeout,
                            const sigset_t* mask, size_t size) {
    checkSize(count, size);
    return ppoll(polled, count, timeout, mask);
}
#endif

SHIM_EXPORT unsigned int sleep(unsigned int seconds) {
    if (!time_scale::isActive()) {
        return nextSleep.get()(seconds);
    }
    timespec left{};
    if (sleepFor({static_cast<time_t>(seconds), 0}, &left) == 0) {
        return 0;
    }
    const bool nextSecondIsNearer = left.tv_nsec >= time_scale::kNanosecondsPerSecond / 2;
    return static_cast<unsigned int>(left.tv_sec) + (nextSecondIsNearer ? 1 : 0);
}

SHIM_EXPORT int usleep(useconds_t microseconds) {
    if (!time_scale::isActive()) {
        return nextUsleep.get()(microseconds);
    }
    const timespec duration{
        static_cast<time_t>(microseconds / kMicrosecondsPerSecond),
        static_cast<long>(microseconds % kMicrosecondsPerSecond) * kNanosecondsPerMicrosecond};
    return sleepFor(duration, nullptr);
}

SHIM_EXPORT int nanosleep(const timespec* duration, timespec* left) {
    if (!time_scale::isActive()) {
        return nextNanosleep.get()(duration, left);
    }
    return sleepFor(*duration, left);
}

// Gives the error number, unlike the others.
SHIM_EXPORT int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left) {
    if (!time_scale::isActive() || !time_scale::isScaledClock(clock)) {
        return nextClockNanosleep.get()(clock, flags, time, left);
    }
    if ((flags & TIMER_ABSTIME) != 0) {
        const timespec real = time_scale::deadlineToReal(clock, *time);
        return nextClockNanosleep.get()(clock, flags, &real, nullptr);
    }
    const timespec duration = *time;
    const timespec real = time_scale::toReal(duration);
    timespec realLeft{};
    const int error = nextClockNanosleep.get()(clock, flags, &real, &realLeft);
    if (error == EINTR && left != nullptr) {
        *left = time_scale::toDevice(realLeft, duration);
    }
    return error;
}
