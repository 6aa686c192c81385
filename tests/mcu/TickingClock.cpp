#include "tests/mcu/TickingClock.h"

#include <atomic>

namespace {

constexpr std::time_t kSetBackSeconds = 100;

std::atomic<TickingClock*> present{nullptr};

}  // namespace

// The linker leads this program's calls of time to __wrap_time, and __real_time to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

time_t __real_time(time_t* result);

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

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

TickingClock::TickingClock() {
    present = this;
}

TickingClock::~TickingClock() {
    present = nullptr;
}

std::time_t TickingClock::look() {
    ++m_looks;
    ++m_now;
    if (m_looks == m_setBack) {
        m_now -= kSetBackSeconds;
    }
    return m_now;
}
