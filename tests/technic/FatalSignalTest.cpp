#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "technic/DevicePaths.h"
#include "tests/technic/ControlDaemon.h"
#include "tests/technic/CrashRun.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/RunningSystem.h"

// Real signals in a process of their own. What the handler does with any number is seen in
// SignalHandlerTest.cpp.
namespace {

using Words = std::vector<std::string>;

constexpr char kStopReason[] = "Thread recv signal error .";
constexpr char kStopRecord[] = "TIME,[SystemStop] Thread recv signal error .\n";
constexpr char kLastWords[] =
    "SIGBUS or SIGSEGV or SIGFPE or SIGILL , sleep  ...\n"
    "SIGBUS or SIGSEGV or SIGFPE or SIGILL , after sleep !\n";

class FatalSignal : public testing::Test {
  protected:
    // The standard output of a run that ends at a fault.
    static std::string outputOf(const CrashRun& run, const std::string& thread,
                                const std::string& signal) {
        return report(run, thread, signal) + stopBanner("0", kStopReason) + kLastWords;
    }
    static std::string report(const CrashRun& run, const std::string& thread,
                              const std::string& signal) {
        return "thread(" + thread + ") received a signal info(" + signal + ")\n" + run.crashLine() +
               "\n";
    }
    static std::string records(const CrashRun& run, const std::string& thread,
                               const std::string& signal) {
        return "TIME,[SignalError] thread(" + thread + ") received a signal info(" + signal +
               ")\nTIME,[SignalError] " + run.crashLine() + "\n";
    }
    static std::string goesOn(const std::string& flag) {
        return "goes on, running flag " + flag + "\n";
    }
    static std::string signalLog() {
        return withoutTimes(contentOf(device_paths::kSignalErrorLog));
    }
    static std::string rebootLog() { return withoutTimes(contentOf(device_paths::kRebootLog)); }

    const RunningSystem m_system;
};

const Words kChain = {"middleCall", "outerCall", "outermostCall", "0", "0", "0", "0", "0",
                      "0",          "0"};

struct FaultCase {
    const char* fault;
    const char* text;
};

void PrintTo(const FaultCase& row, std::ostream* out) {
    *out << row.fault;
}

class Fault : public FatalSignal, public testing::WithParamInterface<FaultCase> {};

TEST_P(Fault, IsReportedAndEndsTheProcess) {
    const CrashRun run({"action=fault", std::string("fault=") + GetParam().fault});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_TRUE(isCrashLine(run.crashLine())) << run.crashLine();
    EXPECT_EQ(run.output(), outputOf(run, "the main thread", GetParam().text));
    EXPECT_EQ(signalLog(), records(run, "the main thread", GetParam().text));
    EXPECT_EQ(rebootLog(), kStopRecord);
    EXPECT_EQ(run.errors(), "");
}

TEST_P(Fault, IsFoundWithTheCallsThatLedThere) {
    const CrashRun run({"action=fault", std::string("fault=") + GetParam().fault});
    EXPECT_EQ(run.functionAt(run.field("PC:")), "innerFault");
    EXPECT_EQ(run.calls(), kChain);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Fault,
                         testing::Values(FaultCase{"instruction", "Illegal instruction (ANSI)"},
                                         FaultCase{"bus", "BUS error (4.2 BSD)"},
                                         FaultCase{"division", "Floating point exception (ANSI)"},
                                         FaultCase{"write",
                                                   "Invalid memory segment access (ANSI)"}),
                         [](const auto& test) { return test.param.fault; });

TEST_F(FatalSignal, OfAWriteToNullHasTheFaultAddressZero) {
    EXPECT_EQ(CrashRun({"action=fault"}).field("ErrAddr:"), "0");
}

TEST_F(FatalSignal, OfAWriteHasItsAddress) {
    EXPECT_EQ(CrashRun({"action=fault", "address=known"}).field("ErrAddr:"), "0X1230");
}

TEST_F(FatalSignal, OfAWriteBehindAFileHasItsAddress) {
    const CrashRun run({"action=fault", "fault=bus"});
    EXPECT_EQ(run.field("ErrAddr:"), run.faultAddress());
}

TEST_F(FatalSignal, NamesTheTenLastCallsOfMany) {
    EXPECT_EQ(CrashRun({"action=fault", "chain=deep"}).calls(), Words(10, "deepCall"));
}

struct FrameCase {
    const char* frame;
    const char* firstCall;
};

void PrintTo(const FrameCase& row, std::ostream* out) {
    *out << row.frame;
}

class FramePointer : public FatalSignal, public testing::WithParamInterface<FrameCase> {};

TEST_P(FramePointer, OfAnyValueIsNoHindrance) {
    const CrashRun run({"action=fault", std::string("frame=") + GetParam().frame});
    Words calls(10, "0");
    calls[0] = GetParam().firstCall;
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(run.functionAt(run.field("PC:")), "innerFault");
    EXPECT_EQ(run.calls(), calls);
    EXPECT_EQ(run.output(),
              outputOf(run, "the main thread", "Invalid memory segment access (ANSI)"));
}

INSTANTIATE_TEST_SUITE_P(Values, FramePointer,
                         testing::Values(FrameCase{"zero", "0"}, FrameCase{"wild", "0"},
                                         FrameCase{"unaligned", "0"}, FrameCase{"unmapped", "0"},
                                         FrameCase{"page-end", "0"}, FrameCase{"cut-off", "0X6000"},
                                         FrameCase{"complete", "0X5000"}));

TEST_F(FatalSignal, OfARegisteredThreadHasItsName) {
    const CrashRun run({"action=fault", "where=worker"});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(run.output(), outputOf(run, "a worker", "Invalid memory segment access (ANSI)"));
    EXPECT_EQ(run.calls(), kChain);
}

TEST_F(FatalSignal, OfAnUnknownThreadHasASpareName) {
    const CrashRun run({"action=fault", "where=stranger"});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(run.output(), outputOf(run, "UnknownThread", "Invalid memory segment access (ANSI)"));
    EXPECT_EQ(run.calls(), kChain);
}

TEST_F(FatalSignal, AsksForARebootBeforeTheEnd) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    ASSERT_TRUE(daemon.isReady());
    const CrashRun run({"action=fault", "suppress=0"});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(daemon.received(), std::string("\x1C\0\0\0", 4) + "/factory_setting/reboot.sh &");
    EXPECT_EQ(rebootLog(), std::string(kStopRecord) + "TIME,[Reboot] \n");
}

