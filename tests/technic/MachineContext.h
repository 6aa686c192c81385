#pragma once

#include <ucontext.h>

#include <cstdint>

// What a signal handler of this machine would get of a program that was interrupted at
// `programCounter`, its last fault having been at `faultAddress`.
inline ucontext_t interruptedAt(std::uintptr_t programCounter, std::uintptr_t faultAddress,
                                std::uintptr_t framePointer) {
    ucontext_t context{};
    auto& registers = context.uc_mcontext.gregs;
    registers[REG_RIP] = static_cast<greg_t>(programCounter);
    registers[REG_CR2] = static_cast<greg_t>(faultAddress);
    registers[REG_RBP] = static_cast<greg_t>(framePointer);
    return context;
}

// A stack frame of this machine.
struct StackFrame {
    const StackFrame* caller;
    std::uintptr_t returnAddress;
};
