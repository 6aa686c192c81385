#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ostream>
#include <string>
#include <vector>

#include "technic/DevicePaths.h"
#include "technic/SystemControl.h"
#include "technic/ThreadInfoManager.h"
#include "tests/technic/ControlDaemon.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/MachineContext.h"
#include "tests/technic/RunningSystem.h"
#include "tests/technic/SignalCalls.h"

// The handler is taken from its installation, which is refused, and called by the tests: for the
// signals after which the process goes on.
namespace {

constexpr char kCrashLine[] = "PC:0X401000, ErrAddr:0X20, Stack:0X1000 0 0 0 0 0 0 0 0 0";

class SignalHandler : public testing::Test {
  protected:
    ~SignalHandler() override { registry().unregisterThread(gettid()); }

    static ThreadInfoManager& registry() { return *ThreadInfoManager::instance(); }

    void install(const std::string& mainName, int suppressReboot) {
        const RefusedHandlers handlers;
        registry().installSignalHandlers(mainName, suppressReboot);
        m_requests = RefusedHandlers::requests();
    }

    // Has the handler called for a signal, and returns what it prints.
    std::string receive(int signo) { return receive(signo, signo); }
    std::string receive(int signo, int informationSigno) {
        siginfo_t information{};
        information.si_signo = informationSigno;
        const StackFrame frame(0, 0x1000);
        ucontext_t context = interruptedAt(0x401000, 0x20, frame.pointer());
        StdoutCapture capture;
        const StderrCapture quiet;  // without a control daemon there is a complaint
        m_requests.at(0).action.sa_sigaction(signo, &information, &context);
        return capture.text();
    }

    static void stopSystem() {
        const StdoutCapture quiet;
        setSystemRunningFlag(0, "done");
    }

    static std::string report(const std::string& thread, const std::string& signal) {
        return "thread(" + thread + ") received a signal info(" + signal + ")\n" + kCrashLine +
               "\n";
    }
    static std::string records(const std::string& thread, const std::string& signal) {
        return "TIME,[SignalError] thread(" + thread + ") received a signal info(" + signal +
               ")\nTIME,[SignalError] " + kCrashLine + "\n";
    }
    static std::string signalLog() {
        return withoutTimes(contentOf(device_paths::kSignalErrorLog));
    }
    static std::string rebootLog() { return withoutTimes(contentOf(device_paths::kRebootLog)); }

    const RunningSystem m_system;
    std::vector<RefusedHandlers::Request> m_requests;
};

TEST_F(SignalHandler, IsAskedForInOrderEvenWhenAllIsRefused) {
    install("main", 0);
    std::vector<int> numbers;
    for (const auto& request : m_requests) {
        numbers.push_back(request.signo);
    }
    EXPECT_EQ(numbers, (std::vector<int>{7, 8, 4, 11, 13, 6, 9, 1, 19, 2}));
}

TEST_F(SignalHandler, IsTheSameForAllAndTakesSignalInformationAndNothingElse) {
    install("main", 0);
    for (const auto& request : m_requests) {
        EXPECT_EQ(request.action.sa_flags, SA_SIGINFO) << request.signo;
        EXPECT_EQ(request.action.sa_sigaction, m_requests[0].action.sa_sigaction) << request.signo;
        for (int other = 1; other < NSIG; ++other) {
            EXPECT_EQ(sigismember(&request.action.sa_mask, other), 0) << other;
        }
    }
}

TEST_F(SignalHandler, KnowsTheThreadThatInstalledIt) {
    install("the main thread", 0);
    std::string name;
    EXPECT_TRUE(registry().getThreadName(gettid(), name));
    EXPECT_EQ(name, "the main thread");
}

TEST_F(SignalHandler, LeavesTheNameOfARegisteredThread) {
    registry().registerThread(gettid(), "earlier", 0);
    install("later", 1);
    EXPECT_EQ(receive(6).substr(0, 15), "thread(earlier)");
}

class IgnoredSignal : public SignalHandler, public testing::WithParamInterface<int> {};

TEST_P(IgnoredSignal, DoesNothing) {
    install("main", 0);
    EXPECT_EQ(receive(GetParam()), "");
    EXPECT_EQ(signalLog(), "");
    EXPECT_EQ(rebootLog(), "");
    EXPECT_EQ(getSystemRunningFlag(), 1);
}

INSTANTIATE_TEST_SUITE_P(Numbers, IgnoredSignal, testing::Values(1, 2, 13, 15, 19, 29));

class AlwaysIgnoredSignal : public SignalHandler, public testing::WithParamInterface<int> {};

TEST_P(AlwaysIgnoredSignal, DoesNothingInAStoppedSystemEither) {
    install("main", 0);
    stopSystem();
    EXPECT_EQ(receive(GetParam()), "");
    EXPECT_EQ(signalLog(), "");
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] done\n");
}

INSTANTIATE_TEST_SUITE_P(Numbers, AlwaysIgnoredSignal, testing::Values(2, 13, 15, 19, 29));

