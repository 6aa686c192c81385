#include <gmock/gmock.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "tests/app/UpdaterFixture.h"
#include "tests/mcu/LineStatus.h"
#include "tests/mcu/NoteFile.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using namespace answers;

void tellSleep(long milliseconds) {
    (void)std::printf("slept %ld ms\n", milliseconds);
}

// An answer that is given up as soon as it is there.
Bytes tooLongFrame() {
    Bytes frame(33, 0x20);
    frame[0] = 0xFE;
    return frame;
}

std::vector<Bytes> atTheTenthTime(const Bytes& answer) {
    std::vector<Bytes> answers(9, tooLongFrame());
    answers.push_back(answer);
    return answers;
}

// Without the keeper, whose lines come at any time.
TEST_F(Updater, TakesItsStepsAndItsWaitsInOrder) {
    entry.fileVersion = "211";
    entry.HigherVersion = true;
    mcu.answer(FakeMcu::kState, {kAppState, kBootState});
    hasKeeper = false;
    const AtSleep told(tellSleep);
    attempt(9);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(
        transcript(),
        ElementsAre("slept 9000 ms", "MCUUpdater clean Buffer....", "no thread",
                    "SendCommand : fe 05 07 01 00 0d ff 00 00", "MCUUpdater get HardwareInfo....",
                    "SendCommand : fe 05 07 01 00 0d ff 00 00",
                    "SendCommand : fe 06 0b 01 03 15 ff 00 00", "Cur HardwareInfo: ab01",
                    "Update HardwareInfo: ab01", "MCUUpdater get Version....",
                    "SendCommand : fe 06 01 01 03 0b ff 00 00", "MCUUpdater check need update....",
                    "Cur FileVer: 210   Update FileVer: 211  ForceUpdate=0 HigherVer=1",
                    "MCUUpdater set MCU to boot....", "SendCommand : fe 05 01 01 03 0a ff 00 00",
                    "Not boot state. retry. (wait 1s) ", "slept 1000 ms",
                    "SendCommand : fe 05 03 01 03 0c ff 00 00", "slept 1000 ms",
                    "SendCommand : fe 05 01 01 03 0a ff 00 00", "MCUUpdater get update signal....",
                    "SendCommand : fe 05 05 01 03 0e ff 00 00",
                    "SendCommand : fe 05 09 01 00 0f ff 00 00"));
    EXPECT_THAT(printed, HasSubstr("timeout : 9 s\n"));
}

TEST_F(Updater, HasATimeoutOfThreeSecondsUntilSet) {
    entry.fileHardware = "ab02";
    hasKeeper = false;
    const AtSleep told(tellSleep);
    attempt(std::nullopt);
    EXPECT_EQ(transcript().front(), "slept 3000 ms");
    EXPECT_THAT(printed, HasSubstr("timeout : 3 s\n"));
}

