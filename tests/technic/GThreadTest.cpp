#include "technic/GThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/technic/WorkerFixture.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class Worker : public WorkerFixture {};

TEST_F(Worker, RunsItsWorksInOrderEachOnItsThread) {
    std::vector<int> threads;
    const auto note = [&threads] {
        threads.push_back(currentThreadId());
        return 0;
    };
    Works works;
    works.setup = note;
    works.cycle = [&] {
        note();
        return 1;
    };
    works.teardown = note;
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 1);
    worker.waitForEnd();
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(threads, (std::vector<int>{currentThreadId(), worker.id(), currentThreadId()}));
}

TEST_F(Worker, CallsItsCycleWorkAgainWhileThatReturnsZero) {
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 5 ? 7 : 0; };
    TestWorker worker(works);
    worker.start();
    worker.waitForEnd();
    EXPECT_EQ(calls, 5);
}

TEST_F(Worker, EndsAfterOnePassWhenTheFirstCallIsNotZero) {
    for (const int value : {1, -1}) {
        int calls = 0;
        Works works;
        works.cycle = [&] {
            ++calls;
            return value;
        };
        TestWorker worker(works);
        worker.start();
        worker.waitForEnd();
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(worker.getResult(), 0);
    }
}

TEST_F(Worker, TearDownOfAWorkerThatEndedWaitsForStop) {
    std::atomic<int> teardowns{0};
    Works works;
    works.cycle = [] { return 1; };
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    TestWorker worker(works);
    worker.start();
    worker.waitForEnd();
    EXPECT_EQ(teardowns, 0);
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(teardowns, 1);
}

TEST_F(Worker, StopEndsARunningWorkerBeforeItTearsDown) {
    bool isRunningAtTearDown = true;
    TestWorker* self = nullptr;
    Works works;
    works.teardown = [&] {
        isRunningAtTearDown = self->isRunning();
        return 0;
    };
    TestWorker worker(works);
    self = &worker;
    worker.start();
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_FALSE(isRunningAtTearDown);
}

TEST_F(Worker, StartOfARunningWorkerSucceedsWithoutASetUp) {
    int setups = 0;
    Works works;
    works.setup = [&] {
        ++setups;
        return 0;
    };
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 1);
    EXPECT_EQ(worker.start(), 1);
    EXPECT_EQ(setups, 1);
}

TEST_F(Worker, StopWithoutAStartTearsNothingDown) {
    int teardowns = 0;
    Works works;
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    TestWorker worker(works);
    EXPECT_EQ(worker.stop(), 0);
    EXPECT_EQ(teardowns, 0);
}

TEST_F(Worker, SecondStopTearsNothingDown) {
    int teardowns = 0;
    Works works;
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    TestWorker worker(works);
    worker.start();
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(worker.stop(), 0);
    EXPECT_EQ(teardowns, 1);
}

TEST_F(Worker, FailedSetUpMakesNoThreadAndIsRecordedWithTheCallersId) {
    Works works;
    works.setup = [] { return 5; };
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 0);
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(worker.id(), 0);
    EXPECT_EQ(exceptionLog(),
              exceptionRecord(label(currentThreadId()) + " setup failed. result= 5"));
    EXPECT_EQ(getSystemRunningFlag(), 1);
}

TEST_F(Worker, FailedSetUpIsTornDownByStop) {
    int teardowns = 0;
    Works works;
    works.setup = [] { return 5; };
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    TestWorker worker(works);
    worker.start();
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(teardowns, 1);
}

TEST_F(Worker, StartAfterAFailedSetUpTriesAgain) {
    int setups = 0;
    Works works;
    works.setup = [&] { return ++setups == 1 ? 5 : 0; };
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 0);
    EXPECT_EQ(worker.start(), 1);
    EXPECT_EQ(worker.stop(), 1);
}

TEST_F(Worker, FailedTearDownIsRecordedWithTheWorkersId) {
    Works works;
    works.teardown = [] { return -4; };
    TestWorker worker(works);
    worker.start();
    EXPECT_EQ(worker.stop(), 0);
    EXPECT_EQ(exceptionLog(), exceptionRecord(label(worker.id()) + " teardown failed,result=-4"));
    EXPECT_EQ(getSystemRunningFlag(), 1);
}

