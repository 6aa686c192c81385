#include <gtest/gtest.h>
#include <sys/select.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "technic/GThread.h"
#include "technic/KdMutex.h"
#include "technic/LogFile.h"
#include "technic/ThreadInfoManager.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/WorkerFixture.h"

namespace {

void hang() {
    for (;;) {
        (void)select(0, nullptr, nullptr, nullptr, nullptr);
    }
}

// A worker that hangs is stopped: it is killed, and its owner goes on.
class HungWorker : public WorkerFixture {
  protected:
    ~HungWorker() override { m_capture.text(); }

    // Starts a worker of this cycle work, stops it once that has been entered, and destroys it.
    void killIn(std::function<int()> cycle) {
        Works works;
        works.cycle = [this, cycle = std::move(cycle)] {
            m_entered = true;
            return cycle();
        };
        works.teardown = [this] {
            ++m_teardowns;
            return 0;
        };
        auto worker = std::make_unique<TestWorker>(works);
        worker->setStopTimeout(0);
        EXPECT_EQ(worker->start(), 1);
        waitFor(m_entered);
        sleepFor(0, 20000);
        EXPECT_EQ(worker->stop(), 1);
        EXPECT_FALSE(worker->isRunning());
        std::string name;
        EXPECT_FALSE(ThreadInfoManager::instance()->getThreadName(worker->id(), name));
        worker.reset();
        EXPECT_EQ(m_teardowns, 1);
    }