TEST_F(Updater, TakesTheTenthAnswerToEachQuestion) {
    entry.fileVersion = "211";
    hasKeeper = false;
    mcu.answer(FakeMcu::kHardware, atTheTenthTime(kHardwareAb01));
    mcu.answer(FakeMcu::kVersion, atTheTenthTime(kVersion210));
    mcu.answer(FakeMcu::kState, atTheTenthTime(kBootState));
    mcu.answer(FakeMcu::kUpdate, atTheTenthTime(kRefused));
    attempt();
    Texts expected;
    for (const char* question :
         {FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kState, FakeMcu::kUpdate}) {
        expected.insert(expected.end(), 10, question);
    }
    expected.emplace_back(FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
    // One in the clean-up and one before each hardware question.
    EXPECT_EQ(mcu.stopUploadCount(), 11);
}

TEST_F(Updater, IsContentWithAnMcuThatIsUpToDate) {
    attempt();
    EXPECT_EQ(result, 1);
    EXPECT_THAT(requests,
                ElementsAre(FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kStartUpload));
    EXPECT_THAT(steps(),
                ElementsAre("MCUUpdater clean Buffer....", "MCUUpdater get HardwareInfo....",
                            "MCUUpdater get Version....", "MCUUpdater check need update...."));
    EXPECT_THAT(noteText(),
                HasSubstr("Cur FileVer: 210   Update FileVer: 210  ForceUpdate=0 HigherVer=0\n"
                          "Do not need update....\n"));
}

TEST_F(Updater, StopsAtOtherHardware) {
    entry.fileHardware = "ab02";
    attempt();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(requests, ElementsAre(FakeMcu::kHardware, FakeMcu::kStartUpload));
    EXPECT_THAT(noteText(), HasSubstr("Cur HardwareInfo: ab01\nUpdate HardwareInfo: ab02\n"));
}

TEST_F(Updater, ComparesHardwareUnderTheMask) {
    entry.fileHardware = "ab02";
    entry.hardwareInfoMask = "ff00";
    attempt();
    EXPECT_EQ(result, 1);
    EXPECT_THAT(noteText(), HasSubstr("Cur HardwareInfo: ab01\nUpdate HardwareInfo: ab02\n"));
}

TEST_F(Updater, TakesNoImageUnderAMaskThatIsTooShort) {
    entry.hardwareInfoMask = "ff";
    attempt();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(requests, ElementsAre(FakeMcu::kHardware, FakeMcu::kStartUpload));
}

TEST_F(Updater, CutsHardwareTextsThatDoNotFitItsMessage) {
    entry.fileHardware = std::string(10000, 'a');
    attempt();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(noteText(), HasSubstr("Update HardwareInfo: " + std::string(234, 'a')));
    EXPECT_THAT(noteText(), Not(HasSubstr(std::string(235, 'a'))));
}

TEST_F(Updater, AsksForTheHardwareTenTimes) {
    mcu.answer(FakeMcu::kHardware, {});
    attempt(kImpatientSeconds);
    EXPECT_EQ(result, 0);
    Texts expected(10, FakeMcu::kHardware);
    expected.emplace_back(FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
}

TEST_F(Updater, AsksForTheVersionTenTimes) {
    mcu.answer(FakeMcu::kVersion, {});
    attempt(kImpatientSeconds);
    EXPECT_EQ(result, 0);
    Texts expected = {FakeMcu::kHardware};
    expected.insert(expected.end(), 10, FakeMcu::kVersion);
    expected.emplace_back(FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
}

TEST_F(Updater, OrdersNothingOfAnMcuThatIsInBootStateAlready) {
    entry.fileVersion = "211";
    attempt();
    EXPECT_THAT(requests, ElementsAre(FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kState,
                                      FakeMcu::kUpdate, FakeMcu::kStartUpload));
}

TEST_F(Updater, SendsNoImageWithoutPermission) {
    entry.fileVersion = "211";
    attempt();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(steps(),
                ElementsAre("MCUUpdater clean Buffer....", "MCUUpdater get HardwareInfo....",
                            "MCUUpdater get Version....", "MCUUpdater check need update....",
                            "MCUUpdater set MCU to boot....", "MCUUpdater get update signal...."));
}

TEST_F(Updater, OrdersTheBootStateUntilTheMcuIsInIt) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {kAppState, kAppState, kAppState, kAppState, kBootState});
    attempt();
    Texts expected = {FakeMcu::kHardware, FakeMcu::kVersion};
    for (int round = 0; round < 4; ++round) {
        expected.insert(expected.end(), {FakeMcu::kState, FakeMcu::kSetToBoot});
    }
    expected.insert(expected.end(), {FakeMcu::kState, FakeMcu::kUpdate, FakeMcu::kStartUpload});
    EXPECT_EQ(requests, expected);
    EXPECT_THAT(printed, HasSubstr("Not boot state. retry. (wait 1s) \n"));
    EXPECT_THAT(noteText(), Not(HasSubstr("Not boot state")));
}

TEST_F(Updater, GivesUpAnMcuThatIsNotInBootStateAfterFiveRounds) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {kAppState});
    attempt();
    EXPECT_EQ(result, 0);
    Texts expected = {FakeMcu::kHardware, FakeMcu::kVersion};
    for (int round = 0; round < 5; ++round) {
        expected.insert(expected.end(), {FakeMcu::kState, FakeMcu::kSetToBoot});
    }
    expected.emplace_back(FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
}

TEST_F(Updater, SaysOnStandardOutputAloneThatItGetsNoState) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {});
    attempt(kImpatientSeconds);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(printed, HasSubstr("\ncan not getMCUState!\n"));
    EXPECT_THAT(noteText(), Not(HasSubstr("can not getMCUState!")));
    Texts expected = {FakeMcu::kHardware, FakeMcu::kVersion};
    expected.insert(expected.end(), 10, FakeMcu::kState);
    expected.emplace_back(FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
}

TEST_F(Updater, AsksForPermissionTenTimes) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kUpdate, {});
    attempt(kImpatientSeconds);
    EXPECT_EQ(result, 0);
    Texts expected = {FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kState};
    expected.insert(expected.end(), 10, FakeMcu::kUpdate);
    expected.emplace_back(FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
}

TEST_F(Updater, GivesUpAnMcuThatCannotBeOrderedTenTimes) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {kAppState});
    hasKeeper = false;
    std::optional<NoLineStatus> everyWriteFails;
    const AtSleep inTheFirstRound([&](long milliseconds) {
        if (milliseconds == kBootWaitMilliseconds) {
            everyWriteFails.emplace();
        }
    });
    attempt();
    EXPECT_EQ(result, 0);
    Texts expected = {FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kState};
    expected.insert(expected.end(), 10, FakeMcu::kSetToBoot);
    expected.insert(expected.end(), 10, FakeMcu::kStartUpload);
    EXPECT_EQ(requests, expected);
}

}  // namespace
