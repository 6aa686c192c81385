#include "simulator/sandbox/StopSignals.h"

#include <sys/prctl.h>

#include <initializer_list>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int /*signal*/) {
    stopRequested = 1;
}

}  // namespace

// The arguments of all these calls are valid: none of them can fail.
StopSignals::StopSignals() {
    struct sigaction stop {};
    stop.sa_handler = requestStop;
    sigset_t blocked;
    (void)sigemptyset(&blocked);
    for (const int number : {SIGINT, SIGTERM}) {
        (void)sigaction(number, &stop, nullptr);
        (void)sigaddset(&blocked, number);
    }
    (void)sigprocmask(SIG_BLOCK, &blocked, &m_waitMask);
    (void)sigdelset(&m_waitMask, SIGINT);
    (void)sigdelset(&m_waitMask, SIGTERM);
}

void StopSignals::watchParent() const {
    (void)prctl(PR_SET_PDEATHSIG, SIGTERM);
}

bool StopSignals::isRequested() const {
    return stopRequested != 0;
}
