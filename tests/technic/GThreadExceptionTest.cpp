#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "technic/GThread.h"
#include "tests/technic/WorkerFixture.h"

namespace {

int throwStandard() {
    throw std::runtime_error("boom");
}
int throwOther() {
    throw 42;
}

class WorkerException : public WorkerFixture {
  protected:
    ~WorkerException() override { m_capture.text(); }

    // The exception is in both logs and on standard output, and the system is stopped.
    void expectReported(const std::string& text) {
        EXPECT_EQ(exceptionLog(), exceptionRecord(text));
        EXPECT_EQ(withoutTimes(contentOf(device_paths::kRebootLog)),
                  "TIME,[SystemStop] " + text + "\n");
        EXPECT_EQ(m_capture.text(), stopBanner("0", text));
        EXPECT_EQ(getSystemRunningFlag(), 0);
    }

    StdoutCapture m_capture;
};

TEST_F(WorkerException, OfTheSetUpMakesNoThread) {
    Works works;
    works.setup = throwStandard;
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 0);
    EXPECT_FALSE(worker.isRunning());
    expectReported(label(currentThreadId()) + " setup exception,message[boom]");
}

TEST_F(WorkerException, OfTheSetUpMayBeOfAnyType) {
    Works works;
    works.setup = throwOther;
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 0);
    expectReported("GThread setup exception.");
}

TEST_F(WorkerException, OfTheSetUpLeavesTheWorkerUsable) {
    bool throws = true;
    Works works;
    works.setup = [&throws] { return throws ? throwStandard() : 0; };
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 0);
    throws = false;
    EXPECT_EQ(worker.start(), 1);
    EXPECT_EQ(worker.stop(), 1);
}

TEST_F(WorkerException, OfTheCycleWorkEndsTheWorker) {
    Works works;
    works.cycle = throwStandard;
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 1);
    worker.waitForEnd();
    EXPECT_EQ(worker.getResult(), 0);
    expectReported(label(worker.id()) + " running exception,message[boom]");
    EXPECT_EQ(heartbeatStates(), (std::vector<std::uint32_t>{1, 2}));
}

TEST_F(WorkerException, OfTheCycleWorkMayBeOfAnyType) {
    Works works;
    works.cycle = throwOther;
    TestWorker worker(works);
    EXPECT_EQ(worker.start(), 1);
    worker.waitForEnd();
    expectReported("GThread running exception.");
    EXPECT_EQ(heartbeatStates(), (std::vector<std::uint32_t>{1, 2}));
}

TEST_F(WorkerException, OfTheCycleWorkStillTearsDown) {
    Works works;
    works.cycle = throwStandard;
    TestWorker worker(works);
    worker.start();
    worker.waitForEnd();
    EXPECT_EQ(worker.stop(), 1);
}

TEST_F(WorkerException, OfOneWorkerEndsTheOthers) {
    TestWorker other{Works()};
    other.start();
    Works works;
    works.cycle = throwStandard;
    TestWorker worker(works);
    worker.start();
    other.waitForEnd();
    EXPECT_EQ(other.stop(), 1);
}

TEST_F(WorkerException, OfTheTearDownFailsTheStop) {
    Works works;
    works.teardown = throwStandard;
    TestWorker worker(works);
    worker.start();
    EXPECT_EQ(worker.stop(), 0);
    expectReported(label(worker.id()) + " teardown exception,massage[boom]");
}

TEST_F(WorkerException, OfTheTearDownMayBeOfAnyType) {
    Works works;
    works.teardown = throwOther;
    TestWorker worker(works);
    worker.start();
    EXPECT_EQ(worker.stop(), 0);
    expectReported("GThread teardown exception.");
}

TEST_F(WorkerException, OfTheTearDownIsNotMetTwice) {
    Works works;
    works.teardown = throwStandard;
    TestWorker worker(works);
    worker.start();
    EXPECT_EQ(worker.stop(), 0);
    EXPECT_EQ(worker.stop(), 0);
    expectReported(label(worker.id()) + " teardown exception,massage[boom]");
}

}  // namespace
