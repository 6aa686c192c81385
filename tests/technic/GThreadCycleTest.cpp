#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <vector>

#include "technic/GThread.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/WorkerFixture.h"

namespace {

// What a worker does between its set-up and its tear-down.
class WorkerCycle : public WorkerFixture {
  protected:
    // Starts the worker and waits until it has ended by itself.
    static void runToItsEnd(TestWorker& worker) {
        EXPECT_EQ(worker.start(), 1);
        worker.waitForEnd();
    }
};

TEST_F(WorkerCycle, CallsItsCycleWorkAgainWhileThatReturnsZero) {
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 5 ? 7 : 0; };
    TestWorker worker(works);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 5);
}

TEST_F(WorkerCycle, EndsAfterOnePassWhenTheFirstCallIsNotZero) {
    for (const int value : {1, -1}) {
        int calls = 0;
        Works works;
        works.cycle = [&] {
            ++calls;
            return value;
        };
        TestWorker worker(works);
        runToItsEnd(worker);
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(worker.getResult(), 0);
    }
}

TEST_F(WorkerCycle, EndsWhenTheSystemStops) {
    TestWorker worker{Works()};
    worker.start();
    const StdoutCapture quiet;
    setSystemRunningFlag(0, "test");
    worker.waitForEnd();
    EXPECT_EQ(worker.stop(), 1);
}

TEST_F(WorkerCycle, DoesNoCycleWorkWhenTheSystemHasStopped) {
    const StdoutCapture quiet;
    setSystemRunningFlag(0, "test");
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls; };
    TestWorker worker(works);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 0);
}

TEST_F(WorkerCycle, LimitHoldsForOneRun) {
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 10 ? 1 : 0; };
    TestWorker worker(works);
    worker.setCycleLimit(3);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 3);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 10);
}

TEST_F(WorkerCycle, LimitIsForgottenWhenTheWorkEndsBeforeIt) {
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 2 || calls == 20 ? 1 : 0; };
    TestWorker worker(works);
    worker.setCycleLimit(5);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 2);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 20);
}

TEST_F(WorkerCycle, LimitIsForgottenByAStop) {
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 10 ? 1 : 0; };
    TestWorker worker(works);
    worker.setCycleLimit(3);
    worker.stop();
    runToItsEnd(worker);
    EXPECT_EQ(calls, 10);
}

struct IntervalCase {
    std::uint32_t interval;
    // The passes of seven that call the cycle work.
    std::vector<int> passes;
};

void PrintTo(const IntervalCase& row, std::ostream* out) {
    *out << row.interval;
}

class WorkerInterval : public WorkerCycle, public testing::WithParamInterface<IntervalCase> {};

TEST_P(WorkerInterval, DecidesWhichPassesCallTheCycleWorkAndTheOthersSleepOneSecond) {
    constexpr std::size_t kPasses = 7;
    const InstantSleep instant;
    std::vector<int> passes;
    Works works;
    works.cycle = [&] {
        passes.push_back(static_cast<int>(passes.size() + InstantSleep::taken().size()));
        return 0;
    };
    TestWorker worker(works);
    worker.setCycleInterval(GetParam().interval);
    worker.setCycleLimit(kPasses);
    runToItsEnd(worker);
    EXPECT_EQ(passes, GetParam().passes);
    EXPECT_EQ(InstantSleep::taken(), std::vector<long>(kPasses - passes.size(), 1000));
}

INSTANTIATE_TEST_SUITE_P(Of, WorkerInterval,
                         testing::Values(IntervalCase{0, {0, 1, 2, 3, 4, 5, 6}},
                                         IntervalCase{1, {0, 2, 4, 6}}, IntervalCase{2, {0, 3, 6}},
                                         IntervalCase{UINT32_MAX, {0}}));

TEST_F(WorkerCycle, EveryStartBeginsWithTheCycleWork) {
    int calls = 0;
    Works works;
    works.cycle = [&] {
        ++calls;
        return 1;
    };
    TestWorker worker(works);
    worker.setCycleInterval(5);
    const InstantSleep instant;
    runToItsEnd(worker);
    runToItsEnd(worker);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(InstantSleep::taken().empty());
}

TEST_F(WorkerCycle, RecordSaysStoppedBeforeAndAfterIt) {
    TestWorker* self = nullptr;
    const auto report = [&self](int result) {
        return [&self, result] {
            self->updateHeartbeatName();
            return result;
        };
    };
    Works works;
    works.setup = report(0);
    works.cycle = report(1);
    works.teardown = report(0);
    TestWorker worker(works);
    self = &worker;
    runToItsEnd(worker);
    worker.stop();
    // Set-up; start, cycle work, end; tear-down.
    EXPECT_EQ(heartbeatStates(), (std::vector<std::uint32_t>{2, 1, 1, 2, 2}));
}

}  // namespace
