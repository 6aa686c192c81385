#include "technic/KdMutex.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "technic/KdMutexChecker.h"
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

std::string notInitialised(const KdMutex& mutex, const std::string& rest) {
    std::array<char, 64> start{};
    (void)std::snprintf(start.data(), start.size(), "Mutex(0x%x) not initialized(Key=0),",
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(&mutex)));
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

// Whether another thread finds the mutex's cell taken. The thread is left waiting until then.
class Contender {
  public:
    explicit Contender(KdMutex& mutex)
        : m_thread([this, &mutex] {
              mutex.cell().lock();
              m_entered = true;
              mutex.cell().unlock();
          }) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ~Contender() { m_thread.join(); }
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;

    bool entered() const { return m_entered; }

  private:
    std::atomic<bool> m_entered{false};
    std::thread m_thread;
};

TEST(KdMutex, LocksAndUnlocks) {
    KdMutex mutex;
    EXPECT_EQ(mutex.lock(KD_HERE), 0);
    EXPECT_EQ(mutex.unlock(KD_HERE), 0);
}

TEST(KdMutex, LockKeepsOtherThreadsOut) {
    KdMutex mutex;
    mutex.lock(KD_HERE);
    {
        const Contender contender(mutex);
        EXPECT_FALSE(contender.entered());
        mutex.unlock(KD_HERE);
    }
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

TEST(KdMutex, IdsAreReusedLowestFirst) {
    const KdMutex first;
    auto second = std::make_unique<KdMutex>();
    const KdMutex third;
    const std::uint32_t freed = second->getId();
    EXPECT_LT(first.getId(), freed);
    EXPECT_LT(freed, third.getId());
    second.reset();
    const KdMutex fourth;
    EXPECT_EQ(fourth.getId(), freed);
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
    std::vector<std::unique_ptr<Contender>> contenders;
    checker.atNote = [&] {
        contenders.push_back(std::make_unique<Contender>(mutex));
        EXPECT_FALSE(contenders.back()->entered());
    };
    mutex.lock(KD_HERE);
    mutex.unlock(KD_HERE);
    EXPECT_EQ(contenders.size(), 2U);
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
    EXPECT_EQ(mutex.lock(KD_HERE), 0);
    mutex.unlock(KD_HERE);
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
