#include "tests/app/SleepHook.h"

#include <sys/select.h>
#include <sys/times.h>
#include <unistd.h>

#include <atomic>

namespace {

constexpr long kMillisecondsPerSecond = 1000;
constexpr long kMicrosecondsPerMillisecond = 1000;

std::atomic<SleepHook*> hook{nullptr};
// 0 while the clock is the system's.
std::atomic<clock_t> steppedTicks{0};

long ticksPerSecond() {
    static const long kTicks = sysconf(_SC_CLK_TCK);
    return kTicks;
}

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

int __real_select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                  timeval* timeout);
clock_t __real_times(tms* used);

int __wrap_select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                  timeval* timeout) {
    SleepHook* const current = hook;
    if (current != nullptr && count == 0 && timeout != nullptr) {
        const auto asked = static_cast<long>(timeout->tv_sec * kMillisecondsPerSecond +
                                             timeout->tv_usec / kMicrosecondsPerMillisecond);
        const long instead = current->beforeSleep(asked);
        timeout->tv_sec = instead / kMillisecondsPerSecond;
        timeout->tv_usec = instead % kMillisecondsPerSecond * kMicrosecondsPerMillisecond;
    }
    return __real_select(count, readable, writable, exceptional, timeout);
}

clock_t __wrap_times(tms* used) {
    const clock_t ticks = __real_times(used);
    return steppedTicks == 0 ? ticks : steppedTicks.load();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

SleepHook::SleepHook() {
    hook = this;
}

SleepHook::~SleepHook() {
    hook = nullptr;
}

// From a whole second on, and not before what the clock has shown already.
SteppedTime::SteppedTime() : m_owner(gettid()) {
    tms unused{};
    steppedTicks = (times(&unused) / ticksPerSecond() + 1) * ticksPerSecond();
}

SteppedTime::~SteppedTime() {
    steppedTicks = 0;
}

void SteppedTime::passTo(long seconds) {
    std::unique_lock guard(m_lock);
    const long end = seconds * kMillisecondsPerSecond;
    for (;;) {
        m_changed.wait(guard, [this] { return m_isAsleep; });
        const long next = m_wake <= end ? m_wake : end;
        steppedTicks += (next - m_now) * ticksPerSecond() / kMillisecondsPerSecond;
        m_now = next;
        if (m_wake > end) {
            return;
        }
        m_isAsleep = false;
        m_changed.notify_all();
    }
}

void SteppedTime::release() {
    const std::lock_guard guard(m_lock);
    m_isReleased = true;
    m_changed.notify_all();
}

long SteppedTime::beforeSleep(long milliseconds) {
    if (gettid() == m_owner) {
        return milliseconds;
    }
    std::unique_lock guard(m_lock);
    if (m_isReleased) {
        return milliseconds;
    }
    m_wake = m_now + milliseconds;
    m_isAsleep = true;
    m_changed.notify_all();
    m_changed.wait(guard, [this] { return !m_isAsleep || m_isReleased; });
    m_isAsleep = false;
    return 0;
}
