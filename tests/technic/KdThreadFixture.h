#pragma once

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/select.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "technic/KdThread.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"
#include "tests/technic/RunningSystem.h"

// A thread whose body is a function.
class Body : public KdThread {
  public:
    explicit Body(std::function<int()> work, bool opensGate = true)
        : KdThread("body"), m_work(std::move(work)), m_opensGate(opensGate) {}
    ~Body() override { stopWait(); }

    int id() const { return threadId(); }
    void open() { openRunGate(); }
    void waitForEnd() {
        while (isRunning()) {
            sleepFor(0, 1000);
        }
    }

  protected:
    int run() override {
        if (m_opensGate) {
            openRunGate();
        }
        return m_work();
    }

  private:
    const std::function<int()> m_work;
    const bool m_opensGate;
};

inline void waitFor(const std::atomic<bool>& mark) {
    while (!mark) {
        sleepFor(0, 1000);
    }
}

// Work that never ends by itself, but can be cancelled.
class Endless {
  public:
    int operator()() {
        m_marks->handle = pthread_self();
        m_marks->entered = true;
        for (;;) {
            (void)select(0, nullptr, nullptr, nullptr, nullptr);
        }
    }
    void waitUntilEntered() const { waitFor(m_marks->entered); }
    pthread_t handle() const { return m_marks->handle; }

  private:
    struct Marks {
        pthread_t handle = 0;
        std::atomic<bool> entered{false};
    };
    std::shared_ptr<Marks> m_marks = std::make_shared<Marks>();
};

inline std::string registeredName(int tid) {
    std::string name;
    ThreadInfoManager::instance()->getThreadName(tid, name);
    return name;
}

class Thread : public testing::Test {
  protected:
    RunningSystem m_system;
};
