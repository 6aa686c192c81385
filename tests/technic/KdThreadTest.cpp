#include "technic/KdThread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <ostream>

#include "technic/ThreadId.h"
#include "tests/technic/KdThreadFixture.h"
#include "tests/technic/ThreadCreation.h"

namespace {

TEST_F(Thread, HasItsDefaults) {
    Body body([] { return 0; });
    EXPECT_EQ(body.getName(), "body");
    EXPECT_EQ(body.getPriority(), 49);
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.getResult(), 0);
}

TEST_F(Thread, RunsItsBodyOnAThreadOfItsOwn) {
    std::atomic<int> tid{0};
    Body body([&] {
        tid = gettid();
        return 0;
    });
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_NE(tid, 0);
    EXPECT_NE(tid, gettid());
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

TEST_F(Thread, StartWaitsUntilTheGateIsOpened) {
    std::atomic<bool> isNearlyOpen{false};
    Body* self = nullptr;
    Body body(
        [&] {
            sleepFor(0, 20000);
            isNearlyOpen = true;
            self->open();
            return 0;
        },
        /*opensGate=*/false);
    self = &body;
    EXPECT_EQ(body.start(), 0);
    EXPECT_TRUE(isNearlyOpen);
}

TEST_F(Thread, DoesNotRunBeforeItsStarterHasItsHandle) {
    std::atomic<bool> isRun{false};
    bool isEarly = false;
    const ThreadCreation creation([&] {
        sleepFor(0, 20000);
        isEarly = isRun;
    });
    Body body([&] {
        isRun = true;
        return 0;
    });
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_FALSE(isEarly);
    EXPECT_TRUE(isRun);
}

TEST_F(Thread, CountsAsRunningWhileItIsBeingMade) {
    bool isRunning = false;
    int secondStart = 0;
    Body* self = nullptr;
    const ThreadCreation creation([&] {
        isRunning = self->isRunning();
        secondStart = self->start();
    });
    Body body([] { return 0; });
    self = &body;
    EXPECT_EQ(body.start(), 0);
    EXPECT_TRUE(isRunning);
    EXPECT_EQ(secondStart, -5);
}

TEST_F(Thread, ThatCannotBeMadeIsMinusTwoAndMayBeTriedAgain) {
    Body body([] { return 3; });
    {
        const ThreadCreation creation;
        ThreadCreation::refuse();
        EXPECT_EQ(body.start(), -2);
    }
    EXPECT_FALSE(body.isRunning());
    EXPECT_EQ(body.start(), 0);
    body.waitForEnd();
    EXPECT_EQ(body.getResult(), 3);
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

TEST_F(Thread, ThatEndsItselfIsEndedWithTheResultOfTheRunBefore) {
    std::atomic<int> runs{0};
    Body body([&runs]() -> int {
        if (++runs == 2) {
            pthread_exit(nullptr);
        }
        return 3;
    });
    for (int run = 1; run <= 3; ++run) {
        EXPECT_EQ(body.start(), 0);
        body.waitForEnd();
        EXPECT_EQ(body.getResult(), 3);
        EXPECT_EQ(registeredName(body.id()), "UnknownThread");
    }
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

struct SchedulingCase {
    int threadPriority;
    int policy;
    int priority;
};

void PrintTo(const SchedulingCase& row, std::ostream* out) {
    *out << row.threadPriority;
}

class ThreadPriority : public Thread, public testing::WithParamInterface<SchedulingCase> {};

TEST_P(ThreadPriority, DecidesTheScheduling) {
    Body body([] { return 0; });
    body.setPriority(GetParam().threadPriority);
    EXPECT_EQ(body.getPriority(), GetParam().threadPriority);
    const ThreadCreation creation;
    EXPECT_EQ(body.start(), 0);
    const ThreadCreation::Attributes asked = ThreadCreation::attributes();
    EXPECT_EQ(asked.policy, GetParam().policy);
    EXPECT_EQ(asked.priority, GetParam().priority);
    EXPECT_EQ(asked.inheritance, PTHREAD_INHERIT_SCHED);
    EXPECT_EQ(asked.detachState, PTHREAD_CREATE_DETACHED);
}

// The least round-robin priority is 1.
INSTANTIATE_TEST_SUITE_P(Of, ThreadPriority,
                         testing::Values(SchedulingCase{-1, SCHED_OTHER, 0},
                                         SchedulingCase{49, SCHED_OTHER, 0},
                                         SchedulingCase{50, SCHED_RR, 1},
                                         SchedulingCase{99, SCHED_RR, 1}));

}  // namespace
