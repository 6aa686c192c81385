#include "tests/app/SleepHook.h"

#include <dlfcn.h>
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

template <class Function>
Function* systemFunction(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

long ticksPerSecond() {
    static const long kTicks = sysconf(_SC_CLK_TCK);
    return kTicks;
}

}  // namespace

// These stand before the system's own.

extern "C" int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                      timeval* timeout) {
    static const auto kSelect = systemFunction<decltype(select)>("select");
    SleepHook* const current = hook;
    if (current != nullptr && count == 0 && timeout != nullptr) {
        const long asked = timeout->tv_sec * kMillisecondsPerSecond +
                           timeout->tv_usec / kMicrosecondsPerMillisecond;
        const long instead = current->beforeSleep(asked);
        timeout->tv_sec = instead / kMillisecondsPerSecond;
        timeout->tv_usec = instead % kMillisecondsPerSecond * kMicrosecondsPerMillisecond;
    }
    return kSelect(count, readable, writable, exceptional, timeout);
}

extern "C" clock_t times(tms* used) noexcept {
    static const auto kTimes = systemFunction<clock_t(tms*)>("times");
    const clock_t ticks = kTimes(used);
    return steppedTicks == 0 ? ticks : steppedTicks.load();
}

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
