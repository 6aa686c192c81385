#include "technic/KdMutex.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "technic/KdMutexChecker.h"
#include "technic/KdMutexIDAlloc.h"
#include "tests/technic/CellInspection.h"
#include "tests/technic/StdoutCapture.h"

namespace {

std::string runtimeErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

std::string notInitialised(const KdMutex& mutex, const std::string& rest, const char* key = "0") {
    std::array<char, 64> start{};
    (void)std::snprintf(start.data(), start.size(), "Mutex(0x%x) not initialized(Key=%s),",
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(&mutex)), key);
    return start.data() + rest;
}

// Takes notes of what it is told.
class RecordingChecker : public IKdMutexChecker {
  public:
    RecordingChecker() { setKdMutexChecker(this); }
    ~RecordingChecker() override { setKdMutexChecker(nullptr); }

    void onLock(KdMutex* mutex, const char* file, std::uint32_t line, std::uint32_t id) override {
        note("lock", mutex, file, line, id);
    }
    void onUnlock(KdMutex* mutex, const char* file, std::uint32_t line, std::uint32_t id) override {
        note("unlock", mutex, file, line, id);
    }

    std::vector<std::string> notes;
    std::vector<KdMutex*> mutexes;
    std::function<void()> atNote;

  private:
    void note(const std::string& what, KdMutex* mutex, const char* file, std::uint32_t line,
              std::uint32_t id) {
        notes.push_back(what + " " + file + ":" + std::to_string(line) + " id " +
                        std::to_string(id));
        mutexes.push_back(mutex);
        if (atNote) {
            atNote();
        }
    }
};

TEST(KdMutex, HoldsItsCellFromLockToUnlock) {
    KdMutex mutex;
    EXPECT_EQ(mutex.cell().valid(), 0x55AA55AAU);
    EXPECT_EQ(mutex.lock(KD_HERE), 0);
    EXPECT_TRUE(isHeld(mutex.cell()));
    EXPECT_EQ(mutex.unlock(KD_HERE), 0);
    EXPECT_FALSE(isHeld(mutex.cell()));
}

void endProcessAfter100Milliseconds() {
    const itimerval once{{0, 0}, {0, 100000}};
    setitimer(ITIMER_REAL, &once, nullptr);
}

TEST(KdMutexDeathTest, ThreadThatLocksAMutexItHoldsWaitsForEver) {
    EXPECT_EXIT(
        {
            KdMutex mutex;
            mutex.lock(KD_HERE);
            endProcessAfter100Milliseconds();
            mutex.lock(KD_HERE);
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGALRM), "");
}

TEST(KdMutex, LockOfADestroyedCellThrowsAndNamesTheCaller) {
    KdMutex mutex;
    mutex.cell().destroy();
    EXPECT_EQ(runtimeErrorOf([&] { mutex.lock("Caller.cpp", 42); }),
              notInitialised(mutex, "lock at line 42 of Caller.cpp "));
}

TEST(KdMutex, UnlockOfADestroyedCellThrowsAndNamesTheCaller) {
    KdMutex mutex;
    mutex.cell().destroy();
    EXPECT_EQ(runtimeErrorOf([&] { mutex.unlock("Caller.cpp", 43); }),
              notInitialised(mutex, "unlock at line 43 of Caller.cpp "));
}