TEST_F(FatalSignal, AsksForNoRebootWhenThatIsSuppressed) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    ASSERT_TRUE(daemon.isReady());
    const CrashRun run({"action=fault", "suppress=1"});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(daemon.received(), "");
    EXPECT_EQ(rebootLog(), kStopRecord);
}

TEST_F(FatalSignal, EndsTheProcessWithoutAControlDaemon) {
    const CrashRun run({"action=fault", "suppress=0"});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(run.errors(), "connect_to_local_md: No such file or directory\n");
    EXPECT_EQ(rebootLog(), std::string(kStopRecord) + "TIME,[Reboot] \n");
}

// The time since the last record.
auto timeSinceTheStop() {
    const auto now = std::filesystem::file_time_type::clock::now();
    return now - std::filesystem::last_write_time(device_paths::kRebootLog);
}

TEST_F(FatalSignal, LeavesARealSecondForTheReportToGetOut) {
    const CrashRun run({"action=fault"}, /*timeScale=*/1);
    const auto pause = timeSinceTheStop();
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_GE(pause, std::chrono::seconds(1));
    EXPECT_LT(pause, std::chrono::seconds(2));
}

TEST_F(FatalSignal, LeavesThatSecondThroughOtherSignals) {
    const CrashRun run({"action=fault", "interrupt=1"}, /*timeScale=*/10);
    EXPECT_GE(timeSinceTheStop(), std::chrono::milliseconds(100));
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(run.output(),
              outputOf(run, "the main thread", "Invalid memory segment access (ANSI)"));
}

class FaultBeforeAnother : public FatalSignal, public testing::WithParamInterface<const char*> {};

// The other one is a division, on the way out.
TEST_P(FaultBeforeAnother, EndsTheProcessAsAlone) {
    const CrashRun run({"action=fault", std::string("fault=") + GetParam(), "exit=fault"});
    EXPECT_EQ(run.end(), "exit 255");
    EXPECT_EQ(rebootLog(), std::string(kStopRecord) + kStopRecord);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FaultBeforeAnother, testing::Values("write", "division"));

TEST_F(FatalSignal, LetsAFailedAssertionsFirstSignalPassAfterTheReport) {
    const CrashRun run({"action=signal", "signal=6"});
    EXPECT_EQ(run.end(), "exit 0");
    EXPECT_EQ(run.output(), report(run, "the main thread", "IOT Trap (4.2 BSD)") +
                                stopBanner("0", kStopReason) + goesOn("0"));
    EXPECT_EQ(signalLog(), records(run, "the main thread", "IOT Trap (4.2 BSD)"));
    EXPECT_EQ(rebootLog(), kStopRecord);
}

