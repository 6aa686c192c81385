#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "app/MCUUpdater.h"
#include "mcu/UpdateNote.h"
#include "technic/TimeUtil.h"
#include "tests/app/FakeMcu.h"
#include "tests/app/NoThreads.h"
#include "tests/app/SleepHook.h"
#include "tests/mcu/LineStatus.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

using testing::Each;
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
const Bytes kPermitted = {0xFE, 0x05, 0x06, 0x01, 0x00, 0x0C, 0xFF};

// Long enough for an answer on a busy machine, and short enough where none is to come.
constexpr int kPatientSeconds = 10;
constexpr int kImpatientSeconds = 1;

constexpr long kBootWaitMilliseconds = 1000;
constexpr long kStopPollMilliseconds = 100;

// Does something before each sleep of any thread.
class AtSleep : public SleepHook {
  public:
    explicit AtSleep(std::function<void(long milliseconds)> action) : m_action(std::move(action)) {}

    long beforeSleep(long milliseconds) override {
        m_action(milliseconds);
        return milliseconds;
    }

  private:
    const std::function<void(long)> m_action;
};

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
    void attempt(std::optional<int> timeoutSeconds = kPatientSeconds) {
        mcu.start();
        const OutputCapture output(1);
        {
            std::optional<NoThreads> noKeeper;
            if (!hasKeeper) {
                noKeeper.emplace();
            }
            MCUUpdater updater;
            updater.setEntry(entry);
            updater.setDeviceName(deviceName);
            updater.setParam(115200, 8, 0, 0);
            if (timeoutSeconds) {
                updater.setTimeout(*timeoutSeconds);
            }
            result = updater.update();
            portsAtTheEnd = openPorts();
        }
        requests = mcu.stop();
        printed = output.text();
    }

    // How many descriptors of the line this process has; the test's own is always among them.
    long openPorts() const {
        const std::filesystem::directory_iterator open("/proc/self/fd");
        return std::count_if(begin(open), end(open), [this](const auto& descriptor) {
            std::error_code gone;
            return std::filesystem::read_symlink(descriptor, gone) == mcu.line().path();
        });
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

    // What was printed but for what tells of single bytes and of the session.
    Texts transcript() const {
        constexpr std::array<const char*, 9> kBegins = {
            "slept ",  "no thread",        "MCUUpdater ",    "SendCommand : ", "Cur ",
            "Update ", "Not boot state. ", "can not getMCU", "Do not need "};
        Texts found;
        std::istringstream lines(printed);
        for (std::string line; std::getline(lines, line);) {
            line.erase(0, line.find_first_not_of(' '));
            if (std::any_of(kBegins.begin(), kBegins.end(),
                            [&](const char* text) { return line.rfind(text, 0) == 0; })) {
                found.push_back(line);
            }
        }
        return found;
    }

    PreparedEntry entry;
    FakeMcu mcu;
    std::string deviceName = mcu.line().path();
    bool hasKeeper = true;
    int result = -1;
    long portsAtTheEnd = -1;
    Texts requests;
    std::string printed;
};

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

// In the boot loop, whose waits leave the line to the keeper.
TEST_F(Updater, KeepsTheMcuFromUploadingEveryTwoSecondsWhileItAsks) {
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

TEST_F(Updater, StopsTheWorkerOfAFailedAttemptWhenItGoes) {
    entry.fileHardware = "ab02";
    attempt();
    EXPECT_THAT(printed, HasSubstr("force stop thread(doCycleWorks,"));
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

TEST_F(Updater, ClosesTheLineAtTheEnd) {
    attempt();
    EXPECT_EQ(portsAtTheEnd, 1);
}

TEST_F(Updater, ClosesTheLineBeforeItWaitsForItsKeeper) {
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

TEST_F(Updater, FailsWhenTheDeviceIsGoneBeforeTheTransfer) {
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

TEST_F(Updater, SetsTheLineUpAgainForTheTransfer) {
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
TEST_F(Updater, WaitsFifteenSecondsForTheTransferToBegin) {
    constexpr long kPauseMilliseconds = 5;
    std::ofstream(entry.filePath) << "image";
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
