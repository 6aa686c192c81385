#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <map>

#include "tests/sandbox/probe/Probe.h"

std::int64_t realNow() {
    timespec now{};
    (void)syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

void realSleep(std::int64_t nanoseconds) {
    const timespec duration{nanoseconds / kNanosecondsPerSecond,
                            nanoseconds % kNanosecondsPerSecond};
    (void)syscall(SYS_nanosleep, &duration, nullptr);
}

int main(int argc, char** argv) {
    const std::map<std::string, int (*)(const Arguments&)> probes = {
        {"line-status", probeLineStatus},
        {"line-status-switch", probeLineStatusSwitch},
        {"feed", probeFeed},
        {"other-request", probeOtherRequest},
        {"feed-after-sleeps", probeFeedAfterSleeps},
        {"wait", probeWait},
        {"clock", probeClock},
        {"start", probeStart},
        {"ahead", probeAhead},
        {"remainder", probeRemainder},
        {"cancel", probeCancel},
        {"terminal-read", probeTerminalRead},
        {"daemon", probeDaemon},
    };
    const Arguments arguments(argv + 1, argv + argc);
    const auto probe = arguments.empty() ? probes.end() : probes.find(arguments.front());
    if (probe == probes.end()) {
        (void)std::fputs("sandbox-probe: no such probe\n", stderr);
        return 2;
    }
    return probe->second(Arguments(arguments.begin() + 1, arguments.end()));
}
