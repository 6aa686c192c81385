#include "technic/KdThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "technic/CancelGuard.h"
#include "technic/ThreadId.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/RunningSystem.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A thread whose body is a function.
class Body : public KdThread {
  public:
    explicit Body(std::function<int()> work, bool opensGate = true)
        : KdThread("body"), m_work(std::move(work)), m_opensGate(opensGate) {}
    ~Body() override { stopWait(); }

    int id() const { return threadId(); }
    void waitForEnd() {
        while (isRunning()) {
            sleepFor(0, 1000);
        }
    }

  protected:
    int run() override {
        if (m_opensGate) {
            openRunGate();
        }
        return m_work();
    }

  private:
    const std::function<int()> m_work;
    const bool m_opensGate;
};

void waitFor(const std::atomic<bool>& mark) {
    while (!mark) {
        sleepFor(0, 1000);
    }
}

// Work that never ends by itself, but can be cancelled.
class Endless {
  public:
    int operator()() {
        *m_entered = true;
        for (;;) {
            sleepFor(1000, 0);
        }
    }
    void waitUntilEntered() const { waitFor(*m_entered); }

  private:
    std::shared_ptr<std::atomic<bool>> m_entered = std::make_shared<std::atomic<bool>>(false);
};

std::string registeredName(int tid) {
    std::string name;
    ThreadInfoManager::instance()->getThreadName(tid, name);
    return name;
}

// The printed line of a killed thread, its handle replaced.
std::string killLine(int tid) {
    return "!!!!!!!!!!!!kill thread(body,HANDLE," + std::to_string(tid) + ")\n";
}
std::string withoutHandle(const std::string& printed) {
    std::string text = withoutTimes(printed);
    const std::string before = "kill thread(body,";
    const std::size_t start = text.find(before);
    if (start != std::string::npos) {
        const std::size_t handle = start + before.size();
        const std::size_t end = text.find_first_not_of("-0123456789", handle);
        text.replace(handle, end - handle, "HANDLE");
    }
    return text;
}

class Thread : public testing::Test {
  protected:
    RunningSystem m_system;
};

TEST_F(Thread, HasItsDefaults) {
    Body body([] { return 0; });
    EXPECT_EQ(body.getName(), "body");
    EXPECT_EQ(body.getPriority(), 49);
    EXPECT_EQ(KdThread::kDefaultStopTimeoutSeconds, 20);
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.getResult(), 0);
}

TEST_F(Thread, RunsItsBodyOnAThreadOfItsOwn) {
    std::atomic<int> tid{0};
    Body body([&] {
        tid = currentThreadId();
        return 0;
    });
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_NE(tid, 0);
    EXPECT_NE(tid, currentThreadId());
    EXPECT_EQ(body.id(), tid);
}

TEST_F(Thread, ResultIsZeroWhileItRunsAndTheBodysAfterwards) {
    std::atomic<bool> mayEnd{false};
    Body body([&] {
        waitFor(mayEnd);
        return -17;
    });
    body.start();
    EXPECT_TRUE(body.isRunning());
    EXPECT_EQ(body.getResult(), 0);
    mayEnd = true;
    body.waitForEnd();
    EXPECT_EQ(body.getResult(), -17);
}

TEST_F(Thread, RefusesASecondStart) {
    std::atomic<bool> mayEnd{false};
    Body body([&] {
        waitFor(mayEnd);
        return 0;
    });
    EXPECT_EQ(body.start(), 0);
    EXPECT_EQ(body.start(), -5);
    mayEnd = true;
}

TEST_F(Thread, StartsAnewAfterItsEnd) {
    std::atomic<int> runs{0};
    Body body([&] { return ++runs; });
    for (int expected = 1; expected <= 3; ++expected) {
        EXPECT_EQ(body.start(), 0);
        body.waitForEnd();
        EXPECT_EQ(body.getResult(), expected);
    }
}

TEST_F(Thread, IsRegisteredWhileItRuns) {
    std::string nameInside;
    Body body([&] {
        nameInside = registeredName(currentThreadId());
        return 0;
    });
    body.start();
    body.waitForEnd();
    EXPECT_EQ(nameInside, "body");
    EXPECT_EQ(registeredName(body.id()), "UnknownThread");
}

TEST_F(Thread, IsDetached) {
    int state = -1;
    Body body([&] {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getdetachstate(&attributes, &state);
        pthread_attr_destroy(&attributes);
        return 0;
    });
    body.start();
    body.waitForEnd();
    EXPECT_EQ(state, PTHREAD_CREATE_DETACHED);
}

TEST_F(Thread, PriorityAboveTheDefaultStillInheritsTheScheduling) {
    int policy = -1;
    Body body([&] {
        sched_param parameters{};
        pthread_getschedparam(pthread_self(), &policy, &parameters);
        return 0;
    });
    body.setPriority(50);
    EXPECT_EQ(body.getPriority(), 50);
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_EQ(policy, SCHED_OTHER);
}

