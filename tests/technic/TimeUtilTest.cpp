#include "technic/TimeUtil.h"

#include <gtest/gtest.h>
#include <sys/times.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "technic/TickCount.h"
#include "tests/technic/FrozenClock.h"
#include "tests/technic/SystemAnswers.h"
#include "tests/technic/TimeZone.h"

namespace {

double millisecondsOf(void (*action)()) {
    const auto start = std::chrono::steady_clock::now();
    action();
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    return taken.count();
}

// A moment of UTC whose parts all differ: 2024-05-08 06:07:09.
constexpr std::int64_t kMoment = 1715148429;

TEST(CurrentTimeString, CodeOneIsMonthFirst) {
    const FixedWallClock clock("UTC0", kMoment);
    EXPECT_EQ(currentTimeString(1), "05/08/2024 06:07:09");
}

TEST(CurrentTimeString, EveryOtherCodeIsYearFirst) {
    const FixedWallClock clock("UTC0", kMoment);
    for (const int code : {-1, 0, 2, 3, 100}) {
        EXPECT_EQ(currentTimeString(code), "2024-05-08 06:07:09") << code;
    }
}

TEST(CurrentTimeString, IsLocalTimeAndFollowsAChangeOfTheZone) {
    const FixedWallClock clock("CST-8", kMoment);
    EXPECT_EQ(currentTimeString(2), "2024-05-08 14:07:09");
    const TimeZone summer("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(currentTimeString(2), "2024-05-08 02:07:09");
}

// 2039-03-04 05:06:07 UTC, which needs more than 31 bits.
constexpr std::int64_t kFarMoment = 2182827967;

TEST(CurrentTimeString, IsRightAfterJanuary2038) {
    const FixedWallClock clock("CST-8", kFarMoment);
    EXPECT_EQ(currentTimeString(2), "2039-03-04 13:06:07");
}

TEST(LocalWallSeconds, RunOnAfterJanuary2038) {
    const FixedWallClock clock("CST-8", kFarMoment);
    EXPECT_EQ(localWallSeconds(), kFarMoment);
}

TEST(LocalClockMicroseconds, RunOnAfterJanuary2038) {
    const FixedWallClock clock("UTC0", kFarMoment, 123456);
    EXPECT_EQ(localClockMicroseconds(), kFarMoment * 1000000 + 123456);
}

TEST(MonotonicSeconds, AreWholeTickSecondsPlus10000) {
    const FrozenClock clock;
    tms unused{};
    const long long ticks = times(&unused);
    EXPECT_EQ(monotonicSeconds(), ticks / sysconf(_SC_CLK_TCK) + 10000);
    FrozenClock::advance(61);
    EXPECT_EQ(monotonicSeconds(), ticks / sysconf(_SC_CLK_TCK) + 10061);
}

TEST(MonotonicSeconds, DoNotFollowTheWallClock) {
    const FrozenClock clock;
    const long long before = monotonicSeconds();
    const FixedWallClock wall("UTC0", 0);
    ASSERT_EQ(std::time(nullptr), 0);
    EXPECT_EQ(monotonicSeconds(), before);
}

TEST(MonotonicSeconds, RunOnThroughManyRoundsOfThe32BitTickCount) {
    constexpr long kMostOfHalfARound = 20000000;
    const FrozenClock clock;
    const long long before = monotonicSeconds();
    for (int i = 1; i <= 10; ++i) {
        FrozenClock::advance(kMostOfHalfARound);
        EXPECT_EQ(monotonicSeconds(), before + i * static_cast<long long>(kMostOfHalfARound));
    }
}

struct TickCase {
    long long before;
    std::int32_t now;
    long long ticks;
};

class TicksOf32Bits : public testing::TestWithParam<TickCase> {};

TEST_P(TicksOf32Bits, AreCarriedOnPastTheirLargestNumber) {
    EXPECT_EQ(carriedOnTicks(GetParam().before, GetParam().now), GetParam().ticks);
}

INSTANTIATE_TEST_SUITE_P(Counts, TicksOf32Bits,
                         testing::Values(TickCase{100, 100, 100}, TickCase{100, 101, 101},
                                         TickCase{-30000, -29999, -29999}, TickCase{-1, 0, 0},
                                         TickCase{INT32_MAX, INT32_MIN, 2147483648},
                                         TickCase{4294967295, 1, 4294967297},
                                         TickCase{2147483748, INT32_MIN, 2147483648},
                                         TickCase{100, 99, 99}, TickCase{0, -1, -1}));

TEST(TicksOf64Bits, AreTakenAsTheyAre) {
    EXPECT_EQ(carriedOnTicks(1, std::int64_t{4294967297}), 4294967297);
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

TEST(ClocksPerSecond, AreAskedForOnce) {
    const long first = clocksPerSecond();
    const NoSystemConstants refused;
    ASSERT_EQ(sysconf(_SC_CLK_TCK), -1);
    EXPECT_EQ(clocksPerSecond(), first);
}

TEST(ClocksPerSecondDeathTest, ThatTheSystemDoesNotTellAreAnError) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto askWithoutAnswer = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        const NoSystemConstants refused;
        const long answer = clocksPerSecond();
        std::fflush(stdout);
        _exit(answer == -1 ? 0 : 1);
    };
    EXPECT_EXIT(askWithoutAnswer(), testing::ExitedWithCode(0), "time error\n$");
}

TEST(SecondsSinceBoot, AreTicksInSeconds) {
    const FrozenClock clock;
    tms unused{};
    const auto ticks = static_cast<double>(times(&unused));
    EXPECT_DOUBLE_EQ(secondsSinceBoot(), ticks / static_cast<double>(sysconf(_SC_CLK_TCK)));
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
                                         ZoneCase{"IST-5:30", 5.5}, ZoneCase{"EST5", -5.0},
                                         ZoneCase{"CET-1CEST,0/0,J365/25", 1.0}));

struct LocalClockCase {
    const char* zone;
    std::int64_t offsetSeconds;
};

class LocalClock : public testing::TestWithParam<LocalClockCase> {
  protected:
    const FixedWallClock m_clock{GetParam().zone, kMoment, 123456};
    const std::int64_t m_seconds = kMoment + GetParam().offsetSeconds;
};

TEST_P(LocalClock, IsTheWallClockMovedByTheZone) {
    EXPECT_EQ(localClockMicroseconds(), m_seconds * 1000000 + 123456);
}

TEST_P(LocalClock, InSecondsIsTheSameClock) {
    EXPECT_DOUBLE_EQ(localClockSeconds(), static_cast<double>(m_seconds) + 0.123456);
}

INSTANTIATE_TEST_SUITE_P(Zones, LocalClock,
                         testing::Values(LocalClockCase{"UTC0", 0}, LocalClockCase{"CST-8", 28800},
                                         LocalClockCase{"LMT0:25:21", -1521},
                                         LocalClockCase{"CET-1CEST,0/0,J365/25", 3600}));

}  // namespace
