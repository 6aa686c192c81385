#include <gtest/gtest.h>

#include <atomic>
#include <list>
#include <thread>
#include <vector>

#include "technic/SafePointer.h"
#include "tests/technic/SafePointerTestTypes.h"

namespace {

constexpr int kThreads = 4;

template <class Work>
void runOnThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class SafePointerStress : public testing::Test {
  protected:
    void SetUp() override { SafePointerAnimal::destroyed = 0; }
};

TEST_F(SafePointerStress, ThreadsCopyAndReleaseHandlesOfOneObject) {
    constexpr int kRounds = 3000;
    {
        const SafePointer<SafePointerAnimal> shared(new SafePointerDog);
        runOnThreads([&shared] {
            for (int round = 0; round < kRounds; ++round) {
                const SafePointer<SafePointerAnimal> copy = copyOf(shared);
                SafePointer<SafePointerDog> dog(copy);
                dog = SafePointer<SafePointerDog>(shared);
            }
        });
        EXPECT_EQ(SafePointerAnimal::destroyed, 0);
    }
    EXPECT_EQ(SafePointerAnimal::destroyed, 1);
}

TEST_F(SafePointerStress, EveryObjectIsDestroyedOnceWhileThePoolGrows) {
    constexpr std::size_t kKept = 200;  // more than one growth step
    constexpr int kRounds = 1500;
    // The pool is filled first, so that it grows however the threads are scheduled.
    std::list<SafePointer<SafePointerAnimal>> filling;
    while (filling.size() < SafePointerRegistry::instance().recordCount() - 1) {
        filling.emplace_back(new SafePointerAnimal);
    }
    const std::size_t before = SafePointerRegistry::instance().recordCount();
    runOnThreads([] {
        std::list<SafePointer<SafePointerAnimal>> kept;
        for (int round = 0; round < kRounds; ++round) {
            kept.emplace_back(new SafePointerAnimal);
            const SafePointer<SafePointerAnimal> copy = copyOf(kept.front());
            if (kept.size() > kKept) {
                kept.pop_front();
            }
        }
    });
    EXPECT_EQ(SafePointerAnimal::destroyed, kThreads * kRounds);
    EXPECT_GT(SafePointerRegistry::instance().recordCount(), before);
}

// The thread that releases last destroys the object, whichever it is.
TEST_F(SafePointerStress, LastReleaseMayHappenOnAnyThread) {
    constexpr int kRounds = 300;
    for (int round = 0; round < kRounds; ++round) {
        std::list<SafePointer<SafePointerAnimal>> handles(
            1, SafePointer<SafePointerAnimal>(new SafePointerAnimal));
        handles.push_back(handles.front());
        std::list<SafePointer<SafePointerAnimal>> others;
        others.splice(others.begin(), handles, handles.begin());
        std::thread thread([&others] { others.clear(); });
        handles.clear();
        thread.join();
    }
    EXPECT_EQ(SafePointerAnimal::destroyed, kRounds);
}

// Owner and owned object change slots from round to round, so the records' mutexes are taken in
// either order over time.
TEST_F(SafePointerStress, ObjectsThatOwnEachOtherReuseRecordsInAnyOrder) {
    SafePointerLink::destroyed = 0;
    constexpr int kRounds = 500;
    runOnThreads([] {
        for (int round = 0; round < kRounds; ++round) {
            const SafePointer<SafePointerLink> chain(
                new SafePointerLink(new SafePointerLink(new SafePointerLink)));
        }
    });
    EXPECT_EQ(SafePointerLink::destroyed, 3 * kThreads * kRounds);
}

}  // namespace