TEST(KdMutex, LockOfACellThatGoesWhileItIsWaitedForThrows) {
    KdMutex mutex;
    pthread_mutex_t& handle = cellFields(mutex.cell()).handle;
    pthread_mutex_lock(&handle);
    std::string text;
    std::thread waiting([&] {
        text = runtimeErrorOf([&] { mutex.lock("Caller.cpp", 44); });
        pthread_mutex_unlock(&handle);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    cellFields(mutex.cell()).valid = 0;
    pthread_mutex_unlock(&handle);
    waiting.join();
    EXPECT_EQ(text, notInitialised(mutex, "lock at line 44 of Caller.cpp "));
}

TEST(KdMutex, KeyInTheTextIsTheValidityWordInHex) {
    KdMutex mutex;
    cellFields(mutex.cell()).valid = 0x1234abcd;
    EXPECT_EQ(runtimeErrorOf([&] { mutex.lock("A.cpp", 1); }),
              notInitialised(mutex, "lock at line 1 of A.cpp ", "1234abcd"));
    EXPECT_EQ(runtimeErrorOf([&] { mutex.unlock("A.cpp", 2); }),
              notInitialised(mutex, "unlock at line 2 of A.cpp ", "1234abcd"));
    cellFields(mutex.cell()).valid = MutexCell::kValid;
}

TEST(KdMutex, TextOfAFailureIsCutAt255Bytes) {
    KdMutex mutex;
    mutex.cell().destroy();
    const std::string longName(400, 'f');
    EXPECT_EQ(runtimeErrorOf([&] { mutex.lock(longName.c_str(), 1); }),
              notInitialised(mutex, "lock at line 1 of " + longName).substr(0, 255));
}

TEST(KdMutex, FailurePrintsNothing) {
    KdMutex mutex;
    mutex.cell().destroy();
    StdoutCapture capture;
    EXPECT_THROW(mutex.lock(KD_HERE), std::runtime_error);
    EXPECT_THROW(mutex.unlock(KD_HERE), std::runtime_error);
    EXPECT_EQ(capture.text(), "");
}

// The lowest three ids that are free in this process.
std::array<std::uint32_t, 3> lowestFreeIds() {
    KdMutexIDAlloc& ids = *KdMutexIDAlloc::instance();
    const std::array<std::uint32_t, 3> taken{ids.allocate(), ids.allocate(), ids.allocate()};
    for (const std::uint32_t id : taken) {
        ids.free(id);
    }
    return taken;
}

TEST(KdMutex, TakesTheLowestFreeIdAndGivesItBack) {
    const std::array<std::uint32_t, 3> free = lowestFreeIds();
    {
        const KdMutex first;
        auto second = std::make_unique<KdMutex>();
        const KdMutex third;
        EXPECT_EQ(first.getId(), free[0]);
        EXPECT_EQ(second->getId(), free[1]);
        EXPECT_EQ(third.getId(), free[2]);
        second.reset();
        const KdMutex fourth;
        EXPECT_EQ(fourth.getId(), free[1]);
    }
    EXPECT_EQ(lowestFreeIds(), free);
}

TEST(KdMutexChecker, IsToldOfEveryLockAndUnlockWithTheCaller) {
    KdMutex mutex;
    RecordingChecker checker;
    mutex.lock("A.cpp", 7);
    mutex.unlock("B.cpp", 8);
    const std::string id = std::to_string(mutex.getId());
    EXPECT_EQ(checker.notes,
              (std::vector<std::string>{"lock A.cpp:7 id " + id, "unlock B.cpp:8 id " + id}));
    EXPECT_EQ(checker.mutexes, (std::vector<KdMutex*>{&mutex, &mutex}));
}

TEST(KdMutexChecker, IsToldWhileTheLockIsHeld) {
    KdMutex mutex;
    RecordingChecker checker;
    checker.atNote = [&] { EXPECT_TRUE(isHeld(mutex.cell())); };
    mutex.lock(KD_HERE);
    mutex.unlock(KD_HERE);
    EXPECT_EQ(checker.notes.size(), 2U);
}

TEST(KdMutexChecker, ThatThrowsLeavesTheMutexFree) {
    KdMutex mutex;
    {
        RecordingChecker checker;
        checker.atNote = [] { throw std::bad_alloc(); };
        EXPECT_THROW(mutex.lock(KD_HERE), std::bad_alloc);
    }
    EXPECT_FALSE(isHeld(mutex.cell()));
}

TEST(KdMutexChecker, IsNotToldOfAFailure) {
    KdMutex mutex;
    RecordingChecker checker;
    mutex.cell().destroy();
    EXPECT_THROW(mutex.lock(KD_HERE), std::runtime_error);
    EXPECT_THROW(mutex.unlock(KD_HERE), std::runtime_error);
    EXPECT_TRUE(checker.notes.empty());
}

TEST(KdMutexChecker, NullCheckerIsInForceWhileNoneIsSet) {
    EXPECT_EQ(kdMutexChecker(), NullKdMutexChecker::instance());
    {
        RecordingChecker checker;
        EXPECT_EQ(kdMutexChecker(), &checker);
    }
    EXPECT_EQ(kdMutexChecker(), NullKdMutexChecker::instance());
}

TEST(KdMutexGuard, LocksWithTheCallersPlaceAndUnlocksWithTheHeadersOwn) {
    KdMutex mutex;
    RecordingChecker checker;
    { const KdMutexGuard guard(mutex, "Caller.cpp", 12); }
    const std::string id = std::to_string(mutex.getId());
    EXPECT_EQ(checker.notes, (std::vector<std::string>{"lock Caller.cpp:12 id " + id,
                                                       "unlock ../technic/KdMutex.h:71 id " + id}));
}

TEST(KdMutexGuard, UnlocksWhenAnExceptionPasses) {
    KdMutex mutex;
    EXPECT_THROW(
        {
            const KdMutexGuard guard(mutex, KD_HERE);
            throw std::logic_error("passing");
        },
        std::logic_error);
    EXPECT_FALSE(isHeld(mutex.cell()));
}

TEST(KdMutexGuard, FailedLockThrowsWithTheCallersPlace) {
    KdMutex mutex;
    mutex.cell().destroy();
    EXPECT_EQ(runtimeErrorOf([&] { const KdMutexGuard guard(mutex, "Caller.cpp", 12); }),
              notInitialised(mutex, "lock at line 12 of Caller.cpp "));
}

TEST(KdMutexGuard, FailedUnlockThrowsOutOfTheDestructor) {
    KdMutex mutex;
    const std::string text = runtimeErrorOf([&] {
        const KdMutexGuard guard(mutex, "Caller.cpp", 12);
        mutex.cell().unlock();
        mutex.cell().destroy();
    });
    EXPECT_EQ(text, notInitialised(mutex, "unlock at line 71 of ../technic/KdMutex.h "));
}

}  // namespace
