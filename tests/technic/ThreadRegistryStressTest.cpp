#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "technic/ThreadInfoManager.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/RunOnThreads.h"
#include "tests/technic/SignalCalls.h"
#include "tests/technic/StdoutCapture.h"

namespace {

// No kernel hands these out.
constexpr int kFirstId = 0x7FFF0000;
constexpr int kRounds = 200;

// A life in the registry; false when something of it got lost.
bool liveAs(int tid, const std::string& name) {
    ThreadInfoManager& registry = *ThreadInfoManager::instance();
    std::string found;
    registry.registerThread(tid, name, static_cast<pthread_t>(tid));
    bool isRight = registry.getThreadName(tid, found) && found == name;
    registry.setThreadName(tid, name + " renamed");
    isRight = registry.getThreadName(tid, found) && found == name + " renamed" && isRight;
    registry.unregisterThread(tid);
    return !registry.getThreadName(tid, found) && found == "UnknownThread" && isRight;
}

TEST(ThreadRegistryStress, KeepsEveryThreadsEntryApart) {
    std::atomic<int> lost{0};
    runOnThreads(8, [&lost](std::size_t index) {
        for (int round = 0; round < kRounds; ++round) {
            const int tid = kFirstId + static_cast<int>(index) * kRounds + round;
            lost += liveAs(tid, "thread " + std::to_string(tid)) ? 0 : 1;
        }
    });
    EXPECT_EQ(lost, 0);
}

TEST(ThreadRegistryStress, OnlyThreadsThatAreThereArePoked) {
    std::atomic<int> strange{0};
    const SentSignals signals([&strange](pthread_t thread, int) {
        strange += thread >= kFirstId && thread < kFirstId + 4U ? 0 : 1;
        return 0;
    });
    const InstantSleep sleeps;
    const StdoutCapture quiet;
    runOnThreads(4, [](std::size_t index) {
        const int tid = kFirstId + static_cast<int>(index);
        for (int round = 0; round < kRounds; ++round) {
            if (index == 0) {
                ThreadInfoManager::instance()->debugTimeoutThreads();
            } else {
                EXPECT_TRUE(liveAs(tid, "thread"));
            }
        }
    });
    EXPECT_EQ(strange, 0);
}

}  // namespace
