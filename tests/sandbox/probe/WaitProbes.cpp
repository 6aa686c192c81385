#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <thread>

#include "tests/sandbox/probe/Line.h"
#include "tests/sandbox/probe/Probe.h"
#include "tests/sandbox/probe/Waits.h"

namespace {

constexpr int kLongWaitSeconds = 10;
constexpr std::int64_t kRealDelay = 50 * kNanosecondsPerMillisecond;

// Tells whether a cancelled thread's objects were destroyed.
struct Witness {
    std::atomic<bool>* destroyed;
    ~Witness() { *destroyed = true; }
};

struct Cancelled {
    Wait wait = nullptr;
    std::atomic<bool> destroyed{false};
};

void* waitWithWitness(void* argument) {
    auto* cancelled = static_cast<Cancelled*>(argument);
    const Witness witness{&cancelled->destroyed};
    (void)cancelled->wait(kLongWaitSeconds);
    return nullptr;
}

void ignoreSignal(int /*signal*/) {}

}  // namespace

int probeWait(const Arguments& arguments) {
    const std::int64_t before = realNow();
    (void)waits().at(arguments.at(0))(1);
    std::printf("%lld\n",
                static_cast<long long>((realNow() - before) / kNanosecondsPerMillisecond));
    return 0;
}

int probeRemainder(const Arguments& arguments) {
    struct sigaction action {};
    action.sa_handler = ignoreSignal;
    (void)sigaction(SIGUSR1, &action, nullptr);
    const pthread_t waiting = pthread_self();
    // A signal that comes before the wait has begun ends nothing, so there are more of them.
    std::atomic<bool> isOver{false};
    std::thread interrupter([&] {
        do {
            realSleep(kRealDelay);
            (void)pthread_kill(waiting, SIGUSR1);
        } while (!isOver);
    });
    const std::int64_t before = realNow();
    const double left = waits().at(arguments.at(0))(kLongWaitSeconds);
    const std::int64_t passed = realNow() - before;
    isOver = true;
    interrupter.join();
    std::printf("%.0f %lld\n", left, static_cast<long long>(passed / kNanosecondsPerMillisecond));
    return 0;
}

int probeCancel(const Arguments& arguments) {
    Cancelled cancelled;
    cancelled.wait = waits().at(arguments.at(0));
    pthread_t thread{};
    (void)pthread_create(&thread, nullptr, waitWithWitness, &cancelled);
    realSleep(kRealDelay);
    (void)pthread_cancel(thread);
    void* result = nullptr;
    (void)pthread_join(thread, &result);
    std::printf("%s %s\n", result == PTHREAD_CANCELED ? "cancelled" : "ended",
                cancelled.destroyed ? "destroyed" : "abandoned");
    return 0;
}

int probeTerminalRead(const Arguments& arguments) {
    const std::string& condition = arguments.at(0);
    Line line;
    line.setWait(0, 250);
    if (condition == "data") {
        (void)!write(line.master(), "x", 1);
    } else if (condition == "no-wait") {
        line.setWait(0, 0);
    }
    std::thread writer([&] {
        if (condition == "late-data") {
            realSleep(kRealDelay);
            (void)!write(line.master(), "x", 1);
        }
    });
    char byte = '-';
    errno = 0;
    const std::int64_t before = realNow();
    const ssize_t count = read(line.slave(), &byte, 1);
    const int error = errno;
    const std::int64_t passed = realNow() - before;
    writer.join();
    std::printf("%zd %d %c\n%lld\n", count, error, byte,
                static_cast<long long>(passed / kNanosecondsPerMillisecond));
    return 0;
}
