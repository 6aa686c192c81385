#include "technic/Singlton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <thread>
#include <vector>

#include "technic/KdMutex.h"
#include "technic/SafePointer.h"

namespace {

class CountedSinglton : public Singlton<CountedSinglton> {
  public:
    CountedSinglton() { ++constructed; }
    static inline std::atomic<int> constructed{0};
};

class FirstSinglton : public Singlton<FirstSinglton> {
  public:
    ~FirstSinglton() override;
};

class SecondSinglton : public Singlton<SecondSinglton> {
  public:
    SecondSinglton() { std::fputs("second made\n", stderr); }
    ~SecondSinglton() override { std::fputs("second destroyed\n", stderr); }
};

FirstSinglton::~FirstSinglton() {
    std::fputs("first destroyed\n", stderr);
    (void)SecondSinglton::instance();
}

TEST(Singlton, IsMadeOnceOnFirstUse) {
    EXPECT_EQ(CountedSinglton::constructed, 0);
    CountedSinglton* const made = CountedSinglton::instance();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(CountedSinglton::instance(), made);
    EXPECT_EQ(CountedSinglton::constructed, 1);
}

class RacedSinglton : public Singlton<RacedSinglton> {
  public:
    RacedSinglton() {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ++constructed;
    }
    static inline std::atomic<int> constructed{0};
};

TEST(Singlton, IsMadeOnceByManyThreads) {
    constexpr std::size_t kThreads = 8;
    std::vector<RacedSinglton*> seen(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&seen, i] { seen[i] = RacedSinglton::instance(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(RacedSinglton::constructed, 1);
    EXPECT_EQ(std::set<RacedSinglton*>(seen.begin(), seen.end()).size(), 1U);
}

class Another : public Singlton<Another> {};

class MakesAnother : public Singlton<MakesAnother> {
  public:
    MakesAnother() : other(Another::instance()) {}
    Another* const other;
};

TEST(Singlton, MayMakeAnotherInItsConstructor) {
    EXPECT_EQ(MakesAnother::instance()->other, Another::instance());
}

TEST(SingltonDeathTest, ListIsTornDownAtExitLastMadeFirst) {
    EXPECT_EXIT(
        {
            FirstSinglton::instance();
            SecondSinglton::instance();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "second made\nsecond destroyed\nfirst destroyed\n");
}

TEST(SingltonDeathTest, InstanceAskedForAfterItsTearDownIsMadeAnewAndKept) {
    EXPECT_EXIT(
        {
            FirstSinglton::instance();
            SecondSinglton::instance();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "first destroyed\nsecond made\n$");
}

// Whatever the order in which statics go, mutexes may be made, used and destroyed.
struct UsesMutexesLate {
    ~UsesMutexesLate() {
        KdMutex late;
        const KdMutexGuard guard(late, KD_HERE);
        const KdMutexGuard own(mutex, KD_HERE);
        std::fputs("late use\n", stderr);
    }
    KdMutex mutex;
};

TEST(SingltonDeathTest, MutexesWorkInStaticDestructors) {
    EXPECT_EXIT(
        {
            static const UsesMutexesLate late;
            std::exit(0);
        },
        testing::ExitedWithCode(0), "late use");
}

void useFoundationForEver(std::atomic<bool>& isRunning) {
    auto& shared = *new KdMutex;
    for (;;) {
        KdMutex fresh;
        const KdMutexGuard outer(shared, KD_HERE);
        const KdMutexGuard inner(fresh, KD_HERE);
        const SafePointer<int> handle(new int(1));
        isRunning = true;
    }
}

TEST(SingltonDeathTest, DetachedThreadMayUseTheFoundationWhileTheProcessEnds) {
    EXPECT_EXIT(
        {
            auto& isRunning = *new std::atomic<bool>(false);
            std::thread([&isRunning] { useFoundationForEver(isRunning); }).detach();
            while (!isRunning) {
                std::this_thread::yield();
            }
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
