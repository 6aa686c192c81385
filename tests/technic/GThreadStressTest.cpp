#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "technic/GThread.h"
#include "tests/technic/WorkerFixture.h"

namespace {

// Several owners make, start, stop and destroy workers side by side.
class ManyWorkers : public WorkerFixture {
  protected:
    static constexpr int kOwners = 4;
    static constexpr int kRounds = 100;

    // One owner's rounds; true when every one went well.
    bool rounds(int owner) {
        bool isGood = true;
        for (int round = 0; round < kRounds; ++round) {
            int calls = 0;
            Works works;
            works.cycle = [&calls, round] { return ++calls > round % 3 ? 1 : 0; };
            works.teardown = [this] {
                ++m_teardowns;
                return 0;
            };
            TestWorker worker(works, "owner" + std::to_string(owner));
            isGood = worker.start() == 1 && isGood;
            if (round % 8 != 0) {
                worker.waitForEnd();
            }
            isGood = worker.stop() == 1 && isGood;
        }
        return isGood;
    }

    void runOwners() {
        std::atomic<int> good{0};
        std::vector<std::thread> owners;
        for (int owner = 0; owner < kOwners; ++owner) {
            owners.emplace_back([this, owner, &good] { good += rounds(owner) ? 1 : 0; });
        }
        for (std::thread& owner : owners) {
            owner.join();
        }
        EXPECT_EQ(good, kOwners);
        EXPECT_EQ(m_teardowns, kOwners * kRounds);
    }

    std::atomic<int> m_teardowns{0};
};

TEST_F(ManyWorkers, ComeAndGoWithoutAReaderOfTheirHeartbeats) {
    m_pipe.hangUp();
    runOwners();
}

TEST_F(ManyWorkers, SendAllTheirHeartbeatsToAReader) {
    std::atomic<bool> isDone{false};
    std::string wire;
    std::thread reader([&] {
        while (!isDone) {
            wire += m_pipe.take();
            sleepFor(0, 1000);
        }
    });
    runOwners();
    isDone = true;
    reader.join();
    wire += m_pipe.take();
    EXPECT_EQ(heartbeatsIn(wire).size(), 2U * kOwners * kRounds);
}

TEST_F(ManyWorkers, AreKilledSideBySide) {
    const StdoutCapture quiet;
    std::vector<std::thread> owners;
    for (int owner = 0; owner < kOwners; ++owner) {
        owners.emplace_back([] {
            for (int round = 0; round < 25; ++round) {
                Works works;
                works.cycle = [] {
                    sleepFor(1000, 0);
                    return 0;
                };
                TestWorker worker(works);
                worker.setStopTimeout(0);
                worker.start();
                worker.stop();
            }
        });
    }
    for (std::thread& owner : owners) {
        owner.join();
    }
}

TEST_F(ManyWorkers, MayBeStartedAndStoppedFromAllSides) {
    TestWorker worker{Works()};
    std::vector<std::thread> owners;
    for (int owner = 0; owner < kOwners; ++owner) {
        owners.emplace_back([&worker] {
            for (int round = 0; round < 4; ++round) {
                worker.start();
                worker.stop();
            }
        });
    }
    for (std::thread& owner : owners) {
        owner.join();
    }
    EXPECT_FALSE(worker.isRunning());
}

}  // namespace
