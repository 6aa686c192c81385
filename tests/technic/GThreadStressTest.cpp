#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "technic/GThread.h"
#include "technic/KdMutex.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/WorkerFixture.h"

namespace {

// Several owners make, start, stop and destroy workers side by side.
class ManyWorkers : public WorkerFixture {
  protected:
    static constexpr int kOwners = 4;
    static constexpr int kRounds = 100;
    // So many short polls that no worker is killed on a busy machine.
    static constexpr unsigned kPatience = 10000;

    // Runs one owner's work on a thread for each.
    static void runOwners(const std::function<void(int)>& work) {
        std::vector<std::thread> owners;
        for (int owner = 0; owner < kOwners; ++owner) {
            owners.emplace_back([&work, owner] { work(owner); });
        }
        for (std::thread& owner : owners) {
            owner.join();
        }
    }

    // Workers of a few passes, stopped at once or after their end; every one goes well.
    void comeAndGo() {
        std::atomic<int> good{0};
        std::atomic<int> teardowns{0};
        runOwners([&](int owner) {
            for (int round = 0; round < kRounds; ++round) {
                int calls = 0;
                Works works;
                works.cycle = [&calls, round] { return ++calls > round % 3 ? 1 : 0; };
                works.teardown = [&teardowns] {
                    ++teardowns;
                    return 0;
                };
                TestWorker worker(works, "owner" + std::to_string(owner));
                worker.setTimeout(kPatience);
                good += worker.start() == 1 ? 1 : 0;
                if (round % 2 != 0) {
                    worker.waitForEnd();
                }
                good += worker.stop() == 1 ? 1 : 0;
            }
        });
        EXPECT_EQ(good, 2 * kOwners * kRounds);
        EXPECT_EQ(teardowns, kOwners * kRounds);
    }

    // One owner's workers of this cycle work, each killed at a moment of its own.
    static void killEach(const std::function<int(TestWorker&)>& cycle, const std::string& name) {
        for (int round = 0; round < kRounds / 4; ++round) {
            TestWorker* self = nullptr;
            Works works;
            works.cycle = [&] { return cycle(*self); };
            TestWorker worker(works, name);
            self = &worker;
            worker.setStopTimeout(0);
            worker.start();
            sleepFor(0, 50L * round);
            worker.stop();
        }
    }

    const InstantSleep m_shortSleeps{[](std::size_t) { sleepFor(0, 200); }};
};

TEST_F(ManyWorkers, ComeAndGoWithoutAReaderOfTheirHeartbeats) {
    m_pipe.hangUp();
    comeAndGo();
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
    comeAndGo();
    isDone = true;
    reader.join();
    wire += m_pipe.take();
    EXPECT_EQ(heartbeatsIn(wire).size(), 2U * kOwners * kRounds);
}

TEST_F(ManyWorkers, MayEndByThemselvesWhileTheyAreDestroyed) {
    StdoutCapture capture;
    std::atomic<int> teardowns{0};
    runOwners([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            Works works;
            works.cycle = [] { return 1; };
            works.teardown = [&teardowns] {
                ++teardowns;
                return 0;
            };
            TestWorker worker(works);
            worker.setTimeout(kPatience);
            worker.start();
        }
    });
    capture.text();
    EXPECT_EQ(teardowns, kOwners * kRounds);
    EXPECT_EQ(heartbeats().size(), 2U * kOwners * kRounds);
}

TEST_F(ManyWorkers, KilledInMidLockLeaveTheirMutexFreeAndWhatItGuardsWhole) {
    StdoutCapture capture;
    KdMutex mutex;
    int entries = 0;
    int inside = 0;
    // Leaves what the mutex guards as it should be, whatever ends it.
    struct Visit {
        explicit Visit(int& count) : m_count(count) { ++m_count; }
        ~Visit() { --m_count; }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        int& m_count;
    };
    runOwners([&](int) {
        killEach(
            [&](TestWorker&) {
                const KdMutexGuard guard(mutex, KD_HERE);
                const Visit visit(inside);
                ++entries;
                sleepFor(0, 100);
                return 0;
            },
            "worker");
    });
    capture.text();
    const KdMutexGuard guard(mutex, KD_HERE);
    EXPECT_EQ(inside, 0);
    EXPECT_GT(entries, 0);
}

TEST_F(ManyWorkers, KilledInTheirHeartbeatsLeaveWholeOnesAndNoDescriptor) {
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    StdoutCapture capture;
    const auto before = openDescriptors();
    std::atomic<bool> isDone{false};
    std::string wire;
    std::thread reader([&] {
        while (!isDone) {
            wire += m_pipe.take();
            sleepFor(0, 1000);
        }
    });
    runOwners([](int owner) {
        killEach(
            [](TestWorker& worker) {
                worker.updateHeartbeatName();
                return 0;
            },
            std::string(static_cast<std::size_t>(owner) + 1, 'n'));
    });
    isDone = true;
    reader.join();
    wire += m_pipe.take();
    const auto after = openDescriptors();
    capture.text();
    EXPECT_EQ(after, before);
    const std::vector<Heartbeat> whole = heartbeatsIn(wire);
    EXPECT_GT(whole.size(), static_cast<std::size_t>(kRounds));
    for (const Heartbeat& heartbeat : whole) {
        EXPECT_TRUE(heartbeat.name == std::string(heartbeat.name.size(), 'n') &&
                    heartbeat.name.size() <= kOwners && heartbeat.timeout == 210)
            << heartbeat.name;
    }
}

TEST_F(ManyWorkers, OneIsStartedAndStoppedFromAllSidesASetUpForEachTearDown) {
    std::atomic<bool> isSetUp{false};
    std::atomic<int> errors{0};
    std::atomic<int> setups{0};
    Works works;
    works.setup = [&] {
        errors += isSetUp.exchange(true) ? 1 : 0;
        ++setups;
        return 0;
    };
    works.teardown = [&] {
        errors += isSetUp.exchange(false) ? 0 : 1;
        return 0;
    };
    TestWorker worker(works);
    worker.setTimeout(kPatience);
    std::atomic<int> teardowns{0};
    runOwners([&](int) {
        for (int round = 0; round < kRounds / 4; ++round) {
            errors += worker.start() == 1 ? 0 : 1;
            teardowns += worker.stop();
        }
    });
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(errors, 0);
    EXPECT_EQ(teardowns, setups);
}

}  // namespace
