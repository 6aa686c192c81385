#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "technic/MutexCell.h"

// The ring of the last tracked allocations. Any thread.
class AllocHistory {
  public:
    static constexpr std::size_t kEntryCount = 100;

    // One remembered allocation; addresses and sizes are kept with their low 32 bits.
    struct Entry {
        std::atomic<const char*> file{"NULL File"};
        std::atomic<std::int32_t> line{0};
        std::atomic<std::uint32_t> size{0};
        std::atomic<std::uint32_t> address{0};
        std::atomic<std::int32_t> threadId{0};
    };

    AllocHistory();

    void record(const void* address, std::size_t size, const char* file, int line) noexcept;
    void dump();
    const Entry& entry(std::size_t index) const { return m_entries[index]; }

  private:
    std::array<Entry, kEntryCount> m_entries;
    std::size_t m_next = 0;
    MutexCell m_lock;
    MutexCell m_dumpLock;
};

// The history of this process: there from the first allocation on, never destroyed.
AllocHistory& allocHistory();
