#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "technic/ThreadInfoManager.h"
#include "tests/technic/InstantSleep.h"
#include "tests/technic/SignalCalls.h"
#include "tests/technic/StdoutCapture.h"

// The poked threads are entries of the registry only: the signals are caught before they are sent.
namespace {

constexpr char kPoked[] = "pthread_kill for debug timeout thread ...\n";
constexpr char kGone[] = "the specified thread did not exists or already quit\n";

// No kernel hands these out.
constexpr int kFirstId = 0x7FFFFF01;
constexpr int kMostIds = 12;

pthread_t handleOf(int index) {
    return 0x1000U + static_cast<pthread_t>(index);
}

std::string nameOf(int index) {
    return "thread " + std::to_string(index);
}

// What is printed of each thread that is found.
std::string found(const std::string& name) {
    return "timeout thread name:\n" + name + "\n";
}

std::string count(int threads) {
    return "timeoutThreadCount " + std::to_string(threads) + "\n";
}

class TimedOutThreads : public testing::Test {
  protected:
    ~TimedOutThreads() override {
        for (int i = 0; i < kMostIds; ++i) {
            m_registry.unregisterThread(kFirstId + i);
        }
    }

    void enter(int index) {
        m_registry.registerThread(kFirstId + index, nameOf(index), handleOf(index));
    }

    // What is printed when they are poked. Afterwards m_steps tells what was done.
    std::string poke() {
        const SentSignals signals([this](pthread_t thread, int signo) {
            m_steps.push_back("kill " + std::to_string(thread - handleOf(0)) + " " +
                              std::to_string(signo));
            return m_results[thread];
        });
        const InstantSleep sleeps([this](std::size_t number) {
            m_steps.push_back("sleep " + std::to_string(InstantSleep::taken().back()));
            m_inSleep(number);
        });
        StdoutCapture capture;
        m_registry.debugTimeoutThreads();
        return capture.text();
    }

    ThreadInfoManager& m_registry = *ThreadInfoManager::instance();
    std::map<pthread_t, int> m_results;
    std::function<void(std::size_t)> m_inSleep = [](std::size_t) {};
    std::vector<std::string> m_steps;
};

using Steps = std::vector<std::string>;

TEST_F(TimedOutThreads, AreSentAHangUpAndGivenASecondEach) {
    enter(1);
    enter(0);
    EXPECT_EQ(poke(), found("thread 0") + found("thread 1") + count(2) + kPoked + kPoked);
    EXPECT_EQ(m_steps, (Steps{"kill 0 1", "sleep 1000", "kill 1 1", "sleep 1000"}));
}

TEST_F(TimedOutThreads, AreTheFirstTenInTheOrderOfTheirIds) {
    for (const int index : {7, 3, 11, 0, 5, 9, 1, 10, 2, 8, 4, 6}) {
        enter(index);
    }
    std::string expected;
    Steps steps;
    for (int i = 0; i < 10; ++i) {
        expected += found(nameOf(i));
        steps.push_back("kill " + std::to_string(i) + " 1");
        steps.emplace_back("sleep 1000");
    }
    expected += count(10);
    for (int i = 0; i < 10; ++i) {
        expected += kPoked;
    }
    EXPECT_EQ(poke(), expected);
    EXPECT_EQ(m_steps, steps);
}

TEST_F(TimedOutThreads, AreNotThoseWithoutAHandleOrAName) {
    m_registry.registerThread(kFirstId, "main", 0);
    m_registry.registerThread(kFirstId + 1, "", handleOf(1));
    enter(2);
    m_registry.setThreadName(kFirstId + 2, "");
    m_registry.setThreadName(kFirstId + 3, "only a name");
    enter(4);
    EXPECT_EQ(poke(), found("thread 4") + count(1) + kPoked);
    EXPECT_EQ(m_steps, (Steps{"kill 4 1", "sleep 1000"}));
}

TEST_F(TimedOutThreads, DoNotCountThoseThatAreLeftOut) {
    for (int i = 0; i < kMostIds; ++i) {
        enter(i);
    }
    m_registry.setThreadName(kFirstId, "");
    m_registry.setThreadName(kFirstId + 5, "");
    const std::string printed = poke();
    EXPECT_NE(printed.find(found("thread 11") + count(10)), std::string::npos) << printed;
}

TEST_F(TimedOutThreads, AreCalledByTheirLatestName) {
    enter(0);
    m_registry.setThreadName(kFirstId, "renamed");
    EXPECT_EQ(poke(), found("renamed") + count(1) + kPoked);
}

TEST_F(TimedOutThreads, KeepTheirFirstHandle) {
    enter(0);
    m_registry.registerThread(kFirstId, "thread 0", handleOf(1));
    poke();
    EXPECT_EQ(m_steps, (Steps{"kill 0 1", "sleep 1000"}));
}

TEST_F(TimedOutThreads, GetAHandleAfterTheirName) {
    m_registry.setThreadName(kFirstId, "named first");
    enter(0);
    EXPECT_EQ(poke(), found("named first") + count(1) + kPoked);
}

TEST_F(TimedOutThreads, AreNotSpokenOfWhenThereAreNone) {
    m_registry.registerThread(kFirstId, "main", 0);
    EXPECT_EQ(poke(), "");
    EXPECT_EQ(m_steps, Steps());
}

TEST_F(TimedOutThreads, MayBeGoneByTheSystemsWord) {
    enter(0);
    enter(1);
    m_results[handleOf(0)] = ESRCH;
    EXPECT_EQ(poke(), found("thread 0") + found("thread 1") + count(2) + kGone + kPoked);
    EXPECT_EQ(m_steps, (Steps{"kill 0 1", "kill 1 1", "sleep 1000"}));
}

TEST_F(TimedOutThreads, ThatLeaveBeforeTheirTurnAreNotTouched) {
    enter(0);
    enter(1);
    enter(2);
    m_inSleep = [this](std::size_t) { m_registry.unregisterThread(kFirstId + 1); };
    EXPECT_EQ(poke(), found("thread 0") + found("thread 1") + found("thread 2") + count(3) +
                          kPoked + kGone + kPoked);
    EXPECT_EQ(m_steps, (Steps{"kill 0 1", "sleep 1000", "kill 2 1", "sleep 1000"}));
}

TEST_F(TimedOutThreads, WhoseIdIsTakenByAnotherThreadAreNotTouched) {
    enter(0);
    enter(1);
    m_inSleep = [this](std::size_t) {
        m_registry.unregisterThread(kFirstId + 1);
        m_registry.registerThread(kFirstId + 1, "another", handleOf(2));
    };
    EXPECT_EQ(poke(), found("thread 0") + found("thread 1") + count(2) + kPoked + kGone);
    EXPECT_EQ(m_steps, (Steps{"kill 0 1", "sleep 1000"}));
}

TEST_F(TimedOutThreads, ThatCannotBePokedAreReportedWithTheError) {
    enter(0);
    enter(1);
    m_results[handleOf(0)] = EINVAL;
    EXPECT_EQ(poke(), found("thread 0") + found("thread 1") + count(2) +
                          "pthread_kill ret err 22\n" + kPoked);
    EXPECT_EQ(m_steps, (Steps{"kill 0 1", "kill 1 1", "sleep 1000"}));
}

}  // namespace