TEST_F(SignalHandler, OfAHangUpReportsOnceTheSystemHasStopped) {
    install("main", 0);
    stopSystem();
    EXPECT_EQ(receive(1), report("main", "Hangup (POSIX)"));
    EXPECT_EQ(signalLog(), records("main", "Hangup (POSIX)"));
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] done\n");
    EXPECT_EQ(getSystemRunningFlag(), 0);
}

struct ReportedSignal {
    int signo;
    const char* text;
};

void PrintTo(const ReportedSignal& row, std::ostream* out) {
    *out << row.signo;
}

class StoppingSignal : public SignalHandler, public testing::WithParamInterface<ReportedSignal> {};

TEST_P(StoppingSignal, IsReportedAndStopsTheSystem) {
    install("main", 1);
    EXPECT_EQ(receive(GetParam().signo),
              report("main", GetParam().text) + stopBanner("0", "Thread recv signal error ."));
    EXPECT_EQ(signalLog(), records("main", GetParam().text));
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] Thread recv signal error .\n");
    EXPECT_EQ(getSystemRunningFlag(), 0);
}

INSTANTIATE_TEST_SUITE_P(Numbers, StoppingSignal,
                         testing::Values(ReportedSignal{3, "Terminal quit (POSIX)"},
                                         ReportedSignal{6, "IOT Trap (4.2 BSD)"},
                                         ReportedSignal{10, "User defined signal 1 (POSIX)"},
                                         ReportedSignal{12, "Unknown SignalId"},
                                         ReportedSignal{16, "Stack fault"},
                                         ReportedSignal{25, "File size limit exceeded (4.2 BSD)"}));

TEST_F(SignalHandler, StopsAStoppedSystemOnceMore) {
    install("main", 1);
    receive(6);
    receive(6);
    EXPECT_EQ(rebootLog(),
              "TIME,[SystemStop] Thread recv signal error .\n"
              "TIME,[SystemStop] Thread recv signal error .\n");
}

TEST_F(SignalHandler, AsksForARebootAfterTheStop) {
    install("main", 0);
    ControlDaemon daemon(ControlDaemon::reply(0));
    ASSERT_TRUE(daemon.isReady());
    receive(6);
    EXPECT_EQ(rebootLog(),
              "TIME,[SystemStop] Thread recv signal error .\n"
              "TIME,[Reboot] \n");
    EXPECT_EQ(daemon.received(), std::string("\x1C\0\0\0", 4) + "/factory_setting/reboot.sh &");
}

class SuppressedReboot : public SignalHandler, public testing::WithParamInterface<int> {};

TEST_P(SuppressedReboot, IsNotAskedFor) {
    install("main", GetParam());
    ControlDaemon daemon(ControlDaemon::reply(0));
    ASSERT_TRUE(daemon.isReady());
    receive(6);
    EXPECT_EQ(rebootLog(), "TIME,[SystemStop] Thread recv signal error .\n");
    EXPECT_EQ(daemon.received(), "");
}

INSTANTIATE_TEST_SUITE_P(Flags, SuppressedReboot, testing::Values(1, 2, -1));

TEST_F(SignalHandler, CanBeAllowedToRebootLater) {
    install("main", 1);
    install("main", 0);
    receive(6);
    EXPECT_EQ(rebootLog(),
              "TIME,[SystemStop] Thread recv signal error .\n"
              "TIME,[Reboot] \n");
}

TEST_F(SignalHandler, NamesTheThreadItRunsOn) {
    install("main", 1);
    registry().unregisterThread(gettid());
    EXPECT_EQ(receive(6), report("UnknownThread", "IOT Trap (4.2 BSD)") +
                              stopBanner("0", "Thread recv signal error ."));
    EXPECT_EQ(signalLog(), records("UnknownThread", "IOT Trap (4.2 BSD)"));
}

// The two numbers are equal whenever the system calls the handler.
TEST_F(SignalHandler, ActsOnTheInformationsNumberAndNamesItsOwn) {
    install("main", 1);
    EXPECT_EQ(receive(6, 2), "");
    EXPECT_EQ(receive(2, 6), report("main", "Terminal interrupt (ANSI)") +
                                 stopBanner("0", "Thread recv signal error ."));
    EXPECT_EQ(receive(6, 1), report("main", "IOT Trap (4.2 BSD)"));
}

TEST_F(SignalHandler, LeavesTheErrorNumber) {
    install("main", 0);
    errno = EXDEV;
    receive(6);
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(SignalHandler, GoesOnWhenNothingCanBeLogged) {
    install("main", 1);
    std::filesystem::create_directory(device_paths::kSignalErrorLog);
    EXPECT_EQ(receive(6),
              report("main", "IOT Trap (4.2 BSD)") + stopBanner("0", "Thread recv signal error ."));
    std::filesystem::remove(device_paths::kSignalErrorLog);
}

}  // namespace
