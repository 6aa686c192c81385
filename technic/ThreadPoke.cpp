// Poking threads that have stopped answering, so that they report where they are.
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>

#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"

namespace {

constexpr std::size_t kMostPokedThreads = 10;

void report(int result) {
    if (result == 0) {
        std::puts("pthread_kill for debug timeout thread ...");
        sleepFor(1, 0);  // for the thread to write its crash line
    } else if (result == ESRCH) {
        std::puts("the specified thread did not exists or already quit");
    } else {
        std::printf("pthread_kill ret err %d\n", result);
    }
}

}  // namespace

void ThreadInfoManager::debugTimeoutThreads() {
    const std::vector<Poked> threads = threadsToPoke();
    if (threads.empty()) {
        return;
    }
    std::printf("timeoutThreadCount %d\n", static_cast<int>(threads.size()));
    for (const Poked& thread : threads) {
        report(poke(thread));
    }
}

std::vector<ThreadInfoManager::Poked> ThreadInfoManager::threadsToPoke() {
    const KdMutexGuard guard(m_lock, KD_HERE);
    std::vector<Poked> threads;
    for (const auto& [tid, handle] : m_threadHandles) {
        const auto name = m_threadNames.find(tid);
        if (handle == 0 || name == m_threadNames.end() || name->second.empty()) {
            continue;
        }
        std::puts("timeout thread name:");
        std::puts(name->second.c_str());
        threads.push_back({tid, handle});
        if (threads.size() == kMostPokedThreads) {
            break;
        }
    }
    return threads;
}

// A thread leaves the registry before it ends, and needs the lock to do so: its handle is good as
// long as it stands there. A handle that is gone must not be used any more.
int ThreadInfoManager::poke(const Poked& thread) {
    if (pthread_equal(thread.handle, pthread_self()) != 0) {
        // It does not leave meanwhile, and its handler asks the registry before this returns.
        return pthread_kill(thread.handle, SIGHUP);
    }
    const KdMutexGuard guard(m_lock, KD_HERE);
    const auto found = m_threadHandles.find(thread.tid);
    if (found == m_threadHandles.end() || pthread_equal(found->second, thread.handle) == 0) {
        return ESRCH;
    }
    return pthread_kill(thread.handle, SIGHUP);
}