    std::atomic<bool> m_entered{false};
    std::atomic<int> m_teardowns{0};
    StdoutCapture m_capture;
};

TEST_F(HungWorker, InSelectIsKilledAndTornDown) {
    killIn([]() -> int {
        hang();
        return 0;
    });
    EXPECT_EQ(heartbeatStates(), (std::vector<std::uint32_t>{1}));
    EXPECT_EQ(getSystemRunningFlag(), 1);
    EXPECT_EQ(exceptionLog(), "");
}

TEST_F(HungWorker, GivesBackTheMutexThatItHolds) {
    KdMutex mutex;
    killIn([&mutex]() -> int {
        const KdMutexGuard guard(mutex, KD_HERE);
        hang();
        return 0;
    });
    EXPECT_EQ(mutex.lock(KD_HERE), 0);
    mutex.unlock(KD_HERE);
}

TEST_F(HungWorker, KilledWhileItWaitsForAMutexGivesItBackWhenItGetsIt) {
    KdMutex mutex;
    bool isPast = false;
    Works works;
    works.cycle = [&] {
        m_entered = true;
        const KdMutexGuard guard(mutex, KD_HERE);
        sleepFor(0, 0);
        isPast = true;
        return 1;
    };
    TestWorker worker(works);
    worker.setStopTimeout(0);
    mutex.lock(KD_HERE);
    worker.start();
    waitFor(m_entered);
    std::thread stopper([&worker] { EXPECT_EQ(worker.stop(), 1); });
    worker.waitForEnd();
    mutex.unlock(KD_HERE);
    stopper.join();
    EXPECT_FALSE(isPast);
    EXPECT_EQ(mutex.lock(KD_HERE), 0);
    mutex.unlock(KD_HERE);
}

TEST_F(HungWorker, ReleasesTheHandlesThatItHolds) {
    struct Held {
        explicit Held(std::atomic<int>& count) : m_count(count) { ++m_count; }
        ~Held() { --m_count; }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        std::atomic<int>& m_count;
    };
    std::atomic<int> alive{0};
    killIn([&alive]() -> int {
        const SafePointer<Held> held(new (KD_HERE) Held(alive));
        hang();
        return 0;
    });
    EXPECT_EQ(alive, 0);
}

TEST_F(HungWorker, UnwindsThroughFramesThatCatch) {
    killIn([]() -> int {
        try {
            hang();
        } catch (const std::exception&) {
            return 1;
        }
        return 0;
    });
}

TEST_F(HungWorker, UnwindsOutOfAHandler) {
    killIn([]() -> int {
        try {
            throw std::runtime_error("caught");
        } catch (const std::exception&) {
            hang();
        }
        return 0;
    });
    EXPECT_EQ(exceptionLog(), "");
}

TEST_F(HungWorker, IsKilledBetweenLinesOfItsLog) {
    const std::string path = m_folder.path("Busy.log");
    killIn([&path]() -> int {
        for (;;) {
            writeLogLine(path, "Busy", "line", 1 << 24, 1);
            sleepFor(0, 0);
        }
    });
    const std::string log = withoutTimes(contentOf(path));
    EXPECT_EQ(log.size() % std::string("TIME,[Busy] line\n").size(), 0U);
}

TEST_F(HungWorker, InAHeartbeatIsKilled) {
    Works works;
    works.cycle = [this] {
        m_pipe.take();
        m_pipe.fill();
        m_entered = true;
        return 1;
    };
    TestWorker worker(works);
    worker.setStopTimeout(0);
    worker.start();
    waitFor(m_entered);
    sleepFor(0, 100000);
    EXPECT_EQ(worker.stop(), 1);
    EXPECT_FALSE(worker.isRunning());
}

TEST_F(HungWorker, CanBeStartedAgainAfterItWasKilled) {
    std::atomic<bool> hangs{true};
    Works works;
    works.cycle = [&] {
        if (hangs) {
            m_entered = true;
            hang();
        }
        return 1;
    };
    TestWorker worker(works);
    worker.setStopTimeout(0);
    worker.start();
    waitFor(m_entered);
    EXPECT_EQ(worker.stop(), 1);
    hangs = false;
    worker.setStopTimeout(20);
    EXPECT_EQ(worker.start(), 1);
    worker.waitForEnd();
    EXPECT_EQ(worker.stop(), 1);
}

// Waits until the worker hangs, and stops it.
class HungWorkersStop : public HungWorker {
  protected:
    void stopWhenItHangs(TestWorker& worker) {
        worker.start();
        waitFor(m_entered);
        EXPECT_EQ(worker.stop(), 1);
        EXPECT_FALSE(worker.isRunning());
    }
    // What was printed, but for the ids at its end.
    std::string printed() {
        const std::string text = withoutTimes(m_capture.text());
        return text.substr(0, text.find("thread(worker,"));
    }
    Works hanging() {
        Works works;
        works.cycle = [this] {
            m_entered = true;
            hang();
            return 0;
        };
        return works;
    }
};

TEST_F(HungWorkersStop, Waits210SecondsAndRecordsTheKill) {
    TestWorker worker(hanging());
    const InstantSleep instant;
    stopWhenItHangs(worker);
    EXPECT_EQ(InstantSleep::taken(), std::vector<long>(2100, 100));
    EXPECT_EQ(printed(),
              "Logger is not inition,TIME,[KilledThread] worker,in KdThread.cpp,line 156\n"
              "!!!!!!!!!!!!kill ");
}

TEST_F(HungWorkersStop, WaitsTheTimeOutThatWasSet) {
    TestWorker worker(hanging());
    worker.setTimeout(300);
    const InstantSleep instant;
    stopWhenItHangs(worker);
    EXPECT_EQ(InstantSleep::taken(), std::vector<long>(3000, 100));
}

TEST_F(HungWorkersStop, WaitsOneSecondWhenTheSystemStopsAndRecordsNothing) {
    TestWorker worker(hanging());
    const InstantSleep instant([](std::size_t sleeps) {
        if (sleeps == 1) {
            setSystemRunningFlag(0, "test");
        }
    });
    stopWhenItHangs(worker);
    EXPECT_EQ(InstantSleep::taken(), (std::vector<long>{100, 1000}));
    EXPECT_EQ(printed(), stopBanner("0", "test") + "!!!!!!!!!!!!kill ");
}

}  // namespace
