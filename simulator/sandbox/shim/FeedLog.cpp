#include "simulator/sandbox/shim/FeedLog.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "simulator/sandbox/shim/TimeScale.h"

namespace {

constexpr std::int64_t kNanosecondsPerMillisecond = 1000000;
constexpr mode_t kFileMode = 0644;

// Integers only: a program's own locale may have no decimal point.
int format(char* text, std::size_t size) {
    const timespec since = time_scale::fromNanoseconds(time_scale::nanosecondsSinceStart());
    const timespec wall = time_scale::realClock(CLOCK_REALTIME);
    return std::snprintf(text, size, "{\"seconds\":%lld.%03lld,\"wall\":%lld.%03lld}\n",
                         static_cast<long long>(since.tv_sec),
                         static_cast<long long>(since.tv_nsec / kNanosecondsPerMillisecond),
                         static_cast<long long>(wall.tv_sec),
                         static_cast<long long>(wall.tv_nsec / kNanosecondsPerMillisecond));
}

}  // namespace

int recordFeed() {
    const char* path = std::getenv("DEVICE_SHIM_FEED_LOG");
    if (path == nullptr || *path == '\0') {
        return 0;
    }
    // System calls without the C library's cancellation points: the request that is answered here
    // is none either.
    const long fd =
        syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kFileMode);
    if (fd < 0) {
        return errno;
    }
    char line[128];
    const int length = format(line, sizeof line);
    const int error = syscall(SYS_write, fd, line, length) == length ? 0 : errno;
    (void)syscall(SYS_close, fd);
    return error;
}
