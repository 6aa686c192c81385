#include "technic/TrackedAlloc.h"

#include "technic/AllocHistory.h"

namespace {

// noexcept, so that whatever else goes wrong in here ends the program.
void* allocate(std::size_t size, const char* file, int line) noexcept {
    const std::size_t wanted = size == 0 ? 1 : size;
    void* memory = ::operator new(wanted, std::nothrow);
    if (memory != nullptr) {
        allocHistory().record(memory, size, file, line);
    }
    return memory;
}

void* allocateArray(std::size_t size, const char* file, int line) noexcept {
    const std::size_t wanted = size == 0 ? 1 : size;
    void* memory = ::operator new[](wanted, std::nothrow);
    if (memory != nullptr) {
        allocHistory().record(memory, size, file, line);
    }
    return memory;
}

}  // namespace

const char* KdBadAlloc::what() const noexcept {
    return "KdBadAlloc";
}

void* operator new(std::size_t size, const char* file, int line) {
    void* memory = allocate(size, file, line);
    if (memory == nullptr) {
        throw KdBadAlloc();
    }
    return memory;
}

void* operator new[](std::size_t size, const char* file, int line) {
    void* memory = allocateArray(size, file, line);
    if (memory == nullptr) {
        throw KdBadAlloc();
    }
    return memory;
}

void operator delete(void* memory, const char*, int) noexcept {
    ::operator delete(memory);
}

void operator delete[](void* memory, const char*, int) noexcept {
    ::operator delete[](memory);
}

void dumpAllocHistory() {
    allocHistory().dump();
}
