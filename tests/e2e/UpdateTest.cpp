#include <gtest/gtest.h>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

namespace {

using testing::IsEmpty;

TEST(Update, BringsTheImageOntoTheMcu) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})});

    const RunResult result = device.update(kTimeout);

    expectSuccess(result, "success.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    EXPECT_EQ(device.mcuState("ARM1").at("version"), "210");
    EXPECT_EQ(device.requests(), kWholeUpdate);
}

TEST(Update, LeavesAnUpToDateMcuAlone) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({2, 1, 0})});

    expectSuccess(device.update(kTimeout), "up-to-date.note");
    EXPECT_EQ(device.requests(), kQuestionsOnly);
    EXPECT_THAT(device.storedImage("ARM1"), IsEmpty());
}

TEST(Update, IsForcedOntoAnUpToDateMcuByForceUpdate) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config({{"ForceUpdate", "true"}}));
    device.connect({arm1({2, 1, 0})});

    expectSuccess(device.update(kTimeout), "force-update.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    EXPECT_EQ(device.requests(), kWholeUpdate);
}

TEST(Update, TakesAnOlderFileWhenOnlyDifferenceCounts) {
    Device device;
    const FirmwareImage image = arm1Image({2, 0, 9});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    device.connect({arm1({2, 1, 0})});

    expectSuccess(device.update(kTimeout), "downgrade.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    EXPECT_EQ(device.mcuState("ARM1").at("version"), "209");
    EXPECT_EQ(device.requests(), kWholeUpdate);
}

TEST(Update, TakesAHigherFileWhenOnlyHigherVersionsCount) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 1});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config({{"HigherVersion", "true"}}));
    device.connect({arm1({2, 1, 0})});

    expectSuccess(device.update(kTimeout), "higher-version-higher.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    EXPECT_EQ(device.requests(), kWholeUpdate);
}

TEST(Update, LeavesAnEqualFileWhenOnlyHigherVersionsCount) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config({{"HigherVersion", "true"}}));
    device.connect({arm1({2, 1, 0})});

    expectSuccess(device.update(kTimeout), "higher-version-equal.note");
    EXPECT_EQ(device.requests(), kQuestionsOnly);
}

TEST(Update, LeavesALowerFileWhenOnlyHigherVersionsCount) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 0, 9}));
    device.configuration(arm1Config({{"HigherVersion", "true"}}));
    device.connect({arm1({2, 1, 0})});

    expectSuccess(device.update(kTimeout), "higher-version-lower.note");
    EXPECT_EQ(device.requests(), kQuestionsOnly);
}

TEST(Update, NeverSendsAnImageForOtherHardware) {
    Device device;
    device.firmware("arm1.bin",
                    FirmwareImage(3000).version({2, 1, 0}).hardware({0xA1, 0xB2, 0xC3, 0xD5}));
    device.configuration(arm1Config({{"ForceUpdate", "true"}}));
    device.connect({arm1({1, 0, 0})});

    expectFailure(device.update(kTimeout), "hardware-mismatch.note");
    EXPECT_THAT(device.storedImage("ARM1"), IsEmpty());
    EXPECT_EQ(device.requests(), kAttemptsOfAFailedJob * kHardwareOnly);
}

TEST(Update, TakesHardwareThatIsEqualUnderTheMask) {
    Device device;
    const FirmwareImage image =
        FirmwareImage(3000).version({2, 1, 0}).hardware({0xA1, 0xB2, 0xC3, 0xD5});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config({{"hardwareInfoMask", "ffffff00"}}));
    device.connect({arm1({1, 0, 0})});

    expectSuccess(device.update(kTimeout), "mask.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    EXPECT_EQ(device.requests(), kWholeUpdate);
}

TEST(Update, NeverSendsAnImageWhoseMaskIsTooShort) {
    Device device;
    device.firmware("arm1.bin",
                    FirmwareImage(3000).version({2, 1, 0}).hardware({0xA1, 0xB2, 0xC3, 0xD5}));
    device.configuration(arm1Config({{"hardwareInfoMask", "ffff"}}));
    device.connect({arm1({1, 0, 0})});

    expectFailure(device.update(kTimeout), "hardware-mismatch.note");
    EXPECT_THAT(device.storedImage("ARM1"), IsEmpty());
    EXPECT_EQ(device.requests(), kAttemptsOfAFailedJob * kHardwareOnly);
}

TEST(Update, SendsNoSetToBootToAnMcuInBootState) {
    Device device;
    const FirmwareImage image = arm1Image({2, 1, 0});
    device.firmware("arm1.bin", image);
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0}, "boot")});

    expectSuccess(device.update(kTimeout), "already-in-boot.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    EXPECT_EQ(device.requests(),
              Requests({"fe060b010113ff", "fe0601010109ff", "fe0501010108ff", "fe050501010cff"}));
}

TEST(Update, GivesUpAnMcuThatNeverReachesBootStateAfterFiveRounds) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})}, kNeverBoots);

    const RunResult result = device.update(kTimeout);

    expectFailure(result, "never-boot.note");
    const Requests round = {"fe0501010108ff", "fe050301010aff"};
    EXPECT_EQ(device.requests(),
              kAttemptsOfAFailedJob * (Requests({"fe060b010113ff", "fe0601010109ff"}) + 5 * round +
                                       Requests({"fe050901000fff"})));
    EXPECT_EQ(countLines(result.output, "Not boot state. retry. (wait 1s) "),
              kAttemptsOfAFailedJob * 5U);
}

TEST(Update, SendsNothingWithoutPermission) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0}, "boot")}, kRefusesPermission);

    expectFailure(device.update(kTimeout), "permission-refused.note");
    EXPECT_THAT(device.storedImage("ARM1"), IsEmpty());
    EXPECT_EQ(device.requests(), kAttemptsOfAFailedJob *
                                     Requests({"fe060b010113ff", "fe0601010109ff", "fe0501010108ff",
                                               "fe050501010cff", "fe050901000fff"}));
}

TEST(Update, AsksASilentMcuTenTimesInEachAttempt) {
    Device device;
    device.firmware("arm1.bin", arm1Image({2, 1, 0}));
    device.configuration(arm1Config());
    device.connect({arm1({1, 0, 0})}, kSilent);

    expectFailure(device.update(2), "silent.note");
    EXPECT_EQ(device.requests(), kAttemptsOfAFailedJob * (10 * Requests({"fe060b010113ff"}) +
                                                          Requests({"fe050901000fff"})));
}

TEST(Update, BringsEachOfTwoMcusItsImage) {
    Device device;
    const FirmwareImage image1 = arm1Image({2, 1, 0});
    const FirmwareImage image2 = FirmwareImage(2048).version({3, 0, 0}).hardware({0x0E, 0x0F});
    device.firmware("arm1.bin", image1);
    device.firmware("arm2.bin", image2);
    device.configuration(arm1Config().entry(2, "ARM2", "arm2.bin", 2, {{"HigherVersion", "true"}}));
    device.connect({arm1({1, 0, 0}), {"ARM2", 2, "0e0f", {1, 2, 3}}});

    expectSuccess(device.update(kTimeout), "two-mcus.note");
    EXPECT_EQ(device.storedImage("ARM1"), image1.padded());
    EXPECT_EQ(device.storedImage("ARM2"), image2.padded());
    EXPECT_EQ(device.requests(),
              kWholeUpdate + Requests({"fe060b010214ff", "fe060101020aff", "fe0501010209ff",
                                       "fe050301020bff", "fe0501010209ff", "fe050501020dff"}));
}

}  // namespace
