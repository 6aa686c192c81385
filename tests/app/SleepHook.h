#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>

// Sees every sleep of this program while it lives. One at a time, which outlives the threads that
// sleep meanwhile.
class SleepHook {
  public:
    SleepHook();
    virtual ~SleepHook();
    SleepHook(const SleepHook&) = delete;
    SleepHook& operator=(const SleepHook&) = delete;

    // Called on the thread that is about to sleep, with the duration; how long it shall sleep
    // instead.
    virtual long beforeSleep(long milliseconds) = 0;
};

// Time that passes for the one other thread of a program when the test says so. The clock of whole
// seconds shows it; the test's own thread sleeps as ever.
class SteppedTime : public SleepHook {
  public:
    // Made by the test's own thread.
    SteppedTime();
    ~SteppedTime() override;

    // Lets time pass until so many seconds after the construction. When the call returns the other
    // thread has done all that falls into this time, and sleeps.
    void passTo(long seconds);
    // The other thread sleeps as ever from here on; the clock stands.
    void release();

    long beforeSleep(long milliseconds) override;

  private:
    const pid_t m_owner;
    std::mutex m_lock;
    std::condition_variable m_changed;
    long m_now = 0;
    long m_wake = 0;  // when the thread's sleep ends
    bool m_isAsleep = false;
    bool m_isReleased = false;
};
