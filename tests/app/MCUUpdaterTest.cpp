#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "app/MCUUpdater.h"
#include "mcu/UpdateNote.h"
#include "technic/TimeUtil.h"
#include "tests/app/FakeMcu.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using Texts = std::vector<std::string>;

const Bytes kHardwareAb01 = {0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x01, 0xC0, 0xFF};
const Bytes kVersion210 = {0xFE, 0x06, 0x02, 0x03, 0x02, 0x01, 0x00, 0x0E, 0xFF};
const Bytes kBootState = {0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF};
const Bytes kAppState = {0xFE, 0x05, 0x02, 0x01, 0x00, 0x08, 0xFF};
const Bytes kRefused = {0xFE, 0x05, 0x06, 0x01, 0x01, 0x0D, 0xFF};

// Long enough for an answer on a busy machine, and short enough where none is to come.
constexpr int kPatientSeconds = 10;
constexpr int kImpatientSeconds = 1;

class Updater : public testing::Test {
  protected:
    void SetUp() override {
        UpdateNote::remove();
        entry.armType = 3;
        entry.armName = "ARM3";
        entry.filePath = "arm3.bin";
        entry.fileVersion = "210";
        entry.fileHardware = "ab01";
        mcu.answer(FakeMcu::kHardware, {kHardwareAb01});
        mcu.answer(FakeMcu::kVersion, {kVersion210});
        mcu.answer(FakeMcu::kState, {kBootState});
        mcu.answer(FakeMcu::kUpdate, {kRefused});
    }

    // One attempt from beginning to end; the result, what was asked and what was printed.
    void attempt(int timeoutSeconds = kPatientSeconds) {
        mcu.start();
        const OutputCapture output(1);
        {
            MCUUpdater updater;
            updater.setEntry(entry);
            updater.setDeviceName(mcu.line().path());
            updater.setParam(115200, 8, 0, 0);
            updater.setTimeout(timeoutSeconds);
            result = updater.update();
        }
        requests = mcu.stop();
        printed = output.text();
    }

    // The note's lines of the sequence itself. The first one follows the blank with which the
    // session's parameters end.
    static Texts steps() {
        Texts found;
        std::istringstream note(noteText());
        for (std::string line; std::getline(note, line);) {
            const std::size_t begin = line.find("MCUUpdater ");
            if (begin <= 1) {
                found.push_back(line.substr(begin));
            }
        }
        return found;
    }

    PreparedEntry entry;
    FakeMcu mcu;
    int result = -1;
    Texts requests;
    std::string printed;
};

TEST_F(Updater, IsContentWithAnMcuThatIsUpToDate) {
    attempt();
    EXPECT_GT(result, 0);
    EXPECT_THAT(requests,
                ElementsAre(FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kStartUpload));
    EXPECT_THAT(steps(),
                ElementsAre("MCUUpdater clean Buffer....", "MCUUpdater get HardwareInfo....",
                            "MCUUpdater get Version....", "MCUUpdater check need update...."));
    EXPECT_THAT(noteText(),
                HasSubstr("Cur FileVer: 210   Update FileVer: 210  ForceUpdate=0 HigherVer=0\n"
                          "Do not need update....\n"));
}

TEST_F(Updater, KeepsTheMcuFromUploadingWhileItAsks) {
    attempt();
    // One in the clean-up, one before the hardware question, and the keeper's.
    EXPECT_GE(mcu.stopUploadCount(), 3);
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
    EXPECT_GT(result, 0);
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
    mcu.answer(FakeMcu::kState, {kAppState, kAppState, kBootState});
    attempt();
    EXPECT_THAT(requests, ElementsAre(FakeMcu::kHardware, FakeMcu::kVersion, FakeMcu::kState,
                                      FakeMcu::kSetToBoot, FakeMcu::kState, FakeMcu::kSetToBoot,
                                      FakeMcu::kState, FakeMcu::kUpdate, FakeMcu::kStartUpload));
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

TEST_F(Updater, StopsTheWorkerOfAFailedAttemptWhenItGoes) {
    entry.fileHardware = "ab02";
    attempt();
    EXPECT_THAT(printed, HasSubstr("force stop thread(doCycleWorks,"));
}

TEST_F(Updater, WaitsTheTimeoutBeforeItsFirstCommand) {
    const long long before = monotonicSeconds();
    attempt(kPatientSeconds);
    // Once before the first command, once more until the line is known to be silent.
    EXPECT_GE(monotonicSeconds() - before, 2 * kPatientSeconds - 1);
}

TEST(UpdaterWithoutDevice, FailsAtOnceAndSendsNothing) {
    UpdateNote::remove();
    const long long before = monotonicSeconds();
    MCUUpdater updater;
    updater.setDeviceName("/no/such/tty");
    updater.setParam(115200, 8, 0, 2);
    updater.setTimeout(1000);
    EXPECT_EQ(updater.update(), 0);
    EXPECT_LT(monotonicSeconds() - before, 1000);
    EXPECT_EQ(noteText(),
              " m_strDeviceName = /no/such/tty\n m_nBaudrate = 115200\n m_nDatabits = 8\n"
              " m_nStopbits = 0\n m_nParity = 2\n ");
}

}  // namespace
