// Reading from a terminal that waits VTIME tenths of a second for the first byte (VMIN 0): the
// tenths are the device's.
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "simulator/sandbox/shim/Next.h"
#include "simulator/sandbox/shim/TimeScale.h"

// What programs call that are built with checks of buffer sizes; the name is the C library's.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" ssize_t __read_chk(int fd, void* buffer, size_t count, size_t bufferSize);

namespace {

constexpr int kTenthsPerSecond = 10;
constexpr long kNanosecondsPerTenth = 100000000;

Next<decltype(read)> nextRead("read");
Next<decltype(__read_chk)> nextReadChk("__read_chk");
Next<decltype(ppoll)> nextPpoll("ppoll", "__ppoll64");

// Tenths of a second that a read from this descriptor waits for its first byte; 0 for every
// descriptor that has no such time-out.
int firstByteTenths(int fd) {
    const int savedErrno = errno;
    termios setting{};
    const bool isTerminal = tcgetattr(fd, &setting) == 0;
    errno = savedErrno;
    if (!isTerminal || (setting.c_lflag & ICANON) != 0 || setting.c_cc[VMIN] != 0) {
        return 0;
    }
    return (fcntl(fd, F_GETFL) & O_NONBLOCK) != 0 ? 0 : setting.c_cc[VTIME];
}

// The outcome of the wait as poll tells it; above 0 when there is nothing to wait for.
int waitForFirstByte(int fd, size_t count) {
    const int tenths = time_scale::isActive() && count > 0 ? firstByteTenths(fd) : 0;
    if (tenths == 0) {
        return 1;
    }
    const timespec real = time_scale::toReal(
        {tenths / kTenthsPerSecond, tenths % kTenthsPerSecond * kNanosecondsPerTenth});
    pollfd polled{fd, POLLIN, 0};
    return nextPpoll.get()(&polled, 1, &real, nullptr);
}

}  // namespace

SHIM_EXPORT ssize_t read(int fd, void* buffer, size_t count) {
    const int ready = waitForFirstByte(fd, count);
    return ready > 0 ? nextRead.get()(fd, buffer, count) : ready;
}

SHIM_EXPORT ssize_t __read_chk(int fd, void* buffer, size_t count, size_t bufferSize) {
    const int ready = waitForFirstByte(fd, count);
    return ready > 0 ? nextReadChk.get()(fd, buffer, count, bufferSize) : ready;
}
