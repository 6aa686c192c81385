#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <string>

#include "tests/ScarceMemory.h"
#include "tests/technic/KdThreadFixture.h"

// A thread in want of memory.
namespace {

TEST(ThreadWithoutMemory, ForItsEntryInTheRegistryRunsAllTheSame) {
    const ScarceMemory scarce("ThreadInfoManager.cpp");
    Body body([] { return 7; });

    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();

    EXPECT_EQ(body.getResult(), 7);
}

TEST(ThreadWithoutMemory, ForItsBodyEndsWithTheResultOfTheRunBefore) {
    std::atomic<bool> isScarce{false};
    Body body([&] {
        if (isScarce) {
            throw std::bad_alloc();
        }
        return 7;
    });
    body.start();
    body.waitForEnd();
    const int tid = body.id();
    isScarce = true;

    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();

    EXPECT_EQ(body.getResult(), 7);
    std::string name;
    EXPECT_FALSE(ThreadInfoManager::instance()->getThreadName(body.id(), name));
    EXPECT_NE(body.id(), tid);
}

TEST(ThreadWithoutMemory, ForItsBodyLetsItsStarterGoOnWhenTheGateIsStillClosed) {
    Body body([]() -> int { throw std::bad_alloc(); }, false);

    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
}

}  // namespace
