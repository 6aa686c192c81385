// What the process does with signals once the handlers are installed.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "technic/CancelGuard.h"
#include "technic/CrashLine.h"
#include "technic/SystemControl.h"
#include "technic/ThreadId.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"

namespace {

// In the order of installation. SIGKILL and SIGSTOP cannot be caught; asking is harmless.
constexpr std::array<int, 10> kCaughtSignals = {SIGBUS,  SIGFPE,  SIGILL, SIGSEGV, SIGPIPE,
                                                SIGABRT, SIGKILL, SIGHUP, SIGSTOP, SIGINT};

// After these the process ends.
constexpr std::array<int, 4> kFaults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// Not 0 when a fatal signal must not ask for a reboot of the device.
std::atomic<int> suppressDeviceReboot{0};

bool isIgnored(int signo) {
    switch (signo) {
        case SIGINT:
        case SIGPIPE:
        case SIGTERM:
        case SIGSTOP:
        case SIGIO:
            return true;
        case SIGHUP:
            return getSystemRunningFlag() != 0;
        default:
            return false;
    }
}

bool isFault(int signo) {
    return std::find(kFaults.begin(), kFaults.end(), signo) != kFaults.end();
}

void writeReport(int signo, const void* machineContext) {
    const std::string where = crashLine(machineContext);
    std::string name;
    ThreadInfoManager::instance()->getThreadName(currentThreadId(), name);
    ThreadInfoManager::writeSignalError("thread(" + name + ") received a signal info(" +
                                        ThreadInfoManager::signalName(signo) + ")");
    ThreadInfoManager::writeSignalError(where);
}

void stopSystem() {
    setSystemRunningFlag(0, "Thread recv signal error .");
    if (suppressDeviceReboot == 0) {
        Reboot("");
    }
}

// From now on the calling thread is interrupted by faults only, and by all of them: also by one of
// the kind that it handles, which would otherwise end the process in another way.
void holdOtherSignals() {
    sigset_t held;
    sigfillset(&held);
    for (const int signo : kFaults) {
        sigdelset(&held, signo);
    }
    (void)pthread_sigmask(SIG_SETMASK, &held, nullptr);
}

// Gives the log and the reboot request a second to get out. A signal that is otherwise ignored
// would end the sleep.
void endProcess() {
    holdOtherSignals();
    std::puts("SIGBUS or SIGSEGV or SIGFPE or SIGILL , sleep  ...");
    sleepFor(1, 0);
    std::puts("SIGBUS or SIGSEGV or SIGFPE or SIGILL , after sleep !");
    std::exit(-1);
}

void onSignal(int signo, siginfo_t* information, void* machineContext) {
    const int received = information->si_signo;
    if (isIgnored(received)) {
        return;
    }
    const int error = errno;
    const CancelGuard whole;  // a thread that is being killed reports first
    writeReport(signo, machineContext);
    if (received != SIGHUP) {
        stopSystem();
    }
    if (isFault(received)) {
        endProcess();
    }
    errno = error;
}

}  // namespace

void ThreadInfoManager::installSignalHandlers(const std::string& mainName, int suppressReboot) {
    suppressDeviceReboot = suppressReboot;
    registerThread(currentThreadId(), mainName, 0);
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_sigaction = onSignal;
    action.sa_flags = SA_SIGINFO;
    for (const int signo : kCaughtSignals) {
        (void)sigaction(signo, &action, nullptr);  // two of them are refused
    }
}
