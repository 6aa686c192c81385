#include <gtest/gtest.h>
#include <unistd.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "technic/GThread.h"
#include "tests/technic/FrozenClock.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/WorkerFixture.h"

namespace {

using States = std::vector<std::uint32_t>;

class WorkerHeartbeat : public WorkerFixture {
  protected:
    static Works onePass() {
        Works works;
        works.cycle = [] { return 1; };
        return works;
    }
    static void runOnce(TestWorker& worker) {
        worker.start();
        worker.waitForEnd();
        worker.stop();
    }
};

TEST_F(WorkerHeartbeat, IsSentAtTheStartAndAtTheEnd) {
    TestWorker worker(onePass());
    runOnce(worker);
    const auto tid = static_cast<std::uint32_t>(worker.id());
    EXPECT_EQ(heartbeats(),
              (std::vector<Heartbeat>{{tid, 1, 210, "worker"}, {tid, 2, 210, "worker"}}));
}

TEST_F(WorkerHeartbeat, CarriesTheTimeOut) {
    TestWorker worker(onePass());
    worker.setTimeout(300);
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeats(), (std::vector<Heartbeat>{{0, 2, 300, "worker"}}));
}

TEST_F(WorkerHeartbeat, IsSentAtOnceWithTheName) {
    TestWorker worker(onePass(), "another");
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeats(), (std::vector<Heartbeat>{{0, 2, 210, "another"}}));
}

TEST_F(WorkerHeartbeat, CanBeSentAtOnceByARunningWorker) {
    TestWorker worker{Works()};
    worker.start();
    for (int i = 0; i < 20; ++i) {
        worker.updateHeartbeatName();
    }
    worker.stop();
    EXPECT_EQ(heartbeatStates().size(), 22U);
}

TEST_F(WorkerHeartbeat, IsNotSentWhenDisabled) {
    TestWorker worker(onePass());
    worker.setHeartbeatEnabled(false);
    runOnce(worker);
    EXPECT_TRUE(heartbeats().empty());
}

TEST_F(WorkerHeartbeat, WithoutAReaderFailsInSilenceAndTheWorkerGoesOn) {
    m_pipe.hangUp();
    int calls = 0;
    Works works;
    works.cycle = [&] { return ++calls == 3 ? 1 : 0; };
    TestWorker worker(works);
    StdoutCapture capture;
    runOnce(worker);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(exceptionLog(), "");
}

TEST_F(WorkerHeartbeat, WithoutAPipeFailsInSilence) {
    GThread::setThreadFifoName("/no/such/pipe");
    TestWorker worker(onePass());
    StdoutCapture capture;
    runOnce(worker);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(WorkerHeartbeat, LateReaderGetsTheNextOne) {
    m_pipe.hangUp();
    std::atomic<bool> entered{false};
    Works works;
    works.cycle = [&] {
        entered = true;
        sleepFor(0, 1000);
        return 0;
    };
    TestWorker worker(works);
    worker.start();
    waitFor(entered);
    m_pipe.reopen();
    worker.stop();
    EXPECT_EQ(heartbeatStates(), States{2});
}

TEST_F(WorkerHeartbeat, LeavesNoDescriptorOpen) {
    Works works;
    std::vector<int> descriptors;
    works.cycle = [&] {
        descriptors.push_back(dup(STDIN_FILENO));
        close(descriptors.back());
        return 1;
    };
    const int next = dup(STDIN_FILENO);
    close(next);
    TestWorker worker(works);
    runOnce(worker);
    EXPECT_EQ(descriptors, std::vector<int>{next});
}

// A worker whose pipe is full when a heartbeat is due. Each try fails after two pauses.
class LateHeartbeat : public WorkerHeartbeat {
  protected:
    static std::string failures(int count) {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += "send GThreadInfo'data error,dataLength = 26,but send length = 0\n";
        }
        return text;
    }
    // The printed lines but those of the channel, which name its descriptor.
    static std::string withoutChannel(const std::string& printed) {
        std::istringstream lines(printed);
        std::string kept;
        for (std::string line; std::getline(lines, line);) {
            kept += line.rfind("send data error, ", 0) == 0 ? "" : line + "\n";
        }
        return kept;
    }
    void refill() {
        m_pipe.take();
        m_pipe.fill();
    }
    // One pass, at the end of which the pipe is full.
    Works fillingPass() {
        Works works;
        works.cycle = [this] {
            refill();
            return 1;
        };
        return works;
    }
};

