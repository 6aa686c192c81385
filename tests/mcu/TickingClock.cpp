#include "tests/mcu/TickingClock.h"

#include <sys/times.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<TickingClock*> present{nullptr};

clock_t systemTicks() {
    tms unused{};
    return times(&unused);
}

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

time_t __real_time(time_t* result);
clock_t __real_times(tms* used);

time_t __wrap_time(time_t* result) {
    TickingClock* const clock = present;
    if (clock == nullptr) {
        return __real_time(result);
    }
    const time_t now = clock->look();
    if (result != nullptr) {
        *result = now;
    }
    return now;
}

clock_t __wrap_times(tms* used) {
    const clock_t ticks = __real_times(used);
    TickingClock* const clock = present;
    return clock == nullptr ? ticks : clock->ticks();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

TickingClock::TickingClock() : m_firstTicks(systemTicks()) {
    present = this;
}

TickingClock::~TickingClock() {
    present = nullptr;
}

std::time_t TickingClock::look() {
    ++m_looks;
    ++m_now;
    if (m_looks == m_setLook) {
        m_now += m_setBy;
    }
    return m_now;
}

clock_t TickingClock::ticks() const {
    return m_firstTicks + m_looks * sysconf(_SC_CLK_TCK);
}
