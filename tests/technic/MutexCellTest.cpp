#include "technic/MutexCell.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "technic/MutexCellGuard.h"

namespace {

constexpr int kAlreadyInitialised = -1;
constexpr int kNotValid = -2;

TEST(MutexCell, IsNotValidBeforeInit) {
    MutexCell cell;
    EXPECT_EQ(cell.valid(), 0U);
    EXPECT_EQ(cell.lock(), kNotValid);
    EXPECT_EQ(cell.unlock(), kNotValid);
}

TEST(MutexCell, InitMakesItValid) {
    MutexCell cell;
    EXPECT_EQ(cell.init(), 0);
    EXPECT_EQ(cell.valid(), 0x55AA55AAU);
    EXPECT_EQ(cell.lock(), 0);
    EXPECT_EQ(cell.unlock(), 0);
    EXPECT_EQ(cell.destroy(), 0);
}

TEST(MutexCell, SecondInitIsRefusedAndLeavesItUsable) {
    MutexCell cell;
    cell.init();
    EXPECT_EQ(cell.init(), kAlreadyInitialised);
    EXPECT_EQ(cell.valid(), MutexCell::kValid);
    EXPECT_EQ(cell.lock(), 0);
    EXPECT_EQ(cell.unlock(), 0);
    cell.destroy();
}

TEST(MutexCell, DestroyedCellRefusesLockAndUnlock) {
    MutexCell cell;
    cell.init();
    EXPECT_EQ(cell.destroy(), 0);
    EXPECT_EQ(cell.valid(), 0U);
    EXPECT_EQ(cell.lock(), kNotValid);
    EXPECT_EQ(cell.unlock(), kNotValid);
}

TEST(MutexCell, DestroyOfACellThatIsNotValidSucceeds) {
    MutexCell cell;
    EXPECT_EQ(cell.destroy(), 0);
    EXPECT_EQ(cell.valid(), 0U);
}

TEST(MutexCell, DestroyedCellCanBeInitialisedAgain) {
    MutexCell cell;
    cell.init();
    cell.destroy();
    EXPECT_EQ(cell.init(), 0);
    EXPECT_EQ(cell.lock(), 0);
    EXPECT_EQ(cell.unlock(), 0);
    cell.destroy();
}

TEST(MutexCell, KeepsThreadsFromEachOther) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    MutexCell cell;
    cell.init();
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                cell.lock();
                ++counter;
                cell.unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, kThreads * kRounds);
    cell.destroy();
}

TEST(MutexCellGuard, HoldsTheCellForItsScope) {
    MutexCell cell;
    cell.init();
    std::atomic<bool> entered{false};
    std::thread other;
    {
        const MutexCellGuard guard(cell);
        other = std::thread([&] {
            const MutexCellGuard inner(cell);
            entered = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(entered);
    }
    other.join();
    EXPECT_TRUE(entered);
    cell.destroy();
}

TEST(MutexCellGuard, LeavesACellThatIsNotValidAlone) {
    MutexCell cell;
    { const MutexCellGuard guard(cell); }
    EXPECT_EQ(cell.valid(), 0U);
}

}  // namespace
