#include "technic/SystemControl.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "tests/technic/ControlDaemon.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/RunningSystem.h"
#include "tests/technic/SocketCalls.h"

namespace {

std::string rebootLog() {
    return withoutTimes(contentOf(device_paths::kRebootLog));
}

class RunningFlag : public testing::Test {
  protected:
    RunningSystem m_system;
};

// Read before any test or fixture sets it.
const int flagAtFirst = getSystemRunningFlag();

TEST_F(RunningFlag, IsSetAtFirst) {
    EXPECT_NE(flagAtFirst, 0);
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

TEST_F(RunningFlag, ReasonOfAStopIsRecordedAsItIs) {
    const StdoutCapture quiet;
    setSystemRunningFlag(0, "");
    setSystemRunningFlag(0, " 100%s%n ");
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] \nTIME,[SystemStop]  100%s%n \n");
}

void stop(const std::string& reason) {
    const StdoutCapture quiet;
    setSystemRunningFlag(0, reason);
}

struct RecordCase {
    void (*make)(const std::string& reason);
    const char* category;
};

void PrintTo(const RecordCase& row, std::ostream* out) {
    *out << row.category;
}

class RebootLog : public testing::TestWithParam<RecordCase> {
  protected:
    std::string record(const std::string& reason) const {
        return std::string("TIME,[") + GetParam().category + "] " + reason + "\n";
    }

    const RunningSystem m_system;
    const ControlDaemon m_daemon{ControlDaemon::reply(0)};
    const std::string m_backup = std::string(device_paths::kRebootLog) + ".1";
};

TEST_P(RebootLog, Of10240BytesIsMovedAside) {
    writeContent(device_paths::kRebootLog, std::string(10240, 'x'));
    GetParam().make("new");
    EXPECT_EQ(rebootLog(), record("new"));
    EXPECT_EQ(contentOf(m_backup), std::string(10240, 'x'));
    std::filesystem::remove(m_backup);
}

TEST_P(RebootLog, Of10239BytesIsAppendedTo) {
    writeContent(device_paths::kRebootLog, std::string(10239, 'x'));
    GetParam().make("new");
    EXPECT_EQ(rebootLog(), std::string(10239, 'x') + record("new"));
    EXPECT_FALSE(std::filesystem::exists(m_backup));
}

INSTANTIATE_TEST_SUITE_P(Kinds, RebootLog,
                         testing::Values(RecordCase{stop, "SystemStop"},
                                         RecordCase{Reboot, "Reboot"},
                                         RecordCase{Restart, "Restart"}));

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
    EXPECT_EQ(daemon.received(), ControlDaemon::request(GetParam().command));
}

TEST_P(SystemRequest, IsRecordedBeforeItIsSent) {
    const ControlDaemon daemon(ControlDaemon::reply(0));
    SocketCalls calls;
    std::string log;
    calls.beforeConnect = [&](int, const sockaddr&, socklen_t) { log = rebootLog(); };
    GetParam().make("a reason");
    EXPECT_EQ(log, record("a reason"));
}

TEST_P(SystemRequest, WaitsThirtySecondsForTheReply) {
    const ControlDaemon daemon(ControlDaemon::silence());
    SocketCalls calls;
    timeval waited{};
    calls.select = [&](const timeval& wait) {
        waited = wait;
        return 0;
    };
    GetParam().make("a reason");
    EXPECT_EQ(waited.tv_sec, 30);
    EXPECT_EQ(waited.tv_usec, 0);
}

TEST_P(SystemRequest, LeavesTheSystemRunningWhateverTheReply) {
    const ControlDaemon daemon(ControlDaemon::reply(-1));
    StdoutCapture capture;
    GetParam().make("a reason");
    EXPECT_EQ(getSystemRunningFlag(), 1);
    EXPECT_EQ(capture.text(), "");
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
