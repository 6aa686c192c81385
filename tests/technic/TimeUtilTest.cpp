#include "technic/TimeUtil.h"

#include <gtest/gtest.h>
#include <sys/times.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

// Puts a time zone in force and the former one back.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        const char* former = std::getenv("TZ");
        m_hadFormer = former != nullptr;
        m_former = m_hadFormer ? former : "";
        setenv("TZ", zone, 1);
    }
    ~TimeZone() {
        if (m_hadFormer) {
            setenv("TZ", m_former.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

  private:
    bool m_hadFormer = false;
    std::string m_former;
};

std::string localTimeAs(const char* format) {
    tzset();
    const std::time_t now = std::time(nullptr);
    std::array<char, 100> text{};
    std::tm broken{};
    localtime_r(&now, &broken);
    (void)std::strftime(text.data(), text.size(), format, &broken);
    return text.data();
}

// `take` is called again when the second changed meanwhile.
template <class Take>
void expectLocalTime(Take take, const char* format) {
    std::string before;
    std::string taken;
    do {
        before = localTimeAs(format);
        taken = take();
    } while (before != localTimeAs(format));
    EXPECT_EQ(taken, before);
}

double millisecondsOf(void (*action)()) {
    const auto start = std::chrono::steady_clock::now();
    action();
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    return taken.count();
}

double ticksInSeconds() {
    tms unused{};
    return static_cast<double>(times(&unused)) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double wallSeconds() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

TEST(CurrentTimeString, CodeOneIsMonthFirst) {
    expectLocalTime([] { return currentTimeString(1); }, "%m/%d/%Y %H:%M:%S");
}

TEST(CurrentTimeString, EveryOtherCodeIsYearFirst) {
    for (const int code : {-1, 0, 2, 3, 100}) {
        expectLocalTime([code] { return currentTimeString(code); }, "%Y-%m-%d %H:%M:%S");
    }
}

TEST(CurrentTimeString, FollowsAChangeOfTheTimeZone) {
    const TimeZone east("XST-14");
    expectLocalTime([] { return currentTimeString(2); }, "%Y-%m-%d %H:%M:%S");
}

TEST(MonotonicSeconds, AreWholeTickSecondsPlus10000) {
    const double before = ticksInSeconds();
    const long long seconds = monotonicSeconds();
    const double after = ticksInSeconds();
    EXPECT_GE(static_cast<double>(seconds), before - 1 + 10000);
    EXPECT_LE(static_cast<double>(seconds), after + 10000);
}

TEST(MonotonicSeconds, NeverRunBackwards) {
    long long last = monotonicSeconds();
    for (int i = 0; i < 1000; ++i) {
        const long long now = monotonicSeconds();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(LocalWallSeconds, AreTheWallClock) {
    const std::time_t before = std::time(nullptr);
    const long long seconds = localWallSeconds();
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, std::time(nullptr));
}

TEST(SleepFor, WaitsTheGivenTime) {
    EXPECT_GE(millisecondsOf([] { sleepFor(0, 120000); }), 119.0);
}

TEST(SleepFor, WaitsSecondsAndMicrosecondsTogether) {
    EXPECT_GE(millisecondsOf([] { sleepFor(1, 100000); }), 1099.0);
}

TEST(SleepFor, DoesNotWaitForNegativeTimes) {
    EXPECT_LT(millisecondsOf([] { sleepFor(-1, -1); }), 500.0);
}

TEST(ClocksPerSecond, IsTheSystemsValue) {
    EXPECT_EQ(clocksPerSecond(), sysconf(_SC_CLK_TCK));
    EXPECT_EQ(clocksPerSecond(), clocksPerSecond());
}

TEST(SecondsSinceBoot, AreTicksInSeconds) {
    const double before = ticksInSeconds();
    const double seconds = secondsSinceBoot();
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, ticksInSeconds());
}

struct ZoneCase {
    const char* zone;
    double hours;
};

class TimeZoneHours : public testing::TestWithParam<ZoneCase> {};

TEST_P(TimeZoneHours, ArePositiveInTheEast) {
    const TimeZone zone(GetParam().zone);
    EXPECT_DOUBLE_EQ(timeZoneHours(), GetParam().hours);
}

INSTANTIATE_TEST_SUITE_P(Zones, TimeZoneHours,
                         testing::Values(ZoneCase{"UTC0", 0.0}, ZoneCase{"CST-8", 8.0},
                                         ZoneCase{"IST-5:30", 5.5}, ZoneCase{"EST5", -5.0}));

TEST(LocalClock, IsTheWallClockMovedByTheZone) {
    for (const ZoneCase& zoneCase : {ZoneCase{"CST-8", 28800}, ZoneCase{"LMT0:25:21", -1521}}) {
        const TimeZone zone(zoneCase.zone);
        const double before = wallSeconds();
        const auto local = static_cast<double>(localClockMicroseconds()) / 1e6;
        const double after = wallSeconds();
        EXPECT_GE(local, before + zoneCase.hours - 0.001) << zoneCase.zone;
        EXPECT_LE(local, after + zoneCase.hours + 0.001) << zoneCase.zone;
    }
}

TEST(LocalClock, InSecondsIsTheSameClock) {
    const TimeZone zone("CST-8");
    const double before = static_cast<double>(localClockMicroseconds()) / 1e6;
    const double seconds = localClockSeconds();
    const double after = static_cast<double>(localClockMicroseconds()) / 1e6;
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, after);
}

}  // namespace
