#include "technic/SystemControl.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <ostream>
#include <string>

#include "tests/technic/ControlDaemon.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/RunningSystem.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::string rebootLog() {
    return withoutTimes(contentOf(device_paths::kRebootLog));
}

// A request as it goes over the line.
std::string request(const std::string& command) {
    const auto length = static_cast<std::uint32_t>(command.size());
    return std::string(reinterpret_cast<const char*>(&length), sizeof(length)) + command;
}

class RunningFlag : public testing::Test {
  protected:
    RunningSystem m_system;
};

TEST_F(RunningFlag, IsSetAtFirst) {
    EXPECT_NE(getSystemRunningFlag(), 0);
}

TEST_F(RunningFlag, HoldsTheValueGiven) {
    for (const int flag : {0, 1, -3, 5}) {
        const StdoutCapture quiet;
        setSystemRunningFlag(flag, "reason");
        EXPECT_EQ(getSystemRunningFlag(), flag);
    }
}

TEST_F(RunningFlag, StopPrintsItsBannerAndIsRecorded) {
    StdoutCapture capture;
    setSystemRunningFlag(0, "GThread teardown exception.");
    EXPECT_EQ(capture.text(), stopBanner("0", "GThread teardown exception."));
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] GThread teardown exception.\n");
}

TEST_F(RunningFlag, OtherValuesPrintTheirBannerAndAreNotRecorded) {
    StdoutCapture capture;
    setSystemRunningFlag(-7, "why %s");
    EXPECT_EQ(capture.text(), stopBanner("-7", "why %s"));
    EXPECT_FALSE(std::filesystem::exists(device_paths::kRebootLog));
}

TEST_F(RunningFlag, StopMovesAFullLogAside) {
    const StdoutCapture quiet;
    writeContent(device_paths::kRebootLog, std::string(10240, 'x'));
    setSystemRunningFlag(0, "new");
    const std::string backup = std::string(device_paths::kRebootLog) + ".1";
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] new\n");
    EXPECT_EQ(contentOf(backup).size(), 10240U);
    std::filesystem::remove(backup);
}

TEST(LocalCommand, GoesOutAsItsLengthAndItsBytes) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    ASSERT_TRUE(daemon.isReady());
    EXPECT_EQ(sendLocalCommand("mv a b", 5), 0);
    EXPECT_EQ(daemon.received(), request("mv a b"));
}

struct CutCase {
    std::size_t length;
    std::size_t sent;
};

void PrintTo(const CutCase& row, std::ostream* out) {
    *out << row.length << " bytes";
}

class LongLocalCommand : public testing::TestWithParam<CutCase> {};

TEST_P(LongLocalCommand, IsCutAt999Bytes) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    std::string command(GetParam().length, 'c');
    command.back() = 'e';
    EXPECT_EQ(sendLocalCommand(command, 5), 0);
    EXPECT_EQ(daemon.received(), request(command.substr(0, GetParam().sent)));
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongLocalCommand,
                         testing::Values(CutCase{1, 1}, CutCase{999, 999}, CutCase{1000, 999},
                                         CutCase{1200, 999}));

class LocalCommandReply : public testing::TestWithParam<std::int32_t> {};

TEST_P(LocalCommandReply, IsReturned) {
    const ControlDaemon daemon(ControlDaemon::reply(GetParam()));
    EXPECT_EQ(sendLocalCommand("command", 5), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Codes, LocalCommandReply, testing::Values(0, 1, -5, 0x12345678));

TEST(LocalCommand, ShortReplyIsMinusOne) {
    const ControlDaemon daemon({std::string(3, '\0')});
    EXPECT_EQ(sendLocalCommand("command", 5), -1);
}

TEST(LocalCommand, HangUpWithoutAReplyIsMinusOne) {
    const ControlDaemon daemon({""});
    EXPECT_EQ(sendLocalCommand("command", 5), -1);
}

TEST(LocalCommand, HalfAReplyIsNotWaitedForEver) {
    const ControlDaemon daemon({std::string(2, '\0'), true});
    EXPECT_EQ(sendLocalCommand("command", 1), -1);
}

TEST(LocalCommand, NoReplyInTimeIsMinusTwo) {
    const ControlDaemon daemon(ControlDaemon::silence());
    const auto start = steady_clock::now();
    EXPECT_EQ(sendLocalCommand("command", 1), -2);
    EXPECT_GE(steady_clock::now() - start, milliseconds(990));
}

class UnwantedReply : public testing::TestWithParam<int> {};

TEST_P(UnwantedReply, IsNotWaitedFor) {
    ControlDaemon daemon(ControlDaemon::silence());
    const auto start = steady_clock::now();
    EXPECT_EQ(sendLocalCommand("command", GetParam()), -2);
    EXPECT_LT(steady_clock::now() - start, milliseconds(900));
    EXPECT_EQ(daemon.received(), request("command"));
}

INSTANTIATE_TEST_SUITE_P(Timeouts, UnwantedReply, testing::Values(0, -1));

TEST(LocalCommand, EmptyCommandIsNotSent) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("", 5), -9);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(daemon.received(), "");
}

TEST(LocalCommand, WithoutADaemonSaysSo) {
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 5), -9);
    EXPECT_EQ(capture.text(), "connect_to_local_md: No such file or directory\n");
}

TEST(LocalCommand, DaemonThatHangsUpAtOnceDoesNotEndTheProcess) {
    for (int i = 0; i < 20; ++i) {
        ControlDaemon daemon({""});
        const int result = sendLocalCommand(std::string(999, 'c'), 5);
        EXPECT_TRUE(result == -1 || result == -9) << result;
    }
}

TEST(LocalCommand, SignalDoesNotEndTheWait) {
    const ControlDaemon daemon({ControlDaemon::reply(3).bytes, false, milliseconds(300)});
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupt, &before);
    const itimerval every50Ms{{0, 50000}, {0, 50000}};
    setitimer(ITIMER_REAL, &every50Ms, nullptr);
    EXPECT_EQ(sendLocalCommand("command", 5), 3);
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
}

struct RequestCase {
    void (*make)(const std::string& reason);
    const char* category;
    const char* command;
};

void PrintTo(const RequestCase& row, std::ostream* out) {
    *out << row.category;
}

class SystemRequest : public testing::TestWithParam<RequestCase> {
  protected:
    std::string record(const std::string& reason) const {
        return std::string("TIME,[") + GetParam().category + "] " + reason + "\n";
    }

    RunningSystem m_system;
};

TEST_P(SystemRequest, IsRecordedAndSentToTheDaemon) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    GetParam().make("a reason");
    EXPECT_EQ(rebootLog(), record("a reason"));
    EXPECT_EQ(daemon.received(), request(GetParam().command));
}

TEST_P(SystemRequest, IsRecordedWithoutADaemon) {
    StderrCapture capture;
    GetParam().make("");
    EXPECT_EQ(rebootLog(), record(""));
    EXPECT_EQ(capture.text(), "connect_to_local_md: No such file or directory\n");
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SystemRequest,
    testing::Values(RequestCase{Reboot, "Reboot", "/factory_setting/reboot.sh &"},
                    RequestCase{Restart, "Restart", "sh /factory_setting/RestartProgram.sh &"}));

}  // namespace