TEST_F(LateHeartbeat, FirstOneIsTriedOnce) {
    Works works;
    works.cycle = [this] {
        m_pipe.take();
        return 1;
    };
    TestWorker worker(works);
    refill();
    StdoutCapture capture;
    const InstantSleep instant;
    runOnce(worker);
    EXPECT_EQ(InstantSleep::taken(), std::vector<long>(2, 500));
    EXPECT_EQ(withoutChannel(capture.text()), failures(1));
    EXPECT_EQ(heartbeatStates(), States{2});
}

TEST_F(LateHeartbeat, LastOneIsTriedThreeTimes) {
    TestWorker worker(fillingPass());
    StdoutCapture capture;
    const InstantSleep instant;
    runOnce(worker);
    EXPECT_EQ(InstantSleep::taken(), std::vector<long>(6, 500));
    EXPECT_EQ(withoutChannel(capture.text()), failures(3));
}

TEST_F(LateHeartbeat, LastOneIsTriedUntilItGoesOut) {
    TestWorker worker(fillingPass());
    StdoutCapture capture;
    const InstantSleep instant([this](std::size_t sleeps) {
        if (sleeps == 3) {
            m_pipe.take();
        }
    });
    runOnce(worker);
    EXPECT_EQ(InstantSleep::taken(), std::vector<long>(3, 500));
    EXPECT_EQ(withoutChannel(capture.text()), failures(1));
    EXPECT_EQ(heartbeatStates(), States{2});
}

struct SpacingCase {
    // How far the clock moves in each pass.
    std::vector<long> seconds;
    // The heartbeats between the first and the last.
    std::size_t heartbeats;
};

void PrintTo(const SpacingCase& row, std::ostream* out) {
    for (const long seconds : row.seconds) {
        *out << seconds << "s ";
    }
    *out << "of passes";
}

class HeartbeatSpacing : public WorkerHeartbeat, public testing::WithParamInterface<SpacingCase> {};

TEST_P(HeartbeatSpacing, Is61Seconds) {
    const FrozenClock clock;
    std::size_t pass = 0;
    Works works;
    works.cycle = [&pass] {
        FrozenClock::advance(GetParam().seconds[pass]);
        ++pass;
        return 0;
    };
    TestWorker worker(works);
    worker.setCycleLimit(static_cast<int>(GetParam().seconds.size()));
    runOnce(worker);
    States expected(GetParam().heartbeats + 1, 1);
    expected.push_back(2);
    EXPECT_EQ(heartbeatStates(), expected);
}

INSTANTIATE_TEST_SUITE_P(Passes, HeartbeatSpacing,
                         testing::Values(SpacingCase{{60}, 0}, SpacingCase{{61}, 1},
                                         SpacingCase{{30, 30}, 0}, SpacingCase{{30, 31}, 1},
                                         SpacingCase{{61, 60}, 1}, SpacingCase{{61, 61}, 2},
                                         SpacingCase{{200}, 1}, SpacingCase{{60, 1, 60, 1}, 2}));

TEST_F(WorkerHeartbeat, IsNotDueInThePassThatEndsTheWork) {
    const FrozenClock clock;
    Works works;
    works.cycle = [] {
        FrozenClock::advance(200);
        return 1;
    };
    TestWorker worker(works);
    runOnce(worker);
    EXPECT_EQ(heartbeatStates(), (States{1, 2}));
}

TEST_F(WorkerHeartbeat, ThatFailedIsNotDueAgainBefore61Seconds) {
    const FrozenClock clock;
    int passes = 0;
    Works works;
    works.cycle = [&] {
        // The reader misses the second heartbeat, not the third.
        ++passes;
        passes == 1 ? m_pipe.hangUp() : m_pipe.reopen();
        FrozenClock::advance(passes == 2 ? 60 : 61);
        return 0;
    };
    TestWorker worker(works);
    worker.setCycleLimit(2);
    runOnce(worker);
    EXPECT_EQ(heartbeatStates(), States{2});
}

}  // namespace
