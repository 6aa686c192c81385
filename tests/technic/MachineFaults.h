#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>

// Faults of this machine. Each one happens in the function that calls for it.
#define FAULT inline __attribute__((always_inline)) void

#if defined(__arm__)

FAULT writeWithFramePointer(std::uintptr_t address, std::uintptr_t framePointer) {
    asm volatile("mov fp, %0\n\tstr %1, [%1]" : : "r"(framePointer), "r"(address) : "memory");
}

FAULT writeTo(std::uintptr_t address) {
    asm volatile("str %0, [%0]" : : "r"(address) : "memory");
}

// This machine does not interrupt a program that divides by zero: the compiler's division sends
// the signal to its own thread, and so does this.
FAULT divideByZero() {
    register long process asm("r0") = getpid();
    register long thread asm("r1") = gettid();
    register long signal asm("r2") = SIGFPE;
    register long call asm("r7") = SYS_tgkill;
    asm volatile("svc #0" : "+r"(process) : "r"(thread), "r"(signal), "r"(call) : "memory");
}

FAULT runNoInstruction() {
    asm volatile("udf #0");
}

#else

FAULT writeWithFramePointer(std::uintptr_t address, std::uintptr_t framePointer) {
    asm volatile("mov %0, %%rbp\n\tmovl $0, (%1)" : : "r"(framePointer), "r"(address) : "memory");
}

FAULT writeTo(std::uintptr_t address) {
    asm volatile("movl $0, (%0)" : : "r"(address) : "memory");
}

FAULT divideByZero() {
    asm volatile("cltd\n\tidivl %0" : : "r"(0), "a"(1) : "edx");
}

FAULT runNoInstruction() {
    asm volatile("ud2");
}

#endif

#undef FAULT
