#include "technic/TrackedAlloc.h"

#include <cstdint>

#include "technic/AllocHistory.h"

namespace {

// No object is larger; the allocator is not even asked for more.
constexpr std::size_t kLargestSize = PTRDIFF_MAX;

using Allocator = void* (*)(std::size_t size);

void* takeSingle(std::size_t size) {
    return ::operator new(size);
}

void* takeArray(std::size_t size) {
    return ::operator new[](size);
}

void* takeOrNull(Allocator take, std::size_t size) {
    try {
        return size <= kLargestSize ? take(size) : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Null when there is no memory. noexcept, so that whatever else goes wrong ends the program.
void* allocate(Allocator take, std::size_t size, const char* file, int line) noexcept {
    const std::size_t wanted = size == 0 ? 1 : size;
    void* memory = takeOrNull(take, wanted);
    if (memory != nullptr) {
        allocHistory().record(memory, wanted, file, line);
    }
    return memory;
}

}  // namespace

const char* KdBadAlloc::what() const noexcept {
    return "KdBadAlloc";
}

void* operator new(std::size_t size, const char* file, int line) {
    void* memory = allocate(takeSingle, size, file, line);
    if (memory == nullptr) {
        throw KdBadAlloc();
    }
    return memory;
}

void* operator new[](std::size_t size, const char* file, int line) {
    void* memory = allocate(takeArray, size, file, line);
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
