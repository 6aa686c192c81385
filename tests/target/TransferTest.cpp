#include <gtest/gtest.h>

#include <algorithm>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// Transfers that do not go smoothly.
namespace {

using nlohmann::json;
using std::chrono::seconds;

constexpr std::size_t kSixBlocks = std::size_t{6} * 1024;

TEST(Transfer, OutlivesRefusedAndDamagedBlocksAndSucceedsAtTheRetryAfterACancellation) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kSixBlocks);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    // Block 2 twice refused, block 4 once damaged, block 5 cancelled.
    machine.connect({arm1({1, 0, 0})},
                    json::array({{{"on", "block"}, {"n", {2, 3}}, {"do", "nak"}},
                                 {{"on", "block"}, {"n", 6}, {"do", "damage"}, {"at", 700}},
                                 {{"on", "block"}, {"n", 8}, {"do", "cancel"}}}));

    expectSuccess(machine.update(seconds(150)), "cancelled-then-succeeded.note");
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
}

TEST(Transfer, SucceedsOverALineWithEvenParityAndTwoStopBits) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kSixBlocks);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config().lineSetting("Parity", "2").lineSetting("StopBits", "2"));
    machine.connect({arm1({1, 0, 0})});

    const RunResult result = machine.update(seconds(150));

    EXPECT_TRUE(result.markerExists) << result.note;
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
}

TEST(Transfer, SucceedsWhenTheMcuLostItsPowerInTheMiddle) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kSixBlocks);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})},
                    json::array({{{"on", "block"}, {"n", 4}, {"do", "power-cycle"}}}));

    expectSuccess(machine.update(seconds(150)), "mcu-lost-power.note");
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
}

TEST(Transfer, IsMadeUpForAfterTheDeviceLostItsPowerInTheMiddle) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0}, kSixBlocks);
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})}, json(), 9600);
    machine.boot(kUpdateCommand);
    machine.waitForMeaning("block 3", seconds(90));
    machine.cutPower();
    ASSERT_EQ(machine.mcuState("ARM1").at("state"), "boot");
    ASSERT_FALSE(machine.mcuState("ARM1").at("image_valid"));
    ASSERT_FALSE(machine.result().markerExists);
    const std::size_t requestsBefore = machine.requests().size();

    const RunResult result = machine.update(seconds(200));

    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.markerExists) << result.note;
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
    const Requests requests = machine.requests();
    const char kSetToBoot[] = "fe050301010aff";
    EXPECT_EQ(std::count(requests.begin() + static_cast<std::ptrdiff_t>(requestsBefore),
                         requests.end(), kSetToBoot),
              0);
}

}  // namespace
