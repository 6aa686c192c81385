#include <gtest/gtest.h>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

// The serial device is taken away and brought back. What the tests do in the five seconds between
// two attempts has a real second for it.
namespace {

using nlohmann::json;

constexpr int kScale = 5;
constexpr int kTimeoutOfAMovedLine = 3;

const json kHoldsTheSecondBlock =
    json::array({{{"on", "block"}, {"n", {{"from", 2}}}, {"do", "ignore"}}});
const json kForgetsTheFirstStartByte = json::array({{{"on", "start"}, {"n", 1}, {"do", "ignore"}}});

class LineAway : public testing::Test {
  protected:
    void SetUp() override {
        device.movableLine();
        device.timeScale(kScale);
        device.firmware("arm1.bin", image);
        device.configuration(arm1Config().lineSetting("deviceName", "/job/line"));
        writeText(device.jobFile("MCUUpdateSuccess"), "of an earlier job");
    }

    // Until the line is lost while a block waits for its reply.
    void startAndHangUpInTheTransfer() {
        device.connect({arm1({1, 0, 0})}, kHoldsTheSecondBlock);
        device.plugIn();
        device.startUpdate(kTimeoutOfAMovedLine);
        device.awaitOnLine("block 2");
        device.hangUp();
        device.pullOut();
    }

    void comeBackInBootState() {
        device.connect({arm1({1, 0, 0}, "boot")});
        device.plugIn();
    }

    const FirmwareImage image = arm1Image({2, 1, 0});
    Device device;
};

TEST_F(LineAway, AtTheStartIsFoundByTheNextAttempt) {
    device.connect({arm1({1, 0, 0})});
    device.startUpdate(kTimeoutOfAMovedLine);
    device.awaitNote("m_nParity");
    device.plugIn();

    expectSuccess(device.finish(), "line-comes-later.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

TEST_F(LineAway, BeforeTheTransferFailsTheAttemptAndTheNextOneSucceeds) {
    device.connect({arm1({1, 0, 0})}, kForgetsTheFirstStartByte);
    device.plugIn();
    device.startUpdate(kTimeoutOfAMovedLine);
    device.awaitOnLine("set-to-boot");
    device.pullOut();
    device.awaitNote("Open File Fail");
    device.plugIn();

    expectSuccess(device.finish(), "line-gone-before-transfer.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

TEST_F(LineAway, InTheTransferFailsTheAttemptAndTheNextOneSucceeds) {
    startAndHangUpInTheTransfer();
    device.awaitNote("Revcice Command TimeOut");
    comeBackInBootState();

    expectSuccess(device.finish(), "line-lost-in-transfer.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

TEST_F(LineAway, ForGoodFailsTheJobAndALaterOneSucceeds) {
    startAndHangUpInTheTransfer();

    expectFailure(device.finish(), "line-lost-for-good.note");

    comeBackInBootState();
    expectSuccess(device.update(kTimeoutOfAMovedLine), "already-in-boot.note");
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

}  // namespace
