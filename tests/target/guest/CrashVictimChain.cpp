#include "tests/target/guest/CrashVictimChain.h"

#include <sys/select.h>
#include <unistd.h>

#include <array>

#include "technic/TimeUtil.h"

namespace {

constexpr long kLongTime = 1000000;

// Tells the compiler nothing about the value, so that it leaves no call out.
int unknown(int value) {
    asm volatile("" : "+r"(value));
    return value;
}

// The end of a pipe to which nobody ever writes.
int silentPipe() {
    std::array<int, 2> ends{};
    return pipe(ends.data()) == 0 ? ends[0] : -1;
}

}  // namespace

extern "C" {

void getIntoTrouble(const Trouble& trouble) {
    outerCall(trouble);
}

void outerCall(const Trouble& trouble) {
    middleCall(trouble);
}

void middleCall(const Trouble& trouble) {
    switch (trouble.kind) {
        case Trouble::kWrite:
            writeTo(trouble.address);
            break;
        case Trouble::kDivision:
            divide(1, 0);
            break;
        case Trouble::kInstruction:
            runNoInstruction();
            break;
        case Trouble::kUnalignedLoad:
            loadUnaligned(trouble.address);
            break;
        case Trouble::kFrame:
            writeWithFrame(trouble.address);
            break;
        case Trouble::kDeepCalls:
            callDeeper(static_cast<int>(trouble.address));
            break;
        case Trouble::kBusyLoop:
            loopForEver();
            break;
        case Trouble::kSleep:
            sleepForEver();
            break;
        case Trouble::kSelect:
            selectForEver();
            break;
        case Trouble::kRead:
            readForEver();
            break;
    }
}

void writeTo(std::uintptr_t address) {
    asm volatile("str %0, [%0]" : : "r"(address) : "memory");
}

// An exclusive load is the one that the kernel never makes up for.
void loadUnaligned(std::uintptr_t address) {
    std::uintptr_t word = 0;
    asm volatile("ldrex %0, [%1]" : "=r"(word) : "r"(address) : "memory");
}

void writeWithFrame(std::uintptr_t framePointer) {
    asm volatile("mov fp, %0\n\tstr %1, [%1]" : : "r"(framePointer), "r"(0) : "memory");
}

void runNoInstruction() {
    asm volatile("udf #0");
}

int divide(int dividend, int divisor) {
    return unknown(dividend) / unknown(divisor);
}

void callDeeper(int calls) {
    if (calls > 0) {
        callDeeper(unknown(calls) - 1);
    } else {
        writeTo(0);
    }
}

void loopForEver() {
    for (;;) {
        asm volatile("");
    }
}

void sleepForEver() {
    for (;;) {
        sleepFor(kLongTime, 0);
    }
}

void selectForEver() {
    const int silent = silentPipe();
    for (;;) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(silent, &readable);
        (void)select(silent + 1, &readable, nullptr, nullptr, nullptr);
    }
}

void readForEver() {
    const int silent = silentPipe();
    char byte = 0;
    while (read(silent, &byte, 1) != 1) {
    }
}

}  // extern "C"
