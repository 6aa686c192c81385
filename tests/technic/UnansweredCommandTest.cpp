#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "technic/SystemControl.h"
#include "tests/technic/ControlDaemon.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/SocketCalls.h"
#include "tests/technic/StdoutCapture.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Another limit of open files, set back at the end.
class FileLimit {
  public:
    explicit FileLimit(rlim_t limit) {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit changed{limit, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &changed);
    }
    ~FileLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

  private:
    rlimit m_before{};
};

int nextDescriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
}

TEST(UnansweredCommand, HalfAReplyIsNotWaitedForEver) {
    const ControlDaemon daemon({std::string(2, '\0'), true});
    const auto start = steady_clock::now();
    EXPECT_EQ(sendLocalCommand("command", 1), -1);
    EXPECT_LT(steady_clock::now() - start, milliseconds(20000));
}

class ReplyWait : public testing::TestWithParam<int> {};

TEST_P(ReplyWait, TakesTheSecondsGiven) {
    const ControlDaemon daemon(ControlDaemon::silence());
    SocketCalls calls;
    timeval waited{};
    calls.select = [&](const timeval& wait) {
        waited = wait;
        return 0;
    };
    EXPECT_EQ(sendLocalCommand("command", GetParam()), -2);
    EXPECT_EQ(waited.tv_sec, GetParam());
    EXPECT_EQ(waited.tv_usec, 0);
}

INSTANTIATE_TEST_SUITE_P(Seconds, ReplyWait, testing::Values(1, 30, INT32_MAX));

TEST(UnansweredCommand, NoReplyInTimeIsMinusTwo) {
    const ControlDaemon daemon(ControlDaemon::silence());
    const auto start = steady_clock::now();
    EXPECT_EQ(sendLocalCommand("command", 1), -2);
    EXPECT_GE(steady_clock::now() - start, milliseconds(990));
}

class UnwantedReply : public testing::TestWithParam<int> {};

TEST_P(UnwantedReply, IsNotWaitedFor) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    SocketCalls calls;
    bool isWaitedFor = false;
    calls.select = [&](const timeval&) {
        isWaitedFor = true;
        return 0;
    };
    EXPECT_EQ(sendLocalCommand("command", GetParam()), -2);
    EXPECT_FALSE(isWaitedFor);
    EXPECT_EQ(daemon.received(), ControlDaemon::request("command"));
}

INSTANTIATE_TEST_SUITE_P(Timeouts, UnwantedReply, testing::Values(0, -1));

TEST(UnansweredCommand, EmptyCommandIsNotSent) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("", 5), -9);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(daemon.received(), "");
}

TEST(UnansweredCommand, WithoutADaemonSaysSo) {
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 5), -9);
    EXPECT_EQ(capture.text(), "connect_to_local_md: No such file or directory\n");
}

TEST(UnansweredCommand, WithoutAListeningDaemonSaysSo) {
    writeContent(device_paths::kControlDaemonSocket, "");
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 0), -9);
    EXPECT_EQ(capture.text(), "connect_to_local_md: Connection refused\n");
    std::filesystem::remove(device_paths::kControlDaemonSocket);
}

TEST(UnansweredCommand, DaemonThatIsBusyIsWaitedForThirtySeconds) {
    const ControlDaemon daemon(ControlDaemon::reply(0));
    SocketCalls calls;
    timeval longest{};
    calls.beforeConnect = [&](int socket, const sockaddr&, socklen_t) {
        socklen_t size = sizeof(longest);
        getsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &longest, &size);
    };
    EXPECT_EQ(sendLocalCommand("command", 5), 0);
    EXPECT_EQ(longest.tv_sec, 30);
    EXPECT_EQ(longest.tv_usec, 0);
}

TEST(UnansweredCommand, WithoutASocketSaysSo) {
    StderrCapture capture;
    const FileLimit none(static_cast<rlim_t>(nextDescriptor()));
    EXPECT_EQ(sendLocalCommand("command", 5), -9);
    EXPECT_EQ(capture.text(), "connect_to_local_md: Too many open files\n");
}

// The process would end with a signal for a broken connection if it were not held back.
class BrokenConnection : public testing::TestWithParam<int> {};

TEST_P(BrokenConnection, IsMinusNine) {
    const ControlDaemon daemon({""});
    SocketCalls calls;
    int count = 0;
    calls.send = [&](int socket, const void* data, std::size_t length, int flags) {
        if (count++ == GetParam()) {
            shutdown(socket, SHUT_WR);
        }
        return SocketCalls::sendToSystem(socket, data, length, flags);
    };
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 5), -9);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(count, GetParam() + 1);
}

INSTANTIATE_TEST_SUITE_P(AtTheLengthOrTheCommand, BrokenConnection, testing::Values(0, 1));

TEST(UnansweredCommand, FailedWaitIsMinusNineAndSaysSo) {
    const ControlDaemon daemon(ControlDaemon::silence());
    SocketCalls calls;
    calls.select = [](const timeval&) {
        errno = ENOMEM;
        return -1;
    };
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 5), -9);
    EXPECT_EQ(capture.text(), "sy_system select: Cannot allocate memory\n");
}

TEST(UnansweredCommand, SocketThatCannotBeWaitedForIsMinusNine) {
    const ControlDaemon daemon(ControlDaemon::reply(0));
    const FileLimit many(FD_SETSIZE + 100);
    std::vector<int> descriptors;
    while (nextDescriptor() < FD_SETSIZE) {
        descriptors.push_back(dup(STDIN_FILENO));
        ASSERT_NE(descriptors.back(), -1);
    }
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 5), -9);
    EXPECT_EQ(capture.text(), "sy_system select: Invalid argument\n");
    for (const int descriptor : descriptors) {
        close(descriptor);
    }
}

TEST(UnansweredCommand, LeavesNoDescriptorOpen) {
    const StderrCapture quiet;
    const int before = nextDescriptor();
    EXPECT_EQ(sendLocalCommand("no daemon", 5), -9);
    EXPECT_EQ(nextDescriptor(), before);
    for (const int timeout : {0, 5}) {
        ControlDaemon daemon(ControlDaemon::reply(0));
        EXPECT_EQ(sendLocalCommand("command", timeout), timeout == 0 ? -2 : 0);
        (void)daemon.received();
    }
    EXPECT_EQ(nextDescriptor(), before);
}

TEST(UnansweredCommand, AfterASignalTheRestOfTheTimeIsWaited) {
    const ControlDaemon daemon(ControlDaemon::silence());
    SocketCalls calls;
    std::vector<std::int64_t> waits;
    calls.select = [&](timeval& wait) {
        waits.push_back(wait.tv_sec);
        wait.tv_sec -= 10;  // as the system leaves it
        errno = EINTR;
        return waits.size() < 3 ? -1 : 0;
    };
    StderrCapture capture;
    EXPECT_EQ(sendLocalCommand("command", 30), -2);
    EXPECT_EQ(waits, (std::vector<std::int64_t>{30, 20, 10}));
    EXPECT_EQ(capture.text(), "");
}

TEST(UnansweredCommand, SignalDoesNotEndTheWait) {
    const ControlDaemon daemon({ControlDaemon::reply(3).bytes, false, milliseconds(300)});
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupt, &before);
    const itimerval every50Ms{{0, 50000}, {0, 50000}};
    setitimer(ITIMER_REAL, &every50Ms, nullptr);
    EXPECT_EQ(sendLocalCommand("command", 5), 3);
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
}

}  // namespace
