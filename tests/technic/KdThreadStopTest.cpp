#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "technic/CancelGuard.h"
#include "technic/KdThread.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/KdThreadFixture.h"

namespace {

using Sleeps = std::vector<long>;

// The printed line of a killed thread.
std::string killLine(const Body& body, const Endless& work) {
    return "!!!!!!!!!!!!kill thread(body," +
           std::to_string(static_cast<std::int32_t>(work.handle())) + "," +
           std::to_string(body.id()) + ")\n";
}

class StoppedThread : public Thread {};

TEST_F(StoppedThread, KillOfAThreadThatDoesNotRunDoesNothing) {
    Body body([] { return 0; });
    StdoutCapture capture;
    body.kill();
    body.start();
    body.waitForEnd();
    body.kill();
    EXPECT_EQ(capture.text(), "");
}

TEST_F(StoppedThread, KillEndsTheThreadAndSaysSoOnce) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    StdoutCapture capture;
    body.kill();
    body.kill();
    EXPECT_EQ(capture.text(), killLine(body, endless));
    EXPECT_FALSE(body.isRunning());
}

TEST_F(StoppedThread, KillUnwindsTheThreadsStack) {
    const auto held = std::make_shared<int>();
    Endless endless;
    Body body([endless, &held]() mutable {
        const std::vector<std::shared_ptr<int>> mine(1, held);
        return endless();
    });
    body.start();
    endless.waitUntilEntered();
    const StdoutCapture quiet;
    EXPECT_EQ(held.use_count(), 2);
    body.kill();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(StoppedThread, KilledThreadIsNotRegisteredAnyMore) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    EXPECT_EQ(registeredName(body.id()), "body");
    const StdoutCapture quiet;
    body.kill();
    EXPECT_EQ(registeredName(body.id()), "UnknownThread");
}

TEST_F(StoppedThread, KilledThreadCanBeStartedAgain) {
    std::atomic<bool> second{false};
    Endless endless;
    Body body([endless, &second]() mutable { return second ? 8 : endless(); });
    body.start();
    endless.waitUntilEntered();
    const StdoutCapture quiet;
    body.kill();
    second = true;
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_EQ(body.getResult(), 8);
}

TEST_F(StoppedThread, KilledThreadThatDoesNotLeaveKeepsTheNextOneOut) {
    std::atomic<bool> entered{false};
    std::atomic<bool> mayLeave{false};
    std::atomic<int> runs{0};
    Body body([&] {
        const CancelGuard stubborn;
        ++runs;
        entered = true;
        waitFor(mayLeave);
        return 5;
    });
    body.start();
    waitFor(entered);
    {
        const StdoutCapture quiet;
        body.kill();
    }
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.start(), -5);
    mayLeave = true;
    while (body.start() == -5) {
        sleepFor(0, 1000);
    }
    body.waitForEnd();
    EXPECT_EQ(runs, 2);
}

TEST_F(StoppedThread, KilledRunLeavesTheResultOfTheOneBefore) {
    std::atomic<int> runs{0};
    Endless endless;
    Body body([&runs, endless]() mutable { return ++runs == 1 ? 9 : endless(); });
    body.start();
    body.waitForEnd();
    body.start();
    endless.waitUntilEntered();
    EXPECT_EQ(body.getResult(), 0);
    const StdoutCapture quiet;
    body.kill();
    EXPECT_EQ(body.getResult(), 9);
}

TEST_F(StoppedThread, StopLooksForTheEndEvery100Milliseconds) {
    std::atomic<bool> mayEnd{false};
    Body body([&] {
        waitFor(mayEnd);
        return 1;
    });
    body.start();
    StdoutCapture capture;
    const InstantSleep instant([&](std::size_t sleeps) {
        if (sleeps == 3) {
            mayEnd = true;
            body.waitForEnd();
        }
    });
    body.stopWait();
    EXPECT_EQ(InstantSleep::taken(), Sleeps(3, 100));
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.getResult(), 1);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(StoppedThread, StopOfAThreadThatEndedDoesNotWait) {
    Body body([] { return 1; });
    body.start();
    body.waitForEnd();
    const InstantSleep instant;
    body.stopWait();
    EXPECT_EQ(InstantSleep::taken(), Sleeps());
}

TEST_F(StoppedThread, StopKillsAfterTwentySecondsAndRecordsIt) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    StdoutCapture capture;
    const InstantSleep instant;
    body.stopWait();
    EXPECT_EQ(InstantSleep::taken(), Sleeps(200, 100));
    EXPECT_EQ(withoutTimes(capture.text()),
              "Logger is not inition,TIME,[KilledThread] body,in KdThread.cpp,line 156\n" +
                  killLine(body, endless));
    EXPECT_FALSE(body.isRunning());
}

TEST_F(StoppedThread, StopTimeOutCanBeSet) {
    for (const int seconds : {0, 1, 7}) {
        Endless endless;
        Body body(endless);
        body.setStopTimeout(seconds);
        body.start();
        endless.waitUntilEntered();
        const StdoutCapture quiet;
        const InstantSleep instant;
        body.stopWait();
        EXPECT_EQ(InstantSleep::taken(), Sleeps(static_cast<std::size_t>(seconds) * 10, 100));
    }
}

TEST_F(StoppedThread, StopKillsAfterOneMoreSecondWhenTheSystemStops) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    StdoutCapture capture;
    const InstantSleep instant([](std::size_t sleeps) {
        if (sleeps == 3) {
            setSystemRunningFlag(0, "");
        }
    });
    body.stopWait();
    EXPECT_EQ(InstantSleep::taken(), (Sleeps{100, 100, 100, 1000}));
    EXPECT_EQ(capture.text(), stopBanner("0", "") + killLine(body, endless));
    EXPECT_FALSE(body.isRunning());
}

TEST_F(StoppedThread, ThatEndsWithinThatSecondIsNotKilled) {
    std::atomic<bool> mayEnd{false};
    Body body([&] {
        waitFor(mayEnd);
        return 6;
    });
    body.start();
    StdoutCapture capture;
    setSystemRunningFlag(0, "");
    const InstantSleep instant([&](std::size_t) {
        mayEnd = true;
        body.waitForEnd();
    });
    body.stopWait();
    EXPECT_EQ(InstantSleep::taken(), Sleeps{1000});
    EXPECT_EQ(capture.text(), stopBanner("0", ""));
    EXPECT_EQ(body.getResult(), 6);
}

}  // namespace
