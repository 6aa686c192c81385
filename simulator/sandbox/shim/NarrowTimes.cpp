// Where a word has 32 bits the C library has two functions for whatever takes or tells a time.
// Programs with 64-bit times, as this library, call the newer one; those with 32-bit times, as the
// C++ library, the older one under the well-known name. The older ones below hand on to the newer.
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/time.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <ctime>

#include "simulator/sandbox/shim/Next.h"

namespace {

using NarrowTime = std::int32_t;

struct NarrowTimespec {
    NarrowTime tv_sec;
    std::int32_t tv_nsec;
};

struct NarrowTimeval {
    NarrowTime tv_sec;
    std::int32_t tv_usec;
};

timespec widen(const NarrowTimespec& time) {
    timespec wide{};
    wide.tv_sec = time.tv_sec;
    wide.tv_nsec = time.tv_nsec;
    return wide;
}

timeval widen(const NarrowTimeval& time) {
    timeval wide{};
    wide.tv_sec = time.tv_sec;
    wide.tv_usec = time.tv_usec;
    return wide;
}

// A nullptr takes nothing.
void store(const timespec& time, NarrowTimespec* narrow) {
    if (narrow != nullptr) {
        *narrow = {static_cast<NarrowTime>(time.tv_sec), static_cast<std::int32_t>(time.tv_nsec)};
    }
}

void store(const timeval& time, NarrowTimeval* narrow) {
    if (narrow != nullptr) {
        *narrow = {static_cast<NarrowTime>(time.tv_sec), static_cast<std::int32_t>(time.tv_usec)};
    }
}

// A time that need not be given.
template <typename Wide>
class Optional {
  public:
    template <typename Narrow>
    explicit Optional(const Narrow* time) : m_isGiven(time != nullptr) {
        if (m_isGiven) {
            m_time = widen(*time);
        }
    }

    Wide* get() { return m_isGiven ? &m_time : nullptr; }

  private:
    const bool m_isGiven;
    Wide m_time{};
};

}  // namespace

// The names by which others call the functions below.
#define CALLED(name) __asm__(name)
SHIM_EXPORT int narrowClockGettime(clockid_t clock, NarrowTimespec* now) CALLED("clock_gettime");
SHIM_EXPORT int narrowGettimeofday(NarrowTimeval* now, void* zone) CALLED("gettimeofday");
SHIM_EXPORT NarrowTime narrowTime(NarrowTime* now) CALLED("time");
SHIM_EXPORT int narrowTimespecGet(NarrowTimespec* now, int base) CALLED("timespec_get");
SHIM_EXPORT int narrowTimedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                const NarrowTimespec* deadline) CALLED("pthread_cond_timedwait");
SHIM_EXPORT int narrowClockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                const NarrowTimespec* deadline) CALLED("pthread_cond_clockwait");
SHIM_EXPORT int narrowIoctl(int fd, unsigned long request, ...) CALLED("ioctl");
SHIM_EXPORT int narrowSelect(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                             NarrowTimeval* timeout) CALLED("select");
SHIM_EXPORT int narrowPselect(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                              const NarrowTimespec* timeout, const sigset_t* mask)
    CALLED("pselect");
SHIM_EXPORT int narrowPpoll(pollfd* polled, nfds_t count, const NarrowTimespec* timeout,
                            const sigset_t* mask) CALLED("ppoll");
SHIM_EXPORT int narrowNanosleep(const NarrowTimespec* duration, NarrowTimespec* left)
    CALLED("nanosleep");
SHIM_EXPORT int narrowClockNanosleep(clockid_t clock, int flags, const NarrowTimespec* time,
                                     NarrowTimespec* left) CALLED("clock_nanosleep");

int narrowClockGettime(clockid_t clock, NarrowTimespec* now) {
    timespec wide{};
    const int result = clock_gettime(clock, &wide);
    if (result == 0) {
        store(wide, now);
    }
    return result;
}

int narrowGettimeofday(NarrowTimeval* now, void* zone) {
    timeval wide{};
    const int result = gettimeofday(&wide, zone);
    if (result == 0) {
        store(wide, now);
    }
    return result;
}

NarrowTime narrowTime(NarrowTime* now) {
    const auto seconds = static_cast<NarrowTime>(time(nullptr));
    if (now != nullptr) {
        *now = seconds;
    }
    return seconds;
}

int narrowTimespecGet(NarrowTimespec* now, int base) {
    timespec wide{};
    const int result = timespec_get(&wide, base);
    if (result == base) {
        store(wide, now);
    }
    return result;
}

int narrowTimedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                    const NarrowTimespec* deadline) {
    const timespec wide = widen(*deadline);
    return pthread_cond_timedwait(condition, mutex, &wide);
}

int narrowClockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                    const NarrowTimespec* deadline) {
    const timespec wide = widen(*deadline);
    return pthread_cond_clockwait(condition, mutex, clock, &wide);
}

int narrowIoctl(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return ioctl(fd, request, argument);
}

int narrowSelect(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                 NarrowTimeval* timeout) {
    Optional<timeval> wide(timeout);
    const int result = select(count, readable, writable, exceptional, wide.get());
    if (timeout != nullptr) {
        store(*wide.get(), timeout);
    }
    return result;
}

int narrowPselect(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                  const NarrowTimespec* timeout, const sigset_t* mask) {
    Optional<timespec> wide(timeout);
    return pselect(count, readable, writable, exceptional, wide.get(), mask);
}

int narrowPpoll(pollfd* polled, nfds_t count, const NarrowTimespec* timeout, const sigset_t* mask) {
    Optional<timespec> wide(timeout);
    return ppoll(polled, count, wide.get(), mask);
}

int narrowNanosleep(const NarrowTimespec* duration, NarrowTimespec* left) {
    const timespec wide = widen(*duration);
    timespec wideLeft{};
    const int result = nanosleep(&wide, &wideLeft);
    if (result != 0 && errno == EINTR) {
        store(wideLeft, left);
    }
    return result;
}

int narrowClockNanosleep(clockid_t clock, int flags, const NarrowTimespec* time,
                         NarrowTimespec* left) {
    const timespec wide = widen(*time);
    timespec wideLeft{};
    const int error = clock_nanosleep(clock, flags, &wide, &wideLeft);
    if (error == EINTR && (flags & TIMER_ABSTIME) == 0) {
        store(wideLeft, left);
    }
    return error;
}
