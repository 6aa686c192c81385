#include "technic/AllocHistory.h"

#include <cstdio>
#include <new>

#include "technic/MutexCellGuard.h"
#include "technic/ThreadId.h"

AllocHistory::AllocHistory() {
    m_lock.init();
    m_dumpLock.init();
}

void AllocHistory::record(const void* address, std::size_t size, const char* file,
                          int line) noexcept {
    const MutexCellGuard guard(m_lock);
    Entry& entry = m_entries[m_next];
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    entry.address.store(static_cast<std::uint32_t>(number), std::memory_order_relaxed);
    entry.threadId.store(currentThreadId(), std::memory_order_relaxed);
    entry.size.store(static_cast<std::uint32_t>(size), std::memory_order_relaxed);
    entry.line.store(line, std::memory_order_relaxed);
    entry.file.store(file, std::memory_order_relaxed);
    m_next = (m_next + 1) % kEntryCount;
}

void AllocHistory::dump() {
    const MutexCellGuard guard(m_dumpLock);
    std::puts("Mem History:");
    std::printf("\tFailed threadId=%d\n", currentThreadId());
    for (const Entry& entry : m_entries) {
        std::printf("Latest newed Mem:address(0x%08x),alloc in %s line %d size=%d,pid=%d\n",
                    entry.address.load(std::memory_order_relaxed),
                    entry.file.load(std::memory_order_relaxed),
                    entry.line.load(std::memory_order_relaxed),
                    static_cast<int>(entry.size.load(std::memory_order_relaxed)),
                    entry.threadId.load(std::memory_order_relaxed));
    }
}

AllocHistory& allocHistory() {
    alignas(AllocHistory) static unsigned char storage[sizeof(AllocHistory)];
    static AllocHistory& history = *::new (static_cast<void*>(storage)) AllocHistory;
    return history;
}