TEST_F(Thread, ThatCannotBeMadeIsMinusTwoAndMayBeTriedAgain) {
    pthread_attr_t usual;
    pthread_attr_t huge;
    pthread_getattr_default_np(&usual);
    pthread_getattr_default_np(&huge);
    pthread_attr_setstacksize(&huge, SIZE_MAX / 4 & ~static_cast<std::size_t>(0xFFFF));
    Body body([] { return 3; });
    pthread_setattr_default_np(&huge);
    const int result = body.start();
    pthread_setattr_default_np(&usual);
    EXPECT_EQ(result, -2);
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_EQ(body.getResult(), 3);
    pthread_attr_destroy(&usual);
    pthread_attr_destroy(&huge);
}

TEST_F(Thread, BodyThatOpensNoGateStillLetsStartReturn) {
    Body body([] { return 4; }, /*opensGate=*/false);
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_EQ(body.getResult(), 4);
}

TEST_F(Thread, BodyThatIsCancelledBeforeItOpensTheGateStillLetsStartReturn) {
    Body body(
        [] {
            pthread_cancel(pthread_self());
            pthread_testcancel();
            return 0;
        },
        /*opensGate=*/false);
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
}

TEST_F(Thread, ThatEndsItselfIsEnded) {
    Body body([]() -> int { pthread_exit(nullptr); });
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_EQ(body.getResult(), 0);
    EXPECT_EQ(registeredName(body.id()), "UnknownThread");
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
}

TEST_F(Thread, KillOfAThreadThatDoesNotRunDoesNothing) {
    Body body([] { return 0; });
    StdoutCapture capture;
    body.kill();
    body.start();
    body.waitForEnd();
    body.kill();
    EXPECT_EQ(capture.text(), "");
}

TEST_F(Thread, KillEndsTheThreadAndSaysSoOnce) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    StdoutCapture capture;
    body.kill();
    body.kill();
    EXPECT_EQ(withoutHandle(capture.text()), killLine(body.id()));
    EXPECT_FALSE(body.isRunning());
}

TEST_F(Thread, KillUnwindsTheThreadsStack) {
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

TEST_F(Thread, KilledThreadIsNotRegisteredAnyMore) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    EXPECT_EQ(registeredName(body.id()), "body");
    const StdoutCapture quiet;
    body.kill();
    EXPECT_EQ(registeredName(body.id()), "UnknownThread");
}

TEST_F(Thread, KilledThreadCanBeStartedAgain) {
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

TEST_F(Thread, KilledThreadThatDoesNotLeaveKeepsTheNextOneOut) {
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

TEST_F(Thread, StopWaitsForTheEnd) {
    Body body([] {
        sleepFor(0, 250000);
        return 1;
    });
    body.start();
    StdoutCapture capture;
    body.stopWait();
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.getResult(), 1);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(Thread, StopOfAThreadThatEndedDoesNotWait) {
    Body body([] { return 1; });
    body.start();
    body.waitForEnd();
    const auto start = steady_clock::now();
    body.stopWait();
    EXPECT_LT(steady_clock::now() - start, milliseconds(90));
}

TEST_F(Thread, StopKillsAfterItsTimeOutAndRecordsIt) {
    Endless endless;
    Body body(endless);
    body.setStopTimeout(1);
    body.start();
    endless.waitUntilEntered();
    StdoutCapture capture;
    const auto start = steady_clock::now();
    body.stopWait();
    EXPECT_GE(steady_clock::now() - start, milliseconds(1000));
    EXPECT_EQ(withoutHandle(capture.text()),
              "Logger is not inition,TIME,[KilledThread] body,in KdThread.cpp,line 156\n" +
                  killLine(body.id()));
    EXPECT_FALSE(body.isRunning());
}

TEST_F(Thread, StopKillsAfterOneSecondWhenTheSystemStops) {
    Endless endless;
    Body body(endless);
    body.start();
    endless.waitUntilEntered();
    StdoutCapture capture;
    setSystemRunningFlag(0, "");
    const auto start = steady_clock::now();
    body.stopWait();
    const auto taken = steady_clock::now() - start;
    EXPECT_GE(taken, milliseconds(1000));
    EXPECT_LT(taken, milliseconds(1900));
    EXPECT_EQ(withoutHandle(capture.text()), stopBanner("0", "") + killLine(body.id()));
}

TEST_F(Thread, ThatEndsWithinASecondIsNotKilledWhenTheSystemStops) {
    Body body([] {
        sleepFor(0, 500000);
        return 6;
    });
    body.start();
    StdoutCapture capture;
    setSystemRunningFlag(0, "");
    body.stopWait();
    EXPECT_EQ(capture.text(), stopBanner("0", ""));
    EXPECT_EQ(body.getResult(), 6);
}

TEST_F(Thread, ObjectMayGoAsSoonAsItsThreadIsSeenStopped) {
    for (int i = 0; i < 300; ++i) {
        auto body = std::make_unique<Body>([] { return 0; });
        ASSERT_EQ(body->start(), 0);
        while (body->isRunning()) {
        }
        body.reset();
    }
}

}  // namespace
