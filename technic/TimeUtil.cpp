#include "technic/TimeUtil.h"

#include <sys/select.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "technic/CancelGuard.h"
#include "technic/TickCount.h"

namespace {

constexpr long long kClockOffsetSeconds = 10000;
constexpr double kSecondsPerHour = 3600.0;
constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
constexpr int kMonthFirstCode = 1;

// The C library may let a thread be cancelled while it reads the time zone, but no exception out:
// whatever makes it do so stands under a CancelGuard.
std::tm localTime(std::time_t seconds) {
    const CancelGuard whole;
    std::tm broken{};
    tzset();
    (void)localtime_r(&seconds, &broken);
    return broken;
}

clock_t rawTicks() {
    tms unused{};
    return times(&unused);
}

// Ticks since some moment in the past. The count of a 32-bit machine wraps (with some kernels five
// minutes after boot, and every 497 days), so it is carried on from the value that this process has
// seen last. Another thread that carries it on meanwhile is not undone.
long long ticksNow() {
    static std::atomic<long long> last{rawTicks()};
    long long before = last.load();
    long long now = 0;
    do {
        now = carriedOnTicks(before, rawTicks());
    } while (!last.compare_exchange_weak(before, now));
    return now;
}

}  // namespace

std::string currentTimeString(int code) {
    const std::tm now = localTime(std::time(nullptr));
    const int year = now.tm_year + 1900;
    const int month = now.tm_mon + 1;
    std::array<char, 100> text{};
    if (code == kMonthFirstCode) {
        (void)std::snprintf(text.data(), text.size(), "%02d/%02d/%04d %02d:%02d:%02d", month,
                            now.tm_mday, year, now.tm_hour, now.tm_min, now.tm_sec);
    } else {
        (void)std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", year, month,
                            now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
    }
    return text.data();
}

long long monotonicSeconds() {
    const long perSecond = clocksPerSecond();
    if (perSecond <= 0) {
        return kClockOffsetSeconds;
    }
    return ticksNow() / perSecond + kClockOffsetSeconds;
}

long long localWallSeconds() {
    const CancelGuard whole;
    std::tm broken = localTime(std::time(nullptr));
    return static_cast<long long>(std::mktime(&broken));
}

void sleepFor(long seconds, long microseconds) {
    timeval wait{};
    wait.tv_sec = seconds > 0 ? seconds : 0;
    wait.tv_usec = microseconds > 0 ? microseconds : 0;
    (void)select(0, nullptr, nullptr, nullptr, &wait);
}

long clocksPerSecond() {
    static std::atomic<long> cached{0};
    long perSecond = cached.load(std::memory_order_relaxed);
    if (perSecond == 0) {
        perSecond = sysconf(_SC_CLK_TCK);
        cached.store(perSecond, std::memory_order_relaxed);
    }
    if (perSecond < 0) {
        std::puts("time error");
        return -1;
    }
    return perSecond;
}

double secondsSinceBoot() {
    return static_cast<double>(ticksNow()) / static_cast<double>(clocksPerSecond());
}

double timeZoneHours() {
    const CancelGuard whole;
    tzset();
    return -static_cast<double>(timezone) / kSecondsPerHour;
}

std::int64_t localClockMicroseconds() {
    timeval now{};
    (void)gettimeofday(&now, nullptr);
    const auto offset = static_cast<std::int64_t>(std::llround(timeZoneHours() * kSecondsPerHour));
    return (static_cast<std::int64_t>(now.tv_sec) + offset) * kMicrosecondsPerSecond +
           static_cast<std::int64_t>(now.tv_usec);
}

double localClockSeconds() {
    return static_cast<double>(localClockMicroseconds()) /
           static_cast<double>(kMicrosecondsPerSecond);
}
