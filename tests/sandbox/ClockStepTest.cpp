#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/sandbox/Sandbox.h"

// The wall clock while somebody sets it.
namespace {

constexpr int kHour = 3600;
// What the time scale of two and a busy machine may add.
constexpr int kSlackSeconds = 30;

int aheadBy(const Sandbox& sandbox, const Words& options, const std::string& clock) {
    return std::stoi(sandbox.probe(options, {"ahead", clock}).output);
}

class WallClock : public testing::TestWithParam<const char*> {};

TEST_P(WallClock, IsSetBack) {
    const Sandbox sandbox;
    sandbox.writeFile("device/clock-step", std::to_string(-5 * kHour));

    EXPECT_NEAR(aheadBy(sandbox, {"--clock-step"}, GetParam()), -5 * kHour, 1);
}

TEST_P(WallClock, IsSetOnUnderATimeScale) {
    const Sandbox sandbox;
    sandbox.writeFile("device/clock-step", std::to_string(5 * kHour) + "\n");

    EXPECT_NEAR(aheadBy(sandbox, {"--clock-step", "--time-scale", "2"}, GetParam()), 5 * kHour,
                kSlackSeconds);
}

TEST_P(WallClock, IsTheRealOneWithoutAFile) {
    EXPECT_NEAR(aheadBy(Sandbox(), {"--clock-step"}, GetParam()), 0, 1);
}

TEST_P(WallClock, IsTheRealOneWithoutTheOption) {
    const Sandbox sandbox;
    sandbox.writeFile("device/clock-step", std::to_string(5 * kHour));

    EXPECT_NEAR(aheadBy(sandbox, {}, GetParam()), 0, 1);
}

INSTANTIATE_TEST_SUITE_P(All, WallClock,
                         testing::Values("realtime", "realtime-coarse", "time", "gettimeofday",
                                         "timespec_get"));

class MonotonicClock : public testing::TestWithParam<const char*> {};

TEST_P(MonotonicClock, IsNotSet) {
    const Sandbox sandbox;
    sandbox.writeFile("device/clock-step", std::to_string(5 * kHour));

    EXPECT_NEAR(aheadBy(sandbox, {"--clock-step"}, GetParam()), 0, 1);
}

INSTANTIATE_TEST_SUITE_P(All, MonotonicClock,
                         testing::Values("monotonic", "monotonic-coarse", "monotonic-raw"));

TEST(ClockStep, MayBeChangedWhileTheProgramRuns) {
    const Sandbox sandbox;
    const std::string file = sandbox.device("clock-step");

    const std::string look = "printf '%(%s)T\\n' -1; ";

    const RunResult result = sandbox.run(
        {"--clock-step"},
        {"bash", "-c", look + "echo 7200 > " + file + "; " + look + "rm " + file + "; " + look});

    std::istringstream in(result.output);
    long before = 0;
    long set = 0;
    long after = 0;
    in >> before >> set >> after;
    EXPECT_NEAR(static_cast<double>(set - before), 7200, kSlackSeconds);
    EXPECT_NEAR(static_cast<double>(set - after), 7200, kSlackSeconds);
}

}  // namespace
