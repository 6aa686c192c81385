#include <gtest/gtest.h>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// Whole jobs. The notes are the very ones that the tests on the host compare with.
namespace {

using std::chrono::seconds;

TEST(Update, BringsEachOfTwoMcusItsImage) {
    Machine machine;
    const FirmwareImage image1 = arm1Image({2, 1, 0});
    const FirmwareImage image2 = FirmwareImage(2048).version({3, 0, 0}).hardware({0x0E, 0x0F});
    machine.firmware("arm1.bin", image1);
    machine.firmware("arm2.bin", image2);
    machine.configuration(
        arm1Config().entry(2, "ARM2", "arm2.bin", 2, {{"HigherVersion", "true"}}));
    machine.connect({arm1({1, 0, 0}), {"ARM2", 2, "0e0f", {1, 2, 3}}});

    expectSuccess(machine.update(seconds(150)), "two-mcus.note");
    EXPECT_EQ(machine.storedImage("ARM1"), image1.padded());
    EXPECT_EQ(machine.storedImage("ARM2"), image2.padded());
    EXPECT_EQ(machine.mcuState("ARM1").at("version"), "210");
    EXPECT_EQ(machine.mcuState("ARM2").at("version"), "300");
}

TEST(Update, LeavesAnUpToDateMcuAlone) {
    Machine machine;
    machine.firmware("arm1.bin", arm1Image({2, 1, 0}));
    machine.configuration(arm1Config());
    machine.connect({arm1({2, 1, 0})});

    expectSuccess(machine.update(seconds(90)), "up-to-date.note");
    EXPECT_THAT(machine.storedImage("ARM1"), testing::IsEmpty());
}

TEST(Update, NeverSendsAnImageToOtherHardware) {
    Machine machine;
    machine.firmware("arm1.bin",
                     FirmwareImage(3000).version({2, 1, 0}).hardware({0xA1, 0xB2, 0xC3, 0xD5}));
    machine.configuration(arm1Config({{"ForceUpdate", "true"}}));
    machine.connect({arm1({1, 0, 0})});

    expectFailure(machine.update(seconds(350)), "hardware-mismatch.note");
    EXPECT_THAT(machine.storedImage("ARM1"), testing::IsEmpty());
}

TEST(Reboot, IsOneRequest) {
    Machine machine;
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})});

    const RunResult result = machine.runTool("2 /job/update.xml /job/firmware/ 2", seconds(90));

    EXPECT_EQ(result.status, 0);
    expectNote(result, "reboot.note");
    EXPECT_EQ(machine.requests(), Requests({"fe011004000f000024ff"}));
}

TEST(Reset, IsOneRequest) {
    Machine machine;
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})});

    const RunResult result = machine.runTool("3 /job/update.xml /job/firmware/ 2", seconds(90));

    EXPECT_EQ(result.status, 0);
    expectNote(result, "reset.note");
    EXPECT_EQ(machine.requests(), Requests({"fe011004002900003eff"}));
}

}  // namespace
