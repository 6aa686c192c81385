#include <gtest/gtest.h>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

// What happens when the configuration, the files or the line are not there or not right.
namespace {

const char kBannerOnly[] = "banner.note";

void expectNothingDone(const RunResult& result) {
    EXPECT_EQ(result.status, 0) << result.errors;
    expectNote(result, kBannerOnly);
}

TEST(Configuration, ThatIsMalformedEndsTheJobBeforeTheLineIsOpened) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    writeText(device.jobFile("update.xml"), "<Configure name=\"UpdateConfig\"><Configure");

    expectNothingDone(device.update(kTimeout));
}

class RequiredKey : public testing::TestWithParam<const char*> {};

TEST_P(RequiredKey, ThatIsMissingEndsTheJobBeforeTheLineIsOpened) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config().without(GetParam()));

    const RunResult result = device.update(kTimeout);

    expectNothingDone(result);
    EXPECT_FALSE(result.markerExists);
}

INSTANTIATE_TEST_SUITE_P(Keys, RequiredKey,
                         testing::Values("deviceName", "BaudRate", "DataBits", "StopBits", "Parity",
                                         "armType", "armName", "versionPosition",
                                         "hardwareInfoPosition", "fileName", "hardwareInfoLength"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST(FirmwareFiles, ThatAreAllMissingMakeAnEmptySuccess) {
    Device device;
    device.configuration(arm1Config());

    expectSuccess(device.update(kTimeout), "no-entries.note");
}

TEST(FirmwareFiles, ThatAreMissingAreLeftOut) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0});
    device.firmware("arm1.bin", image);
    UpdateConfigFile config;
    config.entry(7, "GONE", "gone.bin", 4).entry(1, "ARM1", "arm1.bin", 4);
    device.configuration(config);
    device.connect({arm1({1, 0, 0})});

    expectSuccess(device.update(kTimeout), "success.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

TEST(Line, ThatDoesNotExistFailsEveryAttempt) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());

    expectFailure(device.update(kTimeout), "no-device.note");
}

TEST(Line, WithStopBits1IsRefused) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config().lineSetting("StopBits", "1"));
    device.connect({arm1({1, 0, 0})});

    expectFailure(device.update(kTimeout), "stop-bits-1.note");
    EXPECT_THAT(device.transcript(), testing::IsEmpty());
}

}  // namespace
