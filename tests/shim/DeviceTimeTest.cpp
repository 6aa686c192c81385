#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <ostream>

// The device's time under the names that a program calls whose times have 64 bits, and under those
// of a program whose times have 32: this file is built as either. The sandbox's time runs ten times
// as fast; real time is taken from the kernel, past the shim.
namespace {

constexpr double kWaitSeconds = 1;
constexpr double kRealPauseSeconds = 0.3;

double realNow() {
    struct {
        std::int32_t seconds;
        std::int32_t nanoseconds;
    } now{};
    (void)syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return now.seconds + now.nanoseconds / 1e9;
}

void keepBusyFor(double realSeconds) {
    const double end = realNow() + realSeconds;
    while (realNow() < end) {
    }
}

timespec later(clockid_t clock) {
    timespec moment{};
    (void)clock_gettime(clock, &moment);
    moment.tv_sec += static_cast<time_t>(kWaitSeconds);
    return moment;
}

timespec waitTime() {
    timespec duration{};
    duration.tv_sec = static_cast<time_t>(kWaitSeconds);
    return duration;
}

void selectWait() {
    timeval limit{};
    limit.tv_sec = static_cast<time_t>(kWaitSeconds);
    (void)select(0, nullptr, nullptr, nullptr, &limit);
}

void pselectWait() {
    const timespec limit = waitTime();
    (void)pselect(0, nullptr, nullptr, nullptr, &limit, nullptr);
}

void ppollWait() {
    const timespec limit = waitTime();
    (void)ppoll(nullptr, 0, &limit, nullptr);
}

void nanosleepWait() {
    const timespec duration = waitTime();
    (void)nanosleep(&duration, nullptr);
}

void clockNanosleepWait() {
    const timespec duration = waitTime();
    (void)clock_nanosleep(CLOCK_MONOTONIC, 0, &duration, nullptr);
}

void clockNanosleepUntil() {
    const timespec moment = later(CLOCK_REALTIME);
    (void)clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &moment, nullptr);
}

void timedWait() {
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    const timespec moment = later(CLOCK_REALTIME);
    pthread_mutex_lock(&mutex);
    while (pthread_cond_timedwait(&condition, &mutex, &moment) == 0) {
    }
    pthread_mutex_unlock(&mutex);
}

void clockWait() {
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    const timespec moment = later(CLOCK_MONOTONIC);
    pthread_mutex_lock(&mutex);
    while (pthread_cond_clockwait(&condition, &mutex, CLOCK_MONOTONIC, &moment) == 0) {
    }
    pthread_mutex_unlock(&mutex);
}

struct WaitRow {
    const char* name;
    void (*wait)();
};

void PrintTo(const WaitRow& row, std::ostream* out) {
    *out << row.name;
}

class Wait : public testing::TestWithParam<WaitRow> {};

TEST_P(Wait, IsShorterByTheScale) {
    const double start = realNow();
    GetParam().wait();
    const double real = realNow() - start;

    EXPECT_GE(real, kWaitSeconds / 10 - 0.001);
    EXPECT_LT(real, kWaitSeconds * 0.6);
}

INSTANTIATE_TEST_SUITE_P(All, Wait,
                         testing::Values(WaitRow{"select", selectWait},
                                         WaitRow{"pselect", pselectWait},
                                         WaitRow{"ppoll", ppollWait},
                                         WaitRow{"nanosleep", nanosleepWait},
                                         WaitRow{"clock_nanosleep", clockNanosleepWait},
                                         WaitRow{"clock_nanosleep-until", clockNanosleepUntil},
                                         WaitRow{"pthread_cond_timedwait", timedWait},
                                         WaitRow{"pthread_cond_clockwait", clockWait}));

double seconds(timespec time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double clockGettime() {
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    return seconds(now);
}

double timeOfDay() {
    timeval now{};
    (void)gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

double timeResult() {
    return static_cast<double>(time(nullptr));
}

double timeStored() {
    time_t now = 0;
    (void)time(&now);
    return static_cast<double>(now);
}

double timespecGet() {
    timespec now{};
    (void)timespec_get(&now, TIME_UTC);
    return seconds(now);
}

// Asks from inside the C++ library, whatever the program's own times are.
double steadyClock() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct ClockRow {
    const char* name;
    double (*look)();
};

void PrintTo(const ClockRow& row, std::ostream* out) {
    *out << row.name;
}

class Clock : public testing::TestWithParam<ClockRow> {};

// Without the scale a clock of whole seconds would show one second at most.
TEST_P(Clock, RunsFasterByTheScale) {
    const double first = GetParam().look();
    keepBusyFor(kRealPauseSeconds);
    EXPECT_GE(GetParam().look() - first, kRealPauseSeconds * 10 - 1);
}

INSTANTIATE_TEST_SUITE_P(
    All, Clock,
    testing::Values(ClockRow{"clock_gettime", clockGettime}, ClockRow{"gettimeofday", timeOfDay},
                    ClockRow{"time", timeResult}, ClockRow{"time-stored", timeStored},
                    ClockRow{"timespec_get", timespecGet}, ClockRow{"steady_clock", steadyClock}));

TEST(Clocks, AllTellTheSameMoment) {
    const double now = clockGettime();
    for (const double other : {timeOfDay(), timeResult(), timeStored(), timespecGet()}) {
        EXPECT_NEAR(other, now, 30);
    }
}

TEST(Select, LeavesWhatIsLeft) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(ends[0], &readable);
    timeval limit{};
    limit.tv_sec = 1000;

    EXPECT_EQ(select(ends[0] + 1, &readable, nullptr, nullptr, &limit), 1);

    const double left =
        static_cast<double>(limit.tv_sec) + static_cast<double>(limit.tv_usec) / 1e6;
    EXPECT_LE(left, 1000);
    EXPECT_GT(left, 900);
    close(ends[0]);
    close(ends[1]);
}

TEST(LineStatus, OfAPseudoTerminalIsAnEmptyTransmitter) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    int status = 0;
    EXPECT_EQ(ioctl(terminal, TIOCSERGETLSR, &status), 0);
    EXPECT_EQ(status, TIOCSER_TEMT);
    close(terminal);
}

}  // namespace
