#pragma once

#include <array>
#include <cstddef>

// Reads memory of this process that may not be there: the kernel does the reading, through a pipe,
// and refuses what is not mapped. Usable in a signal handler. One thread at a time.
class MemoryProbe {
  public:
    // Reads nothing when the process has no descriptors left for the pipe.
    MemoryProbe();
    ~MemoryProbe();
    MemoryProbe(const MemoryProbe&) = delete;
    MemoryProbe& operator=(const MemoryProbe&) = delete;

    // Copies `size` bytes from `address` to `buffer`; false when they cannot all be read. `buffer`
    // may then be filled in part. At most 4096 bytes.
    bool read(const void* address, void* buffer, std::size_t size) const;

  private:
    std::array<int, 2> m_pipe{-1, -1};
};
