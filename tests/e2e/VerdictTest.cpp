#include <gtest/gtest.h>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

namespace {

const UpdateConfigFile::Attributes kWrongHardware = {{"hardwareInfoPosition", "40"}};

// An image that carries hardware ffffffff at 0x40 as well.
FirmwareImage imageForBothPositions() {
    return arm1Image({2, 1, 0}).bytesAt(0x40, {0xFF, 0xFF, 0xFF, 0xFF});
}

TEST(Verdict, IsSuccessWhenALaterEntryOfTheSameMcuSucceeds) {
    Device device;
    device.firmware("wrong.bin", imageForBothPositions());
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    UpdateConfigFile config;
    config.entry(1, "WRONG", "wrong.bin", 4, kWrongHardware).entry(1, "ARM1", "arm1.bin", 4);
    device.configuration(config);
    device.connect({arm1({1, 0, 0})});

    expectSuccess(device.update(kTimeout), "fail-then-succeed.note");
    EXPECT_EQ(device.requests(), kAttemptsAtAFile * kHardwareOnly + kWholeUpdate);
    EXPECT_EQ(device.storedImage("ARM1"), arm1Image({2, 1, 0}).padded());
}

TEST(Verdict, IsSuccessWhenALaterEntryOfTheSameMcuFails) {
    Device device;
    device.firmware("wrong.bin", imageForBothPositions());
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    UpdateConfigFile config;
    config.entry(1, "ARM1", "arm1.bin", 4).entry(1, "WRONG", "wrong.bin", 4, kWrongHardware);
    device.configuration(config);
    device.connect({arm1({1, 0, 0})});

    expectSuccess(device.update(kTimeout), "succeed-then-fail.note");
    EXPECT_EQ(device.requests(), kWholeUpdate + kAttemptsAtAFile * kHardwareOnly);
    EXPECT_EQ(device.storedImage("ARM1"), arm1Image({2, 1, 0}).padded());
}

TEST(Verdict, IsSuccessWhenTheSecondRunSucceeds) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})}, kWrongHardwareSixTimes);
    writeText(device.jobFile("MCUUpdateSuccess"), "of an earlier job");

    expectSuccess(device.update(kTimeout), "second-run-succeeds.note");
    EXPECT_EQ(device.requests(), kAttemptsAtAFile * kHardwareOnly + kWholeUpdate);
    EXPECT_EQ(device.storedImage("ARM1"), arm1Image({2, 1, 0}).padded());
    EXPECT_EQ(readText(device.jobFile("MCUUpdateSuccess")), "");
}

TEST(Verdict, RemovesTheMarkerOfAnEarlierJobWhenBothRunsFail) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    writeText(device.jobFile("MCUUpdateSuccess"), "of an earlier job");

    expectFailure(device.update(kTimeout), "no-device.note");
}

}  // namespace
