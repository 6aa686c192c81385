#include "tests/sandbox/probe/Waits.h"

#include <poll.h>
#include <pthread.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <thread>

#include "tests/sandbox/probe/Line.h"

// The C library's names, for programs that are built with checks of buffer sizes.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __poll_chk(pollfd* polled, nfds_t count, int timeout, size_t size);
extern "C" int __ppoll_chk(pollfd* polled, nfds_t count, const timespec* timeout,
                           const sigset_t* mask, size_t size);
extern "C" ssize_t __read_chk(int fd, void* buffer, size_t count, size_t bufferSize);
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr int kMillisecondsPerSecond = 1000;
constexpr int kTenthsPerSecond = 10;

double milliseconds(timespec time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

timespec later(clockid_t clock, int seconds) {
    timespec moment{};
    (void)clock_gettime(clock, &moment);
    moment.tv_sec += seconds;
    return moment;
}

double selectWait(int seconds) {
    timeval limit{seconds, 0};
    (void)select(0, nullptr, nullptr, nullptr, &limit);
    return static_cast<double>(limit.tv_sec) * 1e3 + static_cast<double>(limit.tv_usec) / 1e3;
}

double pselectWait(int seconds) {
    const timespec limit{seconds, 0};
    (void)pselect(0, nullptr, nullptr, nullptr, &limit, nullptr);
    return 0;
}

double pollWait(int seconds) {
    (void)poll(nullptr, 0, seconds * kMillisecondsPerSecond);
    return 0;
}

double checkedPollWait(int seconds) {
    pollfd none{-1, 0, 0};
    (void)__poll_chk(&none, 1, seconds * kMillisecondsPerSecond, sizeof none);
    return 0;
}

double ppollWait(int seconds) {
    const timespec limit{seconds, 0};
    (void)ppoll(nullptr, 0, &limit, nullptr);
    return 0;
}

double checkedPpollWait(int seconds) {
    const timespec limit{seconds, 0};
    pollfd none{-1, 0, 0};
    (void)__ppoll_chk(&none, 1, &limit, nullptr, sizeof none);
    return 0;
}

double sleepWait(int seconds) {
    return 1e3 * sleep(static_cast<unsigned int>(seconds));
}

double usleepWait(int seconds) {
    (void)usleep(static_cast<useconds_t>(seconds) * 1000000);
    return 0;
}

double nanosleepWait(int seconds) {
    const timespec duration{seconds, 0};
    timespec left{};
    (void)nanosleep(&duration, &left);
    return milliseconds(left);
}

double clockNanosleepWait(int seconds) {
    const timespec duration{seconds, 0};
    timespec left{};
    (void)clock_nanosleep(CLOCK_MONOTONIC, 0, &duration, &left);
    return milliseconds(left);
}

double clockNanosleepUntil(int seconds) {
    const timespec moment = later(CLOCK_REALTIME, seconds);
    (void)clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &moment, nullptr);
    return 0;
}

double threadSleep(int seconds) {
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return 0;
}

double conditionFor(int seconds) {
    std::mutex mutex;
    std::condition_variable condition;
    std::unique_lock<std::mutex> lock(mutex);
    (void)condition.wait_for(lock, std::chrono::seconds(seconds), [] { return false; });
    return 0;
}

double conditionUntil(int seconds) {
    std::mutex mutex;
    std::condition_variable condition;
    std::unique_lock<std::mutex> lock(mutex);
    const auto moment = std::chrono::system_clock::now() + std::chrono::seconds(seconds);
    (void)condition.wait_until(lock, moment, [] { return false; });
    return 0;
}

double monotonicCondition(int seconds) {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_t condition;
    pthread_cond_init(&condition, &attributes);
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    const timespec moment = later(CLOCK_MONOTONIC, seconds);
    pthread_mutex_lock(&mutex);
    while (pthread_cond_timedwait(&condition, &mutex, &moment) == 0) {
    }
    pthread_mutex_unlock(&mutex);
    pthread_cond_destroy(&condition);
    pthread_condattr_destroy(&attributes);
    return 0;
}

double terminalRead(int seconds) {
    Line line;
    line.setWait(0, static_cast<unsigned char>(seconds * kTenthsPerSecond));
    char byte = 0;
    (void)!read(line.slave(), &byte, 1);
    return 0;
}

double checkedTerminalRead(int seconds) {
    Line line;
    line.setWait(0, static_cast<unsigned char>(seconds * kTenthsPerSecond));
    char byte = 0;
    (void)!__read_chk(line.slave(), &byte, 1, sizeof byte);
    return 0;
}

}  // namespace

const std::map<std::string, Wait>& waits() {
    static const std::map<std::string, Wait> all = {
        {"select", selectWait},
        {"pselect", pselectWait},
        {"poll", pollWait},
        {"checked-poll", checkedPollWait},
        {"ppoll", ppollWait},
        {"checked-ppoll", checkedPpollWait},
        {"sleep", sleepWait},
        {"usleep", usleepWait},
        {"nanosleep", nanosleepWait},
        {"clock_nanosleep", clockNanosleepWait},
        {"clock_nanosleep-until", clockNanosleepUntil},
        {"sleep_for", threadSleep},
        {"condition-for", conditionFor},
        {"condition-until", conditionUntil},
        {"monotonic-condition", monotonicCondition},
        {"terminal-read", terminalRead},
        {"checked-terminal-read", checkedTerminalRead},
    };
    return all;
}
