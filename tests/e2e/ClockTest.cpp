#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <ostream>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

// Somebody sets the device's wall clock while a block waits for its reply.
namespace {

using nlohmann::json;

constexpr long kHour = 3600;

// The reply comes half the time-out later.
const json kLateReplyToTheSecondBlock =
    json::array({{{"on", "block"}, {"n", 2}, {"do", "delay"}, {"ms", 8000}}});

struct StepRow {
    const char* what;
    long first;  // seconds that the clock is ahead, until the step and from then on
    long then;
};

void PrintTo(const StepRow& row, std::ostream* out) {
    *out << row.what;
}

void setClock(const Device& device, long secondsAhead) {
    const std::filesystem::path draft = device.jobFile("clock-step");
    writeText(draft, std::to_string(secondsAhead));
    std::filesystem::rename(draft, device.runDirectory() / "clock-step");
}

class ClockStep : public testing::TestWithParam<StepRow> {};

TEST_P(ClockStep, InATransferCostsNoAttempt) {
    const FirmwareImage image = arm1Image({2, 1, 0});
    Device device;
    device.timeScale(10);
    device.sandboxOption("--clock-step");
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})}, kLateReplyToTheSecondBlock);
    setClock(device, GetParam().first);

    device.startUpdate(3);
    device.awaitOnLine("block 2");
    setClock(device, GetParam().then);

    expectSuccess(device.finish(), "success.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

INSTANTIATE_TEST_SUITE_P(Steps, ClockStep,
                         testing::Values(StepRow{"OnByHours", 0, 5 * kHour},
                                         StepRow{"BackByHours", 0, -5 * kHour},
                                         StepRow{"From1970", 1000 - std::time(nullptr), 0}),
                         [](const auto& tested) { return tested.param.what; });

}  // namespace
