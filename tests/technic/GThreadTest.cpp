#include "technic/GThread.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/technic/ThreadCreation.h"
#include "tests/technic/WorkerFixture.h"

namespace {

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

TEST_F(Worker, StartOfAWorkerThatEndedSetsItUpAnewAndOneStopTearsItDown) {
    int setups = 0;
    int teardowns = 0;
    Works works;
    works.setup = [&] {
        ++setups;
        return 0;
    };
    works.cycle = [] { return 1; };
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    TestWorker worker(works);
    for (int run = 1; run <= 2; ++run) {
        EXPECT_EQ(worker.start(), 1);
        worker.waitForEnd();
        EXPECT_EQ(setups, run);
    }
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(teardowns, 1);
}

TEST_F(Worker, FailedSetUpMakesNoThreadAndIsRecordedWithTheCallersId) {
    Works works;
    works.setup = [] { return 5; };
    TestWorker worker(works);
    pid_t caller = 0;
    std::thread([&] {
        caller = gettid();
        EXPECT_EQ(worker.start(), 0);
    }).join();
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(worker.id(), 0);
    EXPECT_EQ(exceptionLog(), exceptionRecord(label(caller) + " setup failed. result= 5"));
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

TEST_F(Worker, ThreadThatCannotBeMadeFailsTheStartAndIsTornDownByStop) {
    int teardowns = 0;
    Works works;
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    TestWorker worker(works);
    {
        const ThreadCreation creation;
        ThreadCreation::refuse();
        EXPECT_EQ(worker.start(), 0);
    }
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeatStates(), std::vector<std::uint32_t>{2});
    EXPECT_EQ(exceptionLog(), "");
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_EQ(teardowns, 1);
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

TEST_F(Worker, DestructionOfAWorkerThatEndedTearsItDownWithoutAWord) {
    int teardowns = 0;
    Works works;
    works.cycle = [] { return 1; };
    works.teardown = [&] {
        ++teardowns;
        return 0;
    };
    StdoutCapture capture;
    {
        TestWorker worker(works);
        worker.start();
        worker.waitForEnd();
    }
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(exceptionLog(), "");
    EXPECT_EQ(teardowns, 1);
}

TEST_F(Worker, ExceptionLogIsMovedAsideAt10240BytesAndNotBefore) {
    const std::string log = "/mnt/mtd/log/ThreadException.log";
    writeContent(log, std::string(10239, 'x'));
    GThread::writeThreadException("fits");
    EXPECT_EQ(withoutTimes(contentOf(log)), std::string(10239, 'x') + exceptionRecord("fits"));
    writeContent(log, std::string(10240, 'x'));
    GThread::writeThreadException("new");
    EXPECT_EQ(withoutTimes(contentOf(log)), exceptionRecord("new"));
    EXPECT_EQ(contentOf(log + ".1"), std::string(10240, 'x'));
    std::filesystem::remove(log + ".1");
}

}  // namespace
