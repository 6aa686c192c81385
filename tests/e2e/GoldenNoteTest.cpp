#include "tests/e2e/GoldenNote.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/e2e/FirmwareImage.h"

namespace {

const std::vector<std::string> kGolden = {"first\n", "second\n"};
const char kKeeperCycle[] =
    "MCUSessionControler::communicate 1111111111\n"
    "SendCommand : fe 05 07 01 00 0d ff 00 00\n"
    "MCUSessionControler::communicate 22222222222\n";

bool isGolden(const std::string& note) {
    return differenceFromGolden(note, kGolden).empty();
}

TEST(GoldenNote, AcceptsTheVeryText) {
    EXPECT_TRUE(isGolden("first\nsecond\n"));
}

TEST(GoldenNote, RefusesAMissingMessage) {
    EXPECT_FALSE(isGolden("first\n"));
}

TEST(GoldenNote, RefusesAnAddedMessage) {
    EXPECT_FALSE(isGolden("first\nsecond\nthird\n"));
}

TEST(GoldenNote, RefusesAChangedMessage) {
    EXPECT_FALSE(isGolden("first\nSecond\n"));
}

TEST(GoldenNote, RefusesAnotherOrder) {
    EXPECT_FALSE(isGolden("second\nfirst\n"));
}

TEST(GoldenNote, TakesOutWholeKeeperCycles) {
    EXPECT_TRUE(isGolden("first\n" + std::string(kKeeperCycle) + kKeeperCycle + "second\n"));
}

TEST(GoldenNote, TakesOutAKeeperCycleThatOthersInterrupt) {
    EXPECT_TRUE(
        isGolden("MCUSessionControler::communicate 1111111111\nfirst\n"
                 "SendCommand : fe 05 07 01 00 0d ff 00 00\nsecond\n"));
}

TEST(GoldenNote, RefusesAnotherRequestInTheKeepersPlace) {
    EXPECT_FALSE(
        isGolden("first\nMCUSessionControler::communicate 1111111111\n"
                 "SendCommand : fe 05 09 01 00 0f ff 00 00\n"
                 "MCUSessionControler::communicate 22222222222\nsecond\n"));
}

TEST(GoldenNote, TakesOutTheWatchdogFeedersLines) {
    EXPECT_TRUE(
        isGolden("____start GThreadWatchdog thread\nfirst\nMCUHardwareWatchDog send GPIO_SET_WTD\n"
                 "MCUHardwareWatchDog send GPIO_SET_WTD success\nsecond\n"));
}

TEST(GoldenFile, LetsTheFeederInterruptATransfersLine) {
    const auto file = std::filesystem::path(E2E_DIRECTORY) / "two-messages.note";
    std::filesystem::create_directories(file.parent_path());
    writeText(file, "waiting for ACK,1,1029,...Ok!\\r\nRetry for ACK,1,1029...OK\\r\n");

    EXPECT_EQ(goldenMessages(file),
              (std::vector<std::string>{"waiting for ACK,1,1029,...", "Ok!\r\n",
                                        "Retry for ACK,1,1029...", "OK\r\n"}));
}

TEST(GoldenNote, RefusesAFeedBeforeTheFeederStarted) {
    EXPECT_FALSE(
        isGolden("first\nMCUHardwareWatchDog send GPIO_SET_WTD\n"
                 "MCUHardwareWatchDog send GPIO_SET_WTD success\nsecond\n"));
}

TEST(GoldenFile, WritesShortFormsOut) {
    const auto file = std::filesystem::path(E2E_DIRECTORY) / "short-forms.note";
    std::filesystem::create_directories(file.parent_path());
    writeText(file,
              "# a comment\n@request fe 05 ff\n@repeat 2\n@reply fe ff\n@end\n@no-reply\n@unended "
              "So\nOk!\\r\n");

    std::string text;
    for (const std::string& message : goldenMessages(file)) {
        text += message;
    }

    EXPECT_EQ(text,
              "MCUSessionControler::communicate 1111111111\n"
              "SendCommand : fe 05 ff 00 00 00 00 00 00\n"
              "MCUSessionControler::communicate 22222222222\n"
              "RecvCommand : fe \nRecvCommand : ff \nRecvCommand : fe \nRecvCommand : ff \n"
              "RecvCommand : 00 \nrecvCommand Ret = 0\nSoOk!\r\n");
}

}  // namespace
