#pragma once

#include <pthread.h>

#include <map>
#include <string>

#include "technic/KdMutex.h"
#include "technic/Singlton.h"

// The process-wide registry of living threads, by kernel thread id. Any thread.
class ThreadInfoManager : public Singlton<ThreadInfoManager> {
  public:
    // An id that is registered already keeps its old entries. `handle` is 0 for a thread that must
    // not be poked.
    void registerThread(int tid, const std::string& name, pthread_t handle);
    void unregisterThread(int tid);
    // The thread's name, or "UnknownThread" and false.
    bool getThreadName(int tid, std::string& name);
    // Replaces the name, or enters it.
    void setThreadName(int tid, const std::string& name);

    // What a signal number means, in English; "Unknown SignalId" for a number without a text.
    static const char* signalName(int signo);

    // Appends a record to the signal log and prints the text to standard output.
    static void writeSignalError(const std::string& text);

  private:
    std::map<int, std::string> m_threadNames;
    std::map<int, pthread_t> m_threadHandles;
    KdMutex m_lock;
};
