#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "tests/sandbox/probe/Line.h"
#include "tests/sandbox/probe/Probe.h"

namespace {

constexpr unsigned long kFeedRequest = 0xC028670E;
constexpr unsigned long kOtherRequest = 0xC028670F;
constexpr char kWatchdog[] = "/dev/gpio_wtd";

void printLineStatus(int fd) {
    errno = 0;
    unsigned int status = 0;
    const int result = ioctl(fd, TIOCSERGETLSR, &status);
    std::printf("%d %d %u\n", result, errno, status);
}

void printRequest(const char* path, unsigned long request) {
    const int fd = open(path, O_WRONLY);
    errno = 0;
    const int result = ioctl(fd, request, nullptr);
    std::printf("%d %d\n", result, errno);
    (void)close(fd);
}

}  // namespace

int probeLineStatus(const Arguments& arguments) {
    const std::string& what = arguments.at(0);
    if (what == "slave") {
        printLineStatus(Line().slave());
    } else if (what == "master") {
        printLineStatus(Line().master());
    } else {
        const int fd = open(what.c_str(), O_RDWR | O_NOCTTY | O_CREAT, 0600);
        printLineStatus(fd);
        (void)close(fd);
    }
    return 0;
}

int probeLineStatusSwitch(const Arguments& /*arguments*/) {
    const Line line;
    printLineStatus(line.slave());
    (void)setenv("DEVICE_SHIM_LINE_STATUS", "off", 1);
    printLineStatus(line.slave());
    (void)setenv("DEVICE_SHIM_LINE_STATUS", "on", 1);
    printLineStatus(line.slave());
    return 0;
}

int probeFeed(const Arguments& arguments) {
    for (const std::string& path : arguments) {
        printRequest(path.c_str(), kFeedRequest);
    }
    return 0;
}

int probeOtherRequest(const Arguments& /*arguments*/) {
    printRequest(kWatchdog, kOtherRequest);
    return 0;
}

int probeFeedAfterSleeps(const Arguments& arguments) {
    for (const std::string& seconds : arguments) {
        const timespec duration{std::stol(seconds), 0};
        (void)nanosleep(&duration, nullptr);
        printRequest(kWatchdog, kFeedRequest);
    }
    return 0;
}
