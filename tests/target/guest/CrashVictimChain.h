#pragma once

#include <cstdint>
#include <string>

// What is to go wrong, at the end of a chain of calls whose every frame is known.
struct Trouble {
    enum Kind {
        kWrite,
        kDivision,
        kInstruction,
        kUnalignedLoad,
        kFrame,
        kDeepCalls,
        kBusyLoop,
        kSleep,
        kSelect,
        kRead
    };

    Kind kind = kWrite;
    // Where to write or load; the frame pointer at the write to null; how many deep calls.
    std::uintptr_t address = 0;
};

// getIntoTrouble calls outerCall, that calls middleCall, and that the one in which it happens.
// Nothing of it is inlined or left by a jump, so that each is found by its own name.
extern "C" {
[[gnu::noinline]] void getIntoTrouble(const Trouble& trouble);
[[gnu::noinline]] void outerCall(const Trouble& trouble);
[[gnu::noinline]] void middleCall(const Trouble& trouble);

[[gnu::noinline]] void writeTo(std::uintptr_t address);
[[gnu::noinline]] void loadUnaligned(std::uintptr_t address);
[[gnu::noinline]] void writeWithFrame(std::uintptr_t framePointer);
[[gnu::noinline]] void runNoInstruction();
[[gnu::noinline]] int divide(int dividend, int divisor);
// Calls itself `calls` times and writes to null then.
[[gnu::noinline]] void callDeeper(int calls);

// These never return.
[[gnu::noinline]] void loopForEver();
[[gnu::noinline]] void sleepForEver();
[[gnu::noinline]] void selectForEver();
[[gnu::noinline]] void readForEver();
}
