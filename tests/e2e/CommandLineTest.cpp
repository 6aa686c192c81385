#include <gtest/gtest.h>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

namespace {

using testing::ElementsAre;

const char kBanner[] =
    "========================\n MCUUpdateTool Ver 2.10 \n========================\n";

class UnknownType : public testing::TestWithParam<const char*> {};

TEST_P(UnknownType, DoesNothingButShowTheBanner) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})});

    const RunResult result = device.runTool({GetParam(), "/job/update.xml", "/job/firmware/", "3"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, kBanner);
    EXPECT_EQ(result.note, kBanner);
    EXPECT_FALSE(result.markerExists);
    EXPECT_THAT(device.transcript(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Types, UnknownType, testing::Values("0", "abc", "7"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST(Reboot, SendsExactlyTheRebootFrame) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})});

    const RunResult result = device.runTool({"2", "/job/update.xml", "/job/firmware/", "3"});

    EXPECT_EQ(result.status, 0);
    expectNote(result, "reboot.note");
    EXPECT_THAT(device.requests(), ElementsAre("fe011004000f000024ff"));
    EXPECT_FALSE(result.markerExists);
}

TEST(Reset, SendsExactlyTheResetFrame) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})});

    const RunResult result = device.runTool({"3", "/job/update.xml", "/job/firmware/", "3"});

    EXPECT_EQ(result.status, 0);
    expectNote(result, "reset.note");
    EXPECT_THAT(device.requests(), ElementsAre("fe011004002900003eff"));
}

TEST(Reboot, WithoutTheDeviceEndsAfterTheFailedOpening) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());

    const RunResult result = device.runTool({"2", "/job/update.xml", "/job/firmware/", "3"});

    EXPECT_EQ(result.status, 0);
    expectNote(result, "open-failed.note");
}

}  // namespace
