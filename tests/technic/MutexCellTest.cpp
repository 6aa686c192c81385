#include "technic/MutexCell.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>

#include "technic/MutexCellGuard.h"
#include "tests/technic/CellInspection.h"
#include "tests/technic/RunOnThreads.h"

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

TEST(MutexCell, AnyOtherValidityWordMakesItNotValid) {
    MutexCell cell;
    cell.init();
    for (const std::uint32_t word : {0x55AA55ABU, 0xAA55AA55U, 0xFFFFFFFFU, 1U, 0U}) {
        cellFields(cell).valid = word;
        EXPECT_EQ(cell.lock(), kNotValid) << word;
        EXPECT_EQ(cell.unlock(), kNotValid) << word;
    }
    cellFields(cell).valid = MutexCell::kValid;
    EXPECT_EQ(cell.lock(), 0);
    EXPECT_EQ(cell.unlock(), 0);
    cell.destroy();
}

TEST(MutexCell, RefusedCallsDoNotTouchTheMutex) {
    MutexCell cell;
    cell.init();
    cellFields(cell).valid = 0;
    EXPECT_EQ(cell.lock(), kNotValid);
    EXPECT_FALSE(isHeld(cell));
    pthread_mutex_lock(&cellFields(cell).handle);
    EXPECT_EQ(cell.unlock(), kNotValid);
    EXPECT_TRUE(isHeld(cell));
    pthread_mutex_unlock(&cellFields(cell).handle);
}

TEST(MutexCell, LockOfACellThatGoesWhileItIsWaitedForIsRefused) {
    MutexCell cell;
    cell.init();
    cell.lock();
    int result = 0;
    std::thread waiting([&] {
        result = cell.lock();
        pthread_mutex_unlock(&cellFields(cell).handle);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    cellFields(cell).valid = 0;
    pthread_mutex_unlock(&cellFields(cell).handle);
    waiting.join();
    EXPECT_EQ(result, kNotValid);
}

TEST(MutexCell, KeepsThreadsFromEachOther) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    MutexCell cell;
    cell.init();
    int counter = 0;
    runOnThreads(kThreads, [&](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            cell.lock();
            ++counter;
            cell.unlock();
        }
    });
    EXPECT_EQ(counter, kThreads * kRounds);
    cell.destroy();
}

TEST(MutexCell, RenewalPutsAnotherMutexInPlace) {
    MutexCell cell;
    cell.init();
    markMutex(cell);
    cell.renew();
    EXPECT_FALSE(hasMarkedMutex(cell));
    EXPECT_EQ(cell.lock(), 0);
    EXPECT_EQ(cell.unlock(), 0);
    cell.destroy();
}

TEST(MutexCell, RenewalLeavesACellAloneThatIsHeld) {
    MutexCell cell;
    cell.init();
    markMutex(cell);
    cell.lock();
    std::thread([&cell] { cell.renew(); }).join();
    cell.unlock();
    EXPECT_TRUE(hasMarkedMutex(cell));
    cell.destroy();
}

TEST(MutexCell, RenewalLeavesACellInvalid) {
    MutexCell cell;
    cell.renew();
    EXPECT_EQ(cell.valid(), 0U);
}

TEST(MutexCellGuard, HoldsTheCellForItsScope) {
    MutexCell cell;
    cell.init();
    {
        const MutexCellGuard guard(cell);
        EXPECT_TRUE(isHeld(cell));
    }
    EXPECT_FALSE(isHeld(cell));
    cell.destroy();
}

TEST(MutexCellGuard, GivesTheCellBackWhenAnExceptionPasses) {
    MutexCell cell;
    cell.init();
    EXPECT_THROW(
        {
            const MutexCellGuard guard(cell);
            throw std::logic_error("passing");
        },
        std::logic_error);
    EXPECT_FALSE(isHeld(cell));
    cell.destroy();
}

TEST(MutexCellGuard, LeavesACellThatIsNotValidAlone) {
    MutexCell cell;
    { const MutexCellGuard guard(cell); }
    EXPECT_EQ(cell.valid(), 0U);
}

}  // namespace