// The signal is sent again without a handler; what is still buffered for standard output is lost.
TEST_F(FatalSignal, OfAnAbortIsReportedAndThenEndsTheProcess) {
    const CrashRun run({"action=abort"});
    EXPECT_EQ(run.end(), "signal 6");
    const std::string log = signalLog();
    const std::string first =
        "TIME,[SignalError] thread(the main thread) received a signal info(IOT Trap (4.2 BSD))\n"
        "TIME,[SignalError] ";
    ASSERT_EQ(log.substr(0, first.size()), first);
    EXPECT_TRUE(isCrashLine(log.substr(first.size(), log.size() - first.size() - 1))) << log;
    EXPECT_EQ(log.back(), '\n');
    EXPECT_EQ(rebootLog(), kStopRecord);
}

class SignalOfNoConcern : public FatalSignal, public testing::WithParamInterface<const char*> {};

TEST_P(SignalOfNoConcern, ChangesNothing) {
    const CrashRun run({"action=signal", std::string("signal=") + GetParam(), "suppress=0"});
    EXPECT_EQ(run.end(), "exit 0");
    EXPECT_EQ(run.output(), goesOn("1"));
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(signalLog(), "");
    EXPECT_EQ(rebootLog(), "");
}

INSTANTIATE_TEST_SUITE_P(HangUpInterruptAndBrokenPipe, SignalOfNoConcern,
                         testing::Values("1", "2", "13"));

class UncaughtSignal : public FatalSignal, public testing::WithParamInterface<const char*> {};

TEST_P(UncaughtSignal, EndsTheProcessWithoutAReport) {
    const CrashRun run({"action=signal", std::string("signal=") + GetParam()});
    EXPECT_EQ(run.end(), std::string("signal ") + GetParam());
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(signalLog(), "");
    EXPECT_EQ(rebootLog(), "");
}

INSTANTIATE_TEST_SUITE_P(Numbers, UncaughtSignal,
                         testing::Values("3", "9", "10", "12", "14", "15", "29"));

TEST_F(FatalSignal, OfAHangUpOfAStoppedSystemIsOnlyReported) {
    const CrashRun run({"action=signal", "signal=1", "stopped=1", "suppress=0"});
    EXPECT_EQ(run.end(), "exit 0");
    EXPECT_TRUE(isCrashLine(run.crashLine())) << run.crashLine();
    EXPECT_EQ(run.output(), stopBanner("0", "done") +
                                report(run, "the main thread", "Hangup (POSIX)") + goesOn("0"));
    EXPECT_EQ(signalLog(), records(run, "the main thread", "Hangup (POSIX)"));
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] done\n");
}

using PokedThread = FatalSignal;

TEST_F(PokedThread, WritesWhereItIsOnceTheSystemHasStopped) {
    const CrashRun run({"action=poke", "stopped=1", "workers=1"});
    EXPECT_EQ(run.end(), "exit 0");
    EXPECT_TRUE(isCrashLine(run.crashLine())) << run.output();
    EXPECT_EQ(signalLog(), records(run, "worker 1", "Hangup (POSIX)"));
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] done\n");
}

TEST_F(PokedThread, WritesNothingWhileTheSystemRuns) {
    const CrashRun run({"action=poke", "workers=2"});
    EXPECT_EQ(run.end(), "exit 0");
    EXPECT_EQ(run.output(),
              "timeout thread name:\nworker 1\n"
              "timeout thread name:\nworker 2\n"
              "timeoutThreadCount 2\n"
              "pthread_kill for debug timeout thread ...\n"
              "pthread_kill for debug timeout thread ...\n" +
                  goesOn("1"));
    EXPECT_EQ(signalLog(), "");
}

TEST_F(PokedThread, MayBeTheOneThatPokes) {
    const CrashRun run({"action=poke", "stopped=1", "where=worker"});
    EXPECT_EQ(run.end(), "exit 0");
    EXPECT_EQ(run.output(), stopBanner("0", "done") + "timeout thread name:\na worker\n" +
                                "timeoutThreadCount 1\n" +
                                report(run, "a worker", "Hangup (POSIX)") +
                                "pthread_kill for debug timeout thread ...\n" + goesOn("0"));
    EXPECT_EQ(signalLog(), records(run, "a worker", "Hangup (POSIX)"));
}

TEST_F(PokedThread, IsNeverTheMainThread) {
    const CrashRun run({"action=poke", "stopped=1"});
    EXPECT_EQ(run.output(), stopBanner("0", "done") + goesOn("0"));
}

}  // namespace
