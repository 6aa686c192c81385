#pragma once

#include <pthread.h>

#include <map>
#include <string>
#include <vector>

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

    // Registers the calling thread as `mainName`, without a handle, and catches the signals 7, 8,
    // 4, 11, 13, 6, 1 and 2 from now on (9 and 19 are asked for, too, but never come). The handler
    // - ignores 2, 13, 15, 19 and 29, and a hang-up (1) while the system runs;
    // - else writes two records to the signal log: the thread's name with the signal, and the crash
    //   line (see CrashLine.h);
    // - after any but a hang-up stops the system and, unless `suppressReboot` is set, asks for a
    //   reboot of the device;
    // - after a fault (4, 7, 8, 11) ends the process one second later with status 255.
    // The handler takes the registry's and the loggers' locks: a fault inside them can hang it.
    void installSignalHandlers(const std::string& mainName, int suppressReboot);

    // Has the first ten threads that have a name and a handle, in the order of their ids, report
    // where they are: each is sent a hang-up and given a second. They report only when
    // installSignalHandlers was called and the system has been stopped.
    void debugTimeoutThreads();

    // What a signal number means, in English; "Unknown SignalId" for a number without a text.
    static const char* signalName(int signo);

    // Appends a record to the signal log and prints the text to standard output.
    static void writeSignalError(const std::string& text);

  private:
    struct Poked {
        int tid;
        pthread_t handle;
    };
    std::vector<Poked> threadsToPoke();
    int poke(const Poked& thread);

    std::map<int, std::string> m_threadNames;
    std::map<int, pthread_t> m_threadHandles;
    KdMutex m_lock;
};
