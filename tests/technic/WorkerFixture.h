#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "technic/GThread.h"
#include "technic/ThreadId.h"
#include "technic/TimeUtil.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/Pipe.h"
#include "tests/technic/RunningSystem.h"

// The works of a worker.
struct Works {
    std::function<int()> cycle = [] {
        sleepFor(0, 1000);
        return 0;
    };
    std::function<int()> setup = [] { return 0; };
    std::function<int()> teardown = [] { return 0; };

    int runCycle() { return cycle(); }
    int runSetup() { return setup(); }
    int runTeardown() { return teardown(); }
};

// A worker with its works.
class TestWorker : private Works, public GThread {
  public:
    explicit TestWorker(Works works, const std::string& name = "worker")
        : Works(std::move(works)),
          GThread(bind(this, &Works::runCycle), name, bind(this, &Works::runSetup),
                  bind(this, &Works::runTeardown)) {}

    int id() const { return threadId(); }
    void waitForEnd() {
        while (isRunning()) {
            sleepFor(0, 1000);
        }
    }

  private:
    static bind_funcobj0<int, Works> bind(Works* works, int (Works::*work)()) {
        return {works, work};
    }
};

// A record as it came out of the pipe.
struct Heartbeat {
    std::uint32_t threadId;
    std::uint32_t state;
    std::uint32_t timeout;
    std::string name;

    bool operator==(const Heartbeat& other) const {
        return threadId == other.threadId && state == other.state && timeout == other.timeout &&
               name == other.name;
    }
};

inline std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
        value = value << 8U | static_cast<unsigned char>(bytes.at(i));
    }
    return value;
}

inline std::uint32_t native(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.substr(at, sizeof(value)).data(), sizeof(value));
    return value;
}

inline std::vector<Heartbeat> heartbeatsIn(const std::string& wire) {
    std::vector<Heartbeat> found;
    for (std::size_t at = 0; at < wire.size();) {
        const std::uint32_t size = native(wire, at);
        const std::string record = wire.substr(at + 4, size);
        found.push_back(
            {bigEndian(record, 0), native(record, 4), bigEndian(record, 8), record.substr(20)});
        at += 4 + size;
    }
    return found;
}

// A running system whose workers report into a pipe of the test's own.
class WorkerFixture : public testing::Test {
  protected:
    WorkerFixture() {
        (void)std::signal(SIGPIPE, SIG_IGN);
        GThread::setThreadFifoName(m_pipe.path().c_str());
    }

    std::vector<Heartbeat> heartbeats() const { return heartbeatsIn(m_pipe.take()); }
    std::vector<std::uint32_t> heartbeatStates() const {
        std::vector<std::uint32_t> states;
        for (const Heartbeat& heartbeat : heartbeats()) {
            states.push_back(heartbeat.state);
        }
        return states;
    }
    static std::string exceptionLog() {
        return withoutTimes(contentOf(device_paths::kThreadExceptionLog));
    }
    static std::string exceptionRecord(const std::string& text) {
        return "TIME,[ThreadException] " + text + "\n";
    }
    static std::string label(int tid) { return "thread(worker," + std::to_string(tid) + ")"; }
    static void waitFor(const std::atomic<bool>& mark) {
        while (!mark) {
            sleepFor(0, 1000);
        }
    }

    RunningSystem m_system;
    DeviceFolder m_folder;
    Pipe m_pipe{m_folder.path("pipe")};
};
