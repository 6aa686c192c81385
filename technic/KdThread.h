#pragma once

#include <pthread.h>

#include <memory>
#include <string>

struct KdThreadState;

// Owner of one detached thread. A class derived from it says in run() what the thread does.
//
// The object may be destroyed as soon as the thread is seen stopped: what the thread touches on its
// way out is shared with it. A class derived from KdThread must stop the thread in its own
// destructor, before its members go.
class KdThread {
  public:
    static constexpr int kDefaultPriority = 49;
    static constexpr int kDefaultStopTimeoutSeconds = 20;

    explicit KdThread(std::string name);
    virtual ~KdThread() noexcept(false);
    KdThread(const KdThread&) = delete;
    KdThread& operator=(const KdThread&) = delete;

    // 0 when the thread was started; -5 when it runs already, or was killed and has not left its
    // stack yet; -2 when it cannot be created.
    int start();
    // True from start() until the thread's body has returned. Any thread.
    bool isRunning();
    // What run() returned last, 0 before it ever did; a run that was killed or ended itself returns
    // nothing. 0 while the thread runs.
    int getResult();

    // Waits for the thread in steps of 100 ms, at most the stop time-out; kills it then, or after
    // one second when the system is stopping.
    void stopWait();
    // Cancels the thread and waits until it has left its stack, at most one second. A thread that
    // does not come to a cancellation point within that time keeps running on members that its
    // owner may destroy: work must contain cancellation points. Nothing when no thread runs.
    void kill();

    const std::string& getName() const { return m_name; }
    // Above 49 the thread is scheduled round-robin, with the least priority of that policy.
    void setPriority(int priority) { m_priority = priority; }
    int getPriority() const { return m_priority; }
    void setStopTimeout(int seconds) { m_stopTimeout = seconds; }

  protected:
    // The thread's body. It opens the run gate first and lets no exception out.
    virtual int run() = 0;
    // Lets start() return.
    void openRunGate();
    // The kernel thread id of the worker; 0 before the first start.
    int threadId() const;

  private:
    bool create(void* launch);
    static void* threadEntry(void* argument);

    std::shared_ptr<KdThreadState> m_state;
    const std::string m_name;
    int m_priority = kDefaultPriority;
    int m_stopTimeout = kDefaultStopTimeoutSeconds;
};
