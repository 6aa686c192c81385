#pragma once

#include <cstddef>
#include <new>

// Allocations that remember where they were asked for: `new (KD_HERE) T(...)`. The memory is given
// back with plain delete or delete[]. The last hundred are kept for dumpAllocHistory.

// The only exception that leaves a tracked allocation; anything else in it ends the program.
class KdBadAlloc : public std::bad_alloc {
  public:
    const char* what() const noexcept override;
};

// A size of 0 is taken as 1. `file` must live as long as the process (a string literal).
// Throws KdBadAlloc when there is no memory. Any thread.
void* operator new(std::size_t size, const char* file, int line);
void* operator new[](std::size_t size, const char* file, int line);

// Called by the compiler when a constructor throws.
void operator delete(void* memory, const char* file, int line) noexcept;
void operator delete[](void* memory, const char* file, int line) noexcept;

// Prints the remembered allocations to standard output under "Mem History:". Allocations made at
// the same moment may show half updated. Any thread.
void dumpAllocHistory();
