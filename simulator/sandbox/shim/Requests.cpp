// Requests to devices that a PC does not have: the line status of a serial port, which a
// pseudo-terminal does not know, and the feed of the watchdog.
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "simulator/sandbox/shim/FeedLog.h"
#include "simulator/sandbox/shim/Next.h"

namespace {

constexpr char kWatchdogNode[] = "/dev/gpio_wtd";
constexpr std::uint32_t kFeedRequest = 0xC028670E;

constexpr unsigned int kFirstPtyMajor = 136;
constexpr unsigned int kLastPtyMajor = 143;
constexpr unsigned int kTtyDriverMajor = 5;
constexpr unsigned int kPtyMasterMinor = 2;

Next<decltype(ioctl)> nextIoctl("ioctl", "__ioctl_time64");

// Read at each request, so that a test may change it.
bool isSetTo(const char* variable, const char* value) {
    const char* text = std::getenv(variable);
    return text != nullptr && std::strcmp(text, value) == 0;
}

bool isPseudoTerminal(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISCHR(status.st_mode)) {
        return false;
    }
    const unsigned int number = major(status.st_rdev);
    const bool isMaster = number == kTtyDriverMajor && minor(status.st_rdev) == kPtyMasterMinor;
    return isMaster || (number >= kFirstPtyMajor && number <= kLastPtyMajor);
}

bool isWatchdog(int fd) {
    struct stat opened {};
    struct stat node {};
    return fstat(fd, &opened) == 0 && stat(kWatchdogNode, &node) == 0 &&
           opened.st_dev == node.st_dev && opened.st_ino == node.st_ino;
}

// Everything that was sent has left: the bytes that a pseudo-terminal takes are with the reader.
int reportEmptyTransmitter(void* status) {
    const unsigned int empty = TIOCSER_TEMT;
    std::memcpy(status, &empty, sizeof empty);
    return 0;
}

// The error of a driver that refuses a feed; 0 for one that takes it.
int refusal() {
    static std::atomic<bool> isFirst{true};
    if (isSetTo("DEVICE_SHIM_WATCHDOG", "fail")) {
        return EIO;
    }
    return !isFirst.exchange(false) && isSetTo("DEVICE_SHIM_WATCHDOG", "vanish") ? ENODEV : 0;
}

int feedWatchdog() {
    const int refused = refusal();
    const int error = refused != 0 ? refused : recordFeed();
    if (error != 0) {
        errno = error;
        return -1;
    }
    return 0;
}

// A test of the descriptor must not be seen in errno.
bool holdsWithErrnoKept(bool (*test)(int), int fd) {
    const int savedErrno = errno;
    const bool result = test(fd);
    errno = savedErrno;
    return result;
}

}  // namespace

SHIM_EXPORT int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);

    if (request == TIOCSERGETLSR && argument != nullptr &&
        !isSetTo("DEVICE_SHIM_LINE_STATUS", "off") && holdsWithErrnoKept(isPseudoTerminal, fd)) {
        return reportEmptyTransmitter(argument);
    }
    if (static_cast<std::uint32_t>(request) == kFeedRequest && holdsWithErrnoKept(isWatchdog, fd)) {
        return feedWatchdog();
    }
    return nextIoctl.get()(fd, request, argument);
}
