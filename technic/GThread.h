#pragma once

#include <cstdint>
#include <string>

#include "technic/GThreadInfo.h"
#include "technic/KdMutex.h"
#include "technic/KdThread.h"
#include "technic/SafePointer.h"
#include "technic/function.h"

// A worker thread with three works: set-up, run once on the starter's thread; cycle work, run again
// and again on the worker while it returns 0 and the system runs; tear-down, run once on the
// stopper's thread when set-up was called before, whatever it returned. It reports itself by
// heartbeats into a named pipe. An exception from a work is logged and stops the system, but does
// not leave the worker.
class GThread : public KdThread {
  public:
    GThread(const function<int>& cycleWork, const std::string& name, const function<int>& setupWork,
            const function<int>& teardownWork);
    // Stops a worker that still runs, and says so.
    ~GThread() noexcept(false) override;

    // The heartbeat pipe of all workers. A null pointer, or a path of 128 characters or more, ends
    // the program. The first worker made while it is empty sets the device's own.
    static void setThreadFifoName(const char* p_ThreadFifoName);

    // How long the worker may stay silent and how long a stop waits for it, in seconds.
    void setTimeout(unsigned int seconds);
    // Puts the thread's name into the record and sends one heartbeat at once.
    void updateHeartbeatName();

    // 1 when the worker runs, also when it ran already (set-up is not called then); 0 when set-up
    // failed or no thread could be made. start and stop may be called on any thread.
    int start();
    // 1 when tear-down ran and returned 0; 0 otherwise, also when there was nothing to tear down.
    // Waits for the worker and kills it in the end, see KdThread::stopWait.
    int stop();

    // The cycle work runs on every (interval + 1)-th pass, the others sleep one second. Set these
    // before start.
    void setCycleInterval(std::uint32_t interval) { m_cycleInterval = interval; }
    // Passes until the loop ends by itself; 0 is no limit. It holds for one run.
    void setCycleLimit(int limit) { m_cycleLimit = limit; }
    void setHeartbeatEnabled(bool enabled) { m_heartbeatEnabled = enabled; }

    // Appends a record to the thread exception log.
    static void writeThreadException(const std::string& text);

  protected:
    int run() override;

  private:
    void reportForcedStop() const;
    void runCycles();
    bool pass();
    int teardown();
    int sendHeartbeat();
    int sendLastHeartbeat();
    static std::string threadFifoName();
    std::string nameAndId(int id) const;

    KdMutex m_lock;
    function<int> m_setupWork;
    function<int> m_teardownWork;
    function<int> m_cycleWork;
    int m_cycleLimit = 0;
    int m_lastResult = 0;
    SafePointer<GThreadInfo> m_info;
    std::uint32_t m_cycleCount = 0;
    bool m_setupDone = false;
    bool m_heartbeatEnabled = true;
    std::uint32_t m_cycleInterval = 0;
    std::uint32_t m_tickCount = 0;
    std::int64_t m_longestPass = 0;

    static char m_ThreadFifoName[128];
};
