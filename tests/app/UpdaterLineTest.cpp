#include <gmock/gmock.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "app/MCUUpdater.h"
#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "technic/TimeUtil.h"
#include "tests/app/JobFolder.h"
#include "tests/app/UpdaterFixture.h"
#include "tests/mcu/NoteFile.h"

using testing::Each;
using testing::HasSubstr;

namespace {

using namespace answers;

constexpr int kStartUploadAttempts = 10;
constexpr long kStopPollMilliseconds = 100;

class UpdaterLine : public Updater {};

TEST_F(UpdaterLine, IsLeftByTheKeeperAndClosedFromTheTransferOn) {
    entry.fileVersion = "211";
    entry.filePath = "no-such-file.bin";
    mcu.answer(FakeMcu::kUpdate, {kPermitted});
    attempt();
    EXPECT_EQ(result, 0);
    const std::string transfer = "MCUUpdater X modem start....\n";
    std::string expected = transfer + "Xmodem start !! \nCan't open file!";
    for (int count = 0; count < kStartUploadAttempts; ++count) {
        expected +=
            "MCUSessionControler::communicate 1111111111\n"
            "SendCommand : fe 05 09 01 00 0f ff 00 00\n";
    }
    const std::string note = noteText();
    const std::size_t begin = note.find(transfer);
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(note.substr(begin), expected);
    // A worker that still ran at the end would be reported.
    EXPECT_FALSE(exists(device_paths::kThreadExceptionLog));
}

TEST_F(UpdaterLine, IsClearedOfWhatCameBeforeTheFirstQuestion) {
    mcu.answer(FakeMcu::kStopUpload, {kHardwareAb02, Bytes{}});
    attempt();
    EXPECT_EQ(result, 1);
}

// In the boot loop, whose waits leave the line to the keeper.
TEST_F(UpdaterLine, KeepsTheMcuFromUploadingEveryTwoSecondsWhileItAsks) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {kAppState});
    const pid_t ownThread = gettid();
    std::atomic<int> sleeps{0};
    std::atomic<int> sleepsOfOtherLength{0};
    const AtSleep watch([&](long milliseconds) {
        if (gettid() != ownThread) {
            ++(milliseconds == 2000 ? sleeps : sleepsOfOtherLength);
        }
    });
    attempt();
    EXPECT_GE(sleeps, 2);
    EXPECT_EQ(sleepsOfOtherLength, 0);
    // One in the clean-up and one before the hardware question are not the keeper's.
    EXPECT_GT(mcu.stopUploadCount(), 2);
}

TEST_F(UpdaterLine, StopsTheWorkerOfAFailedAttemptWhenItGoes) {
    entry.fileHardware = "ab02";
    attempt();
    EXPECT_THAT(printed, HasSubstr("force stop thread(doCycleWorks,"));
}

TEST_F(UpdaterLine, ClosesTheLineAtTheEnd) {
    attempt();
    EXPECT_EQ(portsAtTheEnd, 1);
}

TEST_F(UpdaterLine, ClosesTheLineBeforeItWaitsForItsKeeper) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kUpdate, {kPermitted});
    std::vector<long> portsMeanwhile;
    const AtSleep watch([&](long milliseconds) {
        if (milliseconds == kStopPollMilliseconds) {
            portsMeanwhile.push_back(openPorts());
        }
    });
    attempt();
    EXPECT_THAT(portsMeanwhile, Each(1));
}

TEST_F(UpdaterLine, FailsWhenTheDeviceIsGoneBeforeTheTransfer) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {kAppState, kBootState});
    mcu.answer(FakeMcu::kUpdate, {kPermitted});
    deviceName = "line";
    std::filesystem::create_symlink(mcu.line().path(), deviceName);
    hasKeeper = false;
    const AtSleep inTheFirstRound([&](long milliseconds) {
        if (milliseconds == kBootWaitMilliseconds) {
            std::filesystem::remove(deviceName);
        }
    });
    attempt();
    EXPECT_EQ(result, 0);
    EXPECT_THAT(noteText(), HasSubstr("MCUUpdater X modem start....\nOpen File Fail  \n"
                                      "MCUSessionControler::communicate 1111111111\n"));
}

TEST_F(UpdaterLine, SetsTheLineUpAgainForTheTransfer) {
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kState, {kAppState, kBootState});
    mcu.answer(FakeMcu::kUpdate, {kPermitted});
    hasKeeper = false;
    const AtSleep inTheFirstRound([&](long milliseconds) {
        if (milliseconds == kBootWaitMilliseconds) {
            termios other = mcu.line().settings();
            (void)cfsetspeed(&other, B1200);
            other.c_cflag |= CSTOPB;
            mcu.line().setSettings(other);
        }
    });
    attempt();
    const termios settings = mcu.line().settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B115200));
    EXPECT_EQ(settings.c_cflag & CSTOPB, 0U);
}

// Each read of the silent line takes three seconds and is followed by a short pause.
TEST_F(UpdaterLine, WaitsFifteenSecondsForTheTransferToBegin) {
    constexpr long kPauseMilliseconds = 5;
    writeFile(entry.filePath, "image");
    entry.fileVersion = "211";
    mcu.answer(FakeMcu::kUpdate, {kPermitted});
    hasKeeper = false;
    int reads = 0;
    const AtSleep afterEachRead(
        [&](long milliseconds) { reads += milliseconds == kPauseMilliseconds ? 1 : 0; });
    attempt(5);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(noteText(), HasSubstr("Revcice Command TimeOut"));
    EXPECT_GE(reads, 5);
    EXPECT_LE(reads, 7);
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
