#include "tests/technic/SystemAnswers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>

#include <cerrno>

namespace {

thread_local bool isClockFixed = false;
thread_local timeval fixedTime{};
thread_local bool hasNoFileStatus = false;
thread_local bool hasNoConstants = false;
thread_local bool isAsked = false;

void begin() {
    isAsked = false;
}

void end() {
    EXPECT_TRUE(isAsked) << "the program's own code did not ask for the replaced answer";
}

}  // namespace

// The linker leads this program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

time_t __real_time(time_t* seconds);
int __real_gettimeofday(timeval* now, void* zone);
int __real_fstat64(int descriptor, struct stat* status);
long __real_sysconf(int name);

time_t __wrap_time(time_t* seconds) {
    if (!isClockFixed) {
        return __real_time(seconds);
    }
    isAsked = true;
    if (seconds != nullptr) {
        *seconds = fixedTime.tv_sec;
    }
    return fixedTime.tv_sec;
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    if (!isClockFixed) {
        return __real_gettimeofday(now, zone);
    }
    isAsked = true;
    *now = fixedTime;
    return 0;
}

int __wrap_fstat64(int descriptor, struct stat* status) {
    if (!hasNoFileStatus) {
        return __real_fstat64(descriptor, status);
    }
    isAsked = true;
    errno = EIO;
    return -1;
}

long __wrap_sysconf(int name) {
    if (!hasNoConstants) {
        return __real_sysconf(name);
    }
    isAsked = true;
    errno = EINVAL;
    return -1;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

FixedWallClock::FixedWallClock(const char* zone, std::int64_t seconds, std::int64_t microseconds)
    : m_zone(zone) {
    fixedTime.tv_sec = static_cast<time_t>(seconds);
    fixedTime.tv_usec = static_cast<suseconds_t>(microseconds);
    begin();
    isClockFixed = true;
}

FixedWallClock::~FixedWallClock() {
    isClockFixed = false;
    end();
}

NoFileStatus::NoFileStatus() {
    begin();
    hasNoFileStatus = true;
}

NoFileStatus::~NoFileStatus() {
    hasNoFileStatus = false;
    end();
}

NoSystemConstants::NoSystemConstants() {
    begin();
    hasNoConstants = true;
}

NoSystemConstants::~NoSystemConstants() {
    hasNoConstants = false;
    end();
}
