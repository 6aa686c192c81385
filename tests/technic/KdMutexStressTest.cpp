#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <set>
#include <thread>
#include <vector>

#include "technic/KdMutex.h"
#include "technic/KdMutexChecker.h"
#include "technic/KdMutexIDAlloc.h"
#include "technic/TimeUtil.h"
#include "tests/technic/CellInspection.h"
#include "tests/technic/RunOnThreads.h"

namespace {

constexpr std::size_t kThreads = 4;

// Counts without any lock of its own: it is told under the mutex's.
struct CountingChecker : IKdMutexChecker {
    CountingChecker() { setKdMutexChecker(this); }
    ~CountingChecker() override { setKdMutexChecker(nullptr); }
    void onLock(KdMutex*, const char*, std::uint32_t, std::uint32_t) override { ++locks; }
    void onUnlock(KdMutex*, const char*, std::uint32_t, std::uint32_t) override { ++unlocks; }

    int locks = 0;
    int unlocks = 0;
};

TEST(KdMutexStress, GuardKeepsThreadsFromEachOther) {
    constexpr int kRounds = 20000;
    constexpr int kTotal = static_cast<int>(kThreads) * kRounds;
    KdMutex mutex;
    CountingChecker checker;
    int counter = 0;
    runOnThreads(kThreads, [&](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            const KdMutexGuard guard(mutex, KD_HERE);
            ++counter;
        }
    });
    EXPECT_EQ(counter, kTotal);
    EXPECT_EQ(checker.locks, kTotal);
    EXPECT_EQ(checker.unlocks, kTotal);
}

// A hundred ids of each thread: together more than the first table holds.
class KdMutexIDAllocStress : public testing::Test {
  protected:
    static constexpr std::size_t kIdsOfAThread = 100;
    static constexpr std::size_t kIds = kThreads * kIdsOfAThread;

    // Takes an id that nobody has, into `slot`.
    void take(std::uint32_t& slot) {
        slot = m_ids.allocate();
        ASSERT_LT(slot, kIds);
        EXPECT_FALSE(m_isTaken[slot].exchange(true)) << "id " << slot << " handed out twice";
    }
    void giveBack(std::uint32_t id) {
        m_isTaken[id] = false;
        m_ids.free(id);
    }
    void takeAll() {
        runOnThreads(kThreads, [this](std::size_t thread) {
            for (std::uint32_t& id : m_taken[thread]) {
                take(id);
            }
        });
    }

    KdMutexIDAlloc m_ids;
    std::array<std::atomic<bool>, kIds> m_isTaken{};
    std::array<std::array<std::uint32_t, kIdsOfAThread>, kThreads> m_taken{};
};

TEST_F(KdMutexIDAllocStress, ThreadsTogetherTakeTheLowestIdsWhileTheTableGrows) {
    takeAll();
    std::set<std::uint32_t> all;
    for (const auto& ids : m_taken) {
        all.insert(ids.begin(), ids.end());
    }
    EXPECT_EQ(all.size(), kIds);
    EXPECT_EQ(*all.rbegin(), kIds - 1);
    EXPECT_EQ(m_ids.wordCount(), 20U);
}

TEST_F(KdMutexIDAllocStress, NoIdIsHandedOutTwiceAtATime) {
    constexpr std::size_t kRounds = 20000;
    takeAll();
    runOnThreads(kThreads, [this](std::size_t thread) {
        for (std::size_t round = 0; round < kRounds; ++round) {
            std::uint32_t& id = m_taken[thread][round * 7 % kIdsOfAThread];
            giveBack(id);
            take(id);
        }
    });
    runOnThreads(kThreads, [this](std::size_t thread) {
        for (const std::uint32_t id : m_taken[thread]) {
            giveBack(id);
        }
    });
    EXPECT_EQ(m_ids.allocate(), 0U);
    EXPECT_EQ(m_ids.allocate(), 1U);
}

// A thread that locks a mutex by a guard and is cancelled.
class CancelledThread : public testing::Test {
  protected:
    void start() { ASSERT_EQ(pthread_create(&m_thread, nullptr, body, this), 0); }
    void cancel() { EXPECT_EQ(pthread_cancel(m_thread), 0); }
    void expectThatItWasCancelled() {
        void* result = nullptr;
        EXPECT_EQ(pthread_join(m_thread, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
    }
    void expectThatAnotherThreadCanLock() {
        ASSERT_FALSE(isHeld(m_mutex.cell()));
        std::thread([this] { const KdMutexGuard guard(m_mutex, KD_HERE); }).join();
    }

    KdMutex m_mutex;
    std::atomic<bool> m_holds{false};

  private:
    static void* body(void* self) {
        auto& test = *static_cast<CancelledThread*>(self);
        const KdMutexGuard guard(test.m_mutex, KD_HERE);
        test.m_holds = true;
        for (;;) {
            sleepFor(10, 0);
        }
    }

    pthread_t m_thread{};
};

TEST_F(CancelledThread, GivesBackTheLockThatItsGuardHolds) {
    start();
    while (!m_holds) {
        std::this_thread::yield();
    }
    cancel();
    expectThatItWasCancelled();
    expectThatAnotherThreadCanLock();
}

// Waiting for a mutex cannot be broken off: the thread gets the lock first, then ends.
TEST_F(CancelledThread, TakesTheLockThatItWaitsForAndGivesItBack) {
    m_mutex.lock(KD_HERE);
    start();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    cancel();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(m_holds);
    m_mutex.unlock(KD_HERE);
    expectThatItWasCancelled();
    EXPECT_TRUE(m_holds);
    expectThatAnotherThreadCanLock();
}

}  // namespace