TEST_F(Worker, ThreadThatCannotBeMadeFailsTheStart) {
    pthread_attr_t usual;
    pthread_attr_t huge;
    pthread_getattr_default_np(&usual);
    pthread_getattr_default_np(&huge);
    pthread_attr_setstacksize(&huge, SIZE_MAX / 4 & ~static_cast<std::size_t>(0xFFFF));
    TestWorker worker{Works()};
    pthread_setattr_default_np(&huge);
    const int result = worker.start();
    pthread_setattr_default_np(&usual);
    EXPECT_EQ(result, 0);
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeatStates(), (std::vector<std::uint32_t>{2}));
    pthread_attr_destroy(&usual);
    pthread_attr_destroy(&huge);
}

TEST_F(Worker, CanBeStartedAgain) {
    std::atomic<int> calls{0};
    Works works;
    works.cycle = [&] {
        ++calls;
        return 1;
    };
    TestWorker worker(works);
    for (int run = 1; run <= 3; ++run) {
        EXPECT_EQ(worker.start(), 1);
        worker.waitForEnd();
        EXPECT_EQ(worker.stop(), 1);
        EXPECT_EQ(calls, run);
    }
}

TEST_F(Worker, EndsWhenTheSystemStops) {
    TestWorker worker{Works()};
    worker.start();
    const StdoutCapture quiet;
    setSystemRunningFlag(0, "test");
    worker.waitForEnd();
    EXPECT_EQ(worker.stop(), 1);
}

TEST_F(Worker, DoesNoCycleWorkWhenTheSystemHasStopped) {
    const StdoutCapture quiet;
    setSystemRunningFlag(0, "test");
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls; };
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 1);
    worker.waitForEnd();
    EXPECT_EQ(calls, 0);
}

TEST_F(Worker, IntervalZeroRunsCyclesBackToBack) {
    int calls = 0;
    Works works;
    works.cycle = [&] {
        ++calls;
        return 0;
    };
    TestWorker worker(works);
    worker.setCycleLimit(1000);
    const auto start = steady_clock::now();
    worker.start();
    worker.waitForEnd();
    EXPECT_EQ(calls, 1000);
    EXPECT_LT(steady_clock::now() - start, milliseconds(900));
}

TEST_F(Worker, IntervalTwoRunsEveryThirdPassWithSecondsBetween) {
    std::vector<steady_clock::time_point> calls;
    Works works;
    works.cycle = [&] {
        calls.push_back(steady_clock::now());
        return 0;
    };
    TestWorker worker(works);
    worker.setCycleInterval(2);
    worker.setCycleLimit(4);
    worker.start();
    worker.waitForEnd();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_GE(calls[1] - calls[0], milliseconds(1990));
    EXPECT_LT(calls[1] - calls[0], milliseconds(2900));
}

TEST_F(Worker, LimitHoldsForOneRun) {
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 10 ? 1 : 0; };
    TestWorker worker(works);
    worker.setCycleLimit(3);
    worker.start();
    worker.waitForEnd();
    EXPECT_EQ(calls, 3);
    worker.start();
    worker.waitForEnd();
    EXPECT_EQ(calls, 10);
}

TEST_F(Worker, TimeOutOfAStopIs210Seconds) {
    // Not waited for: a thread that ends late within it is not killed.
    Works works;
    works.cycle = [] {
        sleepFor(1, 200000);
        return 1;
    };
    TestWorker worker(works);
    worker.start();
    StdoutCapture capture;
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(Worker, DestructionOfARunningWorkerSaysSoAndTearsItDown) {
    int teardowns = 0;
    int tid = 0;
    Works works;
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    StdoutCapture capture;
    {
        TestWorker worker(works);
        worker.start();
        tid = worker.id();
    }
    const std::string text = "force stop " + label(tid);
    EXPECT_EQ(capture.text(), text + "\n");
    EXPECT_EQ(exceptionLog(), exceptionRecord(text));
    EXPECT_EQ(teardowns, 1);
}

TEST_F(Worker, DestructionOfAStoppedWorkerSaysNothing) {
    StdoutCapture capture;
    {
        TestWorker worker{Works()};
        worker.start();
        worker.stop();
    }
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(exceptionLog(), "");
}

TEST_F(Worker, ExceptionLogIsMovedAsideAt10240Bytes) {
    writeContent(device_paths::kThreadExceptionLog, std::string(10240, 'x'));
    GThread::writeThreadException("new");
    const std::string backup = std::string(device_paths::kThreadExceptionLog) + ".1";
    EXPECT_EQ(exceptionLog(), exceptionRecord("new"));
    EXPECT_EQ(contentOf(backup), std::string(10240, 'x'));
    std::filesystem::remove(backup);
}

}  // namespace
