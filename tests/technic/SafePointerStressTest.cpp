#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <list>
#include <memory>
#include <set>

#include "technic/SafePointer.h"
#include "tests/technic/RunOnThreads.h"
#include "tests/technic/SafePointerInspection.h"

namespace {

constexpr std::size_t kThreads = 4;

using Handles = std::list<SafePointer<SafePointerAnimal>>;

class SafePointerStress : public testing::Test {
  protected:
    void SetUp() override { SafePointerAnimal::destroyed = 0; }
};

TEST_F(SafePointerStress, ThreadsCopyAndReleaseHandlesOfOneObject) {
    constexpr int kRounds = 20000;
    {
        const SafePointer<SafePointerAnimal> shared(new SafePointerDog);
        runOnThreads(kThreads, [&shared](std::size_t) {
            for (int round = 0; round < kRounds; ++round) {
                const SafePointer<SafePointerAnimal> copy = copyOf(shared);
                SafePointer<SafePointerDog> dog(copy);
                dog = SafePointer<SafePointerDog>(shared);
            }
        });
        EXPECT_EQ(SafePointerAnimal::destroyed, 0);
        EXPECT_EQ(countOf(recordOf(shared)), 1);
    }
    EXPECT_EQ(SafePointerAnimal::destroyed, 1);
}

// Notes its destruction where it does not go with it.
class NotedDog : public SafePointerDog {
  public:
    explicit NotedDog(std::atomic<int>& destructions) : m_destructions(destructions) {}
    ~NotedDog() override { ++m_destructions; }

  private:
    std::atomic<int>& m_destructions;
};

// Each thread makes objects, and all of them together fill the pool beyond several growth steps.
class SharedObjects : public SafePointerStress {
  protected:
    static constexpr std::size_t kObjectsOfAThread = 160;
    static constexpr std::size_t kObjects = kThreads * kObjectsOfAThread;
    static constexpr std::size_t kShortLivedOfAThread = 2000;

    void makeObjects(std::size_t thread) {
        for (std::size_t i = 0; i < kObjectsOfAThread; ++i) {
            m_made[thread].emplace_back(
                new NotedDog(m_destructions[thread * kObjectsOfAThread + i]));
        }
    }

    // Goes through the objects of every thread. Ends with one more handle of each object of the
    // next thread.
    void copyCastAndAssign(std::size_t thread) {
        Handles& taken = m_taken[thread];
        for (std::size_t step = kThreads; step > 0; --step) {
            taken.clear();
            for (const auto& handle : m_made[(thread + step) % kThreads]) {
                taken.push_back(handle);
                const SafePointer<SafePointerDog> cast(taken.front());
                taken.back() = cast;
                taken.back() = handle;
            }
        }
    }

    static void makeShortLivedObjects() {
        for (std::size_t i = 0; i < kShortLivedOfAThread; ++i) {
            const SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
        }
    }

    // Both lists' objects have another thread's handle as well; either may be the last.
    void releaseAll(std::size_t thread) {
        Handles& first = thread % 2 == 0 ? m_made[thread] : m_taken[thread];
        Handles& second = thread % 2 == 0 ? m_taken[thread] : m_made[thread];
        first.clear();
        second.clear();
    }

    std::set<SafePointerRecord*> recordsOfAll() const {
        std::set<SafePointerRecord*> records;
        for (const Handles& handles : m_made) {
            for (const auto& handle : handles) {
                records.insert(&recordOf(handle));
            }
        }
        return records;
    }

    std::array<std::atomic<int>, kObjects> m_destructions{};
    std::array<Handles, kThreads> m_made;
    std::array<Handles, kThreads> m_taken;
};

TEST_F(SharedObjects, HaveARecordOfTheirOwnEachWhileThePoolGrows) {
    Handles filling;
    while (filling.size() < SafePointerRegistry::instance().recordCount() - 1) {
        filling.emplace_back(new SafePointerAnimal);
    }
    const std::size_t before = SafePointerRegistry::instance().recordCount();
    runOnThreads(kThreads, [this](std::size_t thread) { makeObjects(thread); });
    EXPECT_EQ(recordsOfAll().size(), kObjects);
    EXPECT_GE(SafePointerRegistry::instance().recordCount(), before + std::size_t{4} * 128);
}

TEST_F(SharedObjects, KeepExactCountsWhateverTheThreadsDo) {
    runOnThreads(kThreads, [this](std::size_t thread) { makeObjects(thread); });
    runOnThreads(kThreads, [this](std::size_t thread) {
        copyCastAndAssign(thread);
        makeShortLivedObjects();
    });
    for (SafePointerRecord* record : recordsOfAll()) {
        EXPECT_EQ(countOf(*record), 2);
    }
    EXPECT_EQ(SafePointerAnimal::destroyed, static_cast<int>(kThreads * kShortLivedOfAThread));
}

TEST_F(SharedObjects, AreDestroyedOnceEachAndLeaveEveryRecordFree) {
    runOnThreads(kThreads, [this](std::size_t thread) { makeObjects(thread); });
    const std::set<SafePointerRecord*> records = recordsOfAll();
    runOnThreads(kThreads, [this](std::size_t thread) { copyCastAndAssign(thread); });
    runOnThreads(kThreads, [this](std::size_t thread) { releaseAll(thread); });
    for (const std::atomic<int>& destructions : m_destructions) {
        EXPECT_EQ(destructions, 1);
    }
    for (SafePointerRecord* record : records) {
        EXPECT_EQ(outcomeOf([&] { SafePointerRegistry::instance().free(record, ""); }),
                  thrownOnly("double free poniter(0x00000000)"));
    }
}

// Owner and owned object change slots from round to round, so the records' mutexes are taken in
// either order over time.
TEST_F(SafePointerStress, ObjectsThatOwnEachOtherReuseRecordsInAnyOrder) {
    SafePointerLink::destroyed = 0;
    constexpr int kRounds = 500;
    runOnThreads(kThreads, [](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            const SafePointer<SafePointerLink> chain(
                new SafePointerLink(new SafePointerLink(new SafePointerLink)));
        }
    });
    EXPECT_EQ(SafePointerLink::destroyed, 3 * static_cast<int>(kThreads) * kRounds);
}

}  // namespace
