#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "technic/GThread.h"
#include "tests/technic/WorkerFixture.h"

namespace {

class HeartbeatPipe : public WorkerFixture {};

using HeartbeatPipeDeathTest = HeartbeatPipe;

TEST_F(HeartbeatPipe, IsTheOneOfAllWorkers) {
    TestWorker worker{Works()};
    const Pipe other(m_folder.path("other"));
    GThread::setThreadFifoName(other.path().c_str());
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeatsIn(other.take()).size(), 1U);
    EXPECT_TRUE(heartbeats().empty());
}

TEST_F(HeartbeatPipe, NameMayHave127Characters) {
    std::string path = m_folder.path("");
    path += std::string(127 - path.size(), 'p');
    const Pipe longest(path);
    GThread::setThreadFifoName(path.c_str());
    TestWorker worker{Works()};
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeatsIn(longest.take()).size(), 1U);
}

TEST_F(HeartbeatPipe, EmptyNameIsReplacedByTheDevicesOwn) {
    const Pipe devices("/hd1/program/bin/threadchannel");
    GThread::setThreadFifoName("");
    TestWorker worker{Works()};
    worker.updateHeartbeatName();
    EXPECT_EQ(heartbeatsIn(devices.take()).size(), 1U);
}

constexpr char kAssertion[] =
    "GThread.cpp:399: .*Assertion `__null != p_ThreadFifoName && strlen\\(p_ThreadFifoName\\) < "
    "sizeof\\(m_ThreadFifoName\\)' failed";

TEST_F(HeartbeatPipeDeathTest, NameOf128CharactersEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(GThread::setThreadFifoName(std::string(128, 'p').c_str()),
                testing::KilledBySignal(SIGABRT), kAssertion);
}

TEST_F(HeartbeatPipeDeathTest, NullNameEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(GThread::setThreadFifoName(nullptr), testing::KilledBySignal(SIGABRT), kAssertion);
}

}  // namespace
