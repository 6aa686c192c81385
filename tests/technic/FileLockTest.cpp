#include "technic/FileLock.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

#include "technic/SourceLocation.h"
#include "tests/technic/MemoryFile.h"
#include "tests/technic/StdoutCapture.h"

namespace {

constexpr int kExclusive = 1;

std::string runtimeErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

// What another process would be told about the byte at `start`: F_UNLCK when it is free, else the
// kind of lock that is in the way of an exclusive one.
int lockSeenByOthers(int fd, off_t start) {
    const pid_t child = fork();
    if (child == 0) {
        struct flock query {};
        query.l_type = F_WRLCK;
        query.l_whence = SEEK_SET;
        query.l_start = start;
        query.l_len = 1;
        _exit(fcntl(fd, F_GETLK, &query) == 0 ? query.l_type : 99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

TEST(FileLock, ExclusiveLockCoversTheFirstByteOnly) {
    const MemoryFile file("content");
    FileLock lock(file.fd(), kExclusive);
    EXPECT_EQ(lock.lock(KD_HERE), 0);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_WRLCK);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 1), F_UNLCK);
    lock.unlock(KD_HERE);
}

TEST(FileLock, CoversTheFirstByteWhereverTheFileIsReadOrWritten) {
    const MemoryFile file("content");
    FileLock lock(file.fd(), kExclusive);
    lseek(file.fd(), 5, SEEK_SET);
    lock.lock(KD_HERE);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_WRLCK);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 5), F_UNLCK);
    lseek(file.fd(), 3, SEEK_SET);
    lock.unlock(KD_HERE);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_UNLCK);
}

TEST(FileLock, KindTwoIsShared) {
    const MemoryFile file;
    FileLock lock(file.fd(), FileLock::kShared);
    EXPECT_EQ(lock.lock(KD_HERE), 0);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_RDLCK);
    lock.unlock(KD_HERE);
}

TEST(FileLock, EveryOtherKindIsExclusive) {
    for (const int kind : {-1, 0, 1, 3}) {
        const MemoryFile file;
        FileLock lock(file.fd(), kind);
        lock.lock(KD_HERE);
        EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_WRLCK) << "kind " << kind;
        lock.unlock(KD_HERE);
    }
}

TEST(FileLock, UnlockFreesTheFile) {
    const MemoryFile file;
    FileLock lock(file.fd(), kExclusive);
    lock.lock(KD_HERE);
    EXPECT_EQ(lock.unlock(KD_HERE), 0);
    EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_UNLCK);
}

TEST(FileLock, ObjectThatGoesLeavesDescriptorAndLock) {
    const MemoryFile file;
    {
        FileLock lock(file.fd(), kExclusive);
        lock.lock(KD_HERE);
    }
    EXPECT_EQ(lockSeenByOthers(file.fd(), 0), F_WRLCK);
}

TEST(FileLock, FailedLockPrintsAndThrowsTheCallersPlace) {
    FileLock lock(-1, kExclusive);
    StdoutCapture capture;
    const std::string text = runtimeErrorOf([&] { lock.lock("Caller.cpp", 21); });
    EXPECT_EQ(text, "FileLock(0xffffffff) lock error,errno=" + std::to_string(EBADF) +
                        ",lock at line 21 of Caller.cpp ");
    EXPECT_EQ(capture.text(), text + "\n");
}

TEST(FileLock, FailedUnlockPrintsAndThrowsTheCallersPlace) {
    FileLock lock(-1, kExclusive);
    StdoutCapture capture;
    const std::string text = runtimeErrorOf([&] { lock.unlock("Caller.cpp", 22); });
    EXPECT_EQ(text, "FileLock(0xffffffff) unlock error,errno=" + std::to_string(EBADF) +
                        ",lock at line 22 of Caller.cpp ");
    EXPECT_EQ(capture.text(), text + "\n");
}

// Another process that holds an exclusive lock until release() or the end of this object.
class LockHolder {
  public:
    explicit LockHolder(int fd) {
        std::array<int, 2> toChild{};
        std::array<int, 2> fromChild{};
        (void)(pipe(toChild.data()) + pipe(fromChild.data()));
        m_child = fork();
        if (m_child == 0) {
            close(toChild[1]);
            struct flock record {};
            record.l_type = F_WRLCK;
            record.l_whence = SEEK_SET;
            record.l_len = 1;
            char byte = static_cast<char>(fcntl(fd, F_SETLKW, &record));
            (void)!write(fromChild[1], &byte, 1);
            (void)!read(toChild[0], &byte, 1);
            _exit(0);
        }
        close(toChild[0]);
        close(fromChild[1]);
        s_toChild = toChild[1];
        char byte = 0;
        (void)!read(fromChild[0], &byte, 1);
        close(fromChild[0]);
    }
    ~LockHolder() {
        release();
        waitpid(m_child, nullptr, 0);
    }
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;

    // May be called in a signal handler.
    static void release() {
        if (s_toChild >= 0) {
            close(s_toChild);
            s_toChild = -1;
        }
    }

  private:
    static inline volatile sig_atomic_t s_toChild = -1;
    pid_t m_child = -1;
};

volatile sig_atomic_t interruptions = 0;

void onInterruption(int) {
    interruptions = interruptions + 1;
    if (interruptions == 2) {
        LockHolder::release();
    }
}

using Clock = std::chrono::steady_clock;

// Interrupts system calls of this thread 0.1 and 1.3 seconds after its construction.
class Interrupter {
  public:
    Interrupter() {
        struct sigaction action {};
        action.sa_handler = onInterruption;
        sigaction(SIGALRM, &action, nullptr);
        const itimerval times{{1, 200000}, {0, 100000}};
        setitimer(ITIMER_REAL, &times, nullptr);
    }
    ~Interrupter() {
        const itimerval none{};
        setitimer(ITIMER_REAL, &none, nullptr);
        signal(SIGALRM, SIG_DFL);
    }
    Interrupter(const Interrupter&) = delete;
    Interrupter& operator=(const Interrupter&) = delete;
};

TEST(FileLock, InterruptedLockSaysSoAndTriesAgainASecondLaterUntilItSucceeds) {
    const MemoryFile file;
    const LockHolder holder(file.fd());
    FileLock lock(file.fd(), kExclusive);
    StdoutCapture capture;
    const Clock::time_point start = Clock::now();
    {
        const Interrupter interrupter;
        EXPECT_EQ(lock.lock(KD_HERE), 0);
    }
    // The second interruption, after which the lock is free, and the second's rest that it costs.
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(1300 + 1000 - 20));
    EXPECT_EQ(capture.text(), "lock wait\nlock wait\n");
    EXPECT_EQ(interruptions, 2);
    lock.unlock(KD_HERE);
}

}  // namespace
