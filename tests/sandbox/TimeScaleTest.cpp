#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/sandbox/Sandbox.h"

// The device's time. The probes compare it with the kernel's own clock, so that the bounds hold
// however busy the machine is; only upper bounds of waits are a matter of speed, and wide.
namespace {

constexpr int kScale = 20;
const Words kScaled = {"--time-scale", std::to_string(kScale)};

std::vector<double> numbersIn(const std::string& text) {
    std::istringstream in(text);
    std::vector<double> numbers;
    for (double number = 0; in >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

double numberIn(const std::string& text) {
    const std::vector<double> numbers = numbersIn(text);
    return numbers.empty() ? -1 : numbers[0];
}

class Wait : public testing::TestWithParam<const char*> {};

// One second is 50 real milliseconds.
TEST_P(Wait, IsShorterByTheScale) {
    const double real = numberIn(Sandbox().probe(kScaled, {"wait", GetParam()}).output);

    EXPECT_GE(real, 1000 / kScale - 1);
    EXPECT_LT(real, 600);
}

TEST_P(Wait, IsLeftAloneWithoutAScale) {
    const double real = numberIn(Sandbox().probe({}, {"wait", GetParam()}).output);

    EXPECT_GE(real, 999);
}

INSTANTIATE_TEST_SUITE_P(All, Wait,
                         testing::Values("select", "pselect", "poll", "checked-poll", "ppoll",
                                         "checked-ppoll", "sleep", "usleep", "nanosleep",
                                         "clock_nanosleep", "clock_nanosleep-until", "sleep_for",
                                         "condition-for", "condition-until", "monotonic-condition",
                                         "terminal-read", "checked-terminal-read"));

class Cancellation : public testing::TestWithParam<const char*> {};

TEST_P(Cancellation, EndsAScaledWaitAndDestroysItsObjects) {
    // Ten seconds are long enough at this scale, too.
    const RunResult result = Sandbox().probe({"--time-scale", "2"}, {"cancel", GetParam()});

    EXPECT_EQ(result.output, "cancelled destroyed\n");
}

TEST_P(Cancellation, EndsAnUnscaledWaitAndDestroysItsObjects) {
    EXPECT_EQ(Sandbox().probe({}, {"cancel", GetParam()}).output, "cancelled destroyed\n");
}

INSTANTIATE_TEST_SUITE_P(All, Cancellation,
                         testing::Values("select", "pselect", "poll", "ppoll", "sleep", "usleep",
                                         "nanosleep", "clock_nanosleep", "monotonic-condition",
                                         "terminal-read"));

class Remainder : public testing::TestWithParam<const char*> {};

// Ten seconds, interrupted early. A sleep tells whole seconds only.
TEST_P(Remainder, IsTheDevicesTime) {
    const std::vector<double> times =
        numbersIn(Sandbox().probe(kScaled, {"remainder", GetParam()}).output);

    ASSERT_EQ(times.size(), 2U);
    EXPECT_LE(times[0], std::string(GetParam()) == "sleep" ? 10000 : 9999);
    EXPECT_GE(times[0], 10000 - times[1] * kScale - 1000);
}

INSTANTIATE_TEST_SUITE_P(All, Remainder,
                         testing::Values("select", "sleep", "nanosleep", "clock_nanosleep"));

TEST(TimeScale, ExpiredSelectHasNothingLeft) {
    const std::string output =
        Sandbox().probe({"--time-scale", "2000"}, {"remainder", "select"}).output;

    EXPECT_EQ(output.substr(0, 2), "0 ");
}

struct ClockRow {
    const char* name;
    double resolutionSeconds;  // of the device's time
};

void PrintTo(const ClockRow& row, std::ostream* out) {
    *out << row.name;
}

class Clock : public testing::TestWithParam<ClockRow> {
  protected:
    static void expectRunsAt(int scale) {
        const std::vector<double> times = numbersIn(
            Sandbox()
                .probe({"--time-scale", std::to_string(scale)}, {"clock", GetParam().name})
                .output);
        ASSERT_EQ(times.size(), 3U);
        // The system may slew the time of day by a thousandth against its monotonic clock.
        const double tolerance = GetParam().resolutionSeconds * 1e9 + 1000;
        EXPECT_GE(times[1], times[0] * scale * 0.999 - tolerance);
        EXPECT_LE(times[1], times[2] * scale * 1.001 + tolerance);
    }
};

TEST_P(Clock, RunsFasterByTheScale) {
    expectRunsAt(100);
}

TEST_P(Clock, IsLeftAloneWithoutAScale) {
    expectRunsAt(1);
}

// A tick of the system's coarse clocks is 10 ms at most.
INSTANTIATE_TEST_SUITE_P(All, Clock,
                         testing::Values(ClockRow{"realtime", 0}, ClockRow{"realtime-coarse", 0.01},
                                         ClockRow{"monotonic", 0},
                                         ClockRow{"monotonic-coarse", 0.01},
                                         ClockRow{"monotonic-raw", 0}, ClockRow{"boottime", 0},
                                         ClockRow{"time", 1}, ClockRow{"gettimeofday", 1e-6},
                                         ClockRow{"times", 0.02}, ClockRow{"timespec_get", 0}));

class ProcessorClock : public testing::TestWithParam<const char*> {};

TEST_P(ProcessorClock, IsNotScaled) {
    const std::vector<double> times =
        numbersIn(Sandbox().probe({"--time-scale", "100"}, {"clock", GetParam()}).output);

    ASSERT_EQ(times.size(), 3U);
    EXPECT_GT(times[1], 0);
    EXPECT_LE(times[1], times[2] * 2);
}

INSTANTIATE_TEST_SUITE_P(All, ProcessorClock, testing::Values("process-cpu", "thread-cpu"));

TEST(TimeScale, TimeBeginsWithTheRealTime) {
    const double ahead = numberIn(Sandbox().probe({"--time-scale", "10"}, {"start"}).output) / 1e9;

    EXPECT_GE(ahead, -0.001);
    EXPECT_LT(ahead, 20);
}

TEST(TimeScale, MayBeAFraction) {
    const std::vector<double> times =
        numbersIn(Sandbox().probe({"--time-scale", "2.5"}, {"clock", "monotonic"}).output);

    ASSERT_EQ(times.size(), 3U);
    EXPECT_GE(times[1], times[0] * 2.499);
    EXPECT_LE(times[1], times[2] * 2.501);
}

// VTIME is 25 seconds in these: 1.25 real ones.
TEST(TerminalRead, ComesBackAtOnceWithWhatIsThere) {
    EXPECT_EQ(Sandbox().probe(kScaled, {"terminal-read", "data"}).output.substr(0, 5), "1 0 x");
}

TEST(TerminalRead, ComesBackWithWhatComesInTime) {
    const std::string output = Sandbox().probe(kScaled, {"terminal-read", "late-data"}).output;

    EXPECT_EQ(output.substr(0, 5), "1 0 x");
    EXPECT_LT(numberIn(output.substr(5)), 1200);
}

TEST(TerminalRead, ComesBackWithNothingAfterItsTime) {
    const std::string output = Sandbox().probe(kScaled, {"terminal-read", "nothing"}).output;

    EXPECT_EQ(output.substr(0, 5), "0 0 -");
    EXPECT_GE(numberIn(output.substr(5)), 1249);
    EXPECT_LT(numberIn(output.substr(5)), 12000);
}

TEST(TerminalRead, WithoutATimeDoesNotWait) {
    const std::string output = Sandbox().probe(kScaled, {"terminal-read", "no-wait"}).output;

    EXPECT_EQ(output.substr(0, 5), "0 0 -");
    EXPECT_LT(numberIn(output.substr(5)), 1200);
}

}  // namespace
