#pragma once

#include <ucontext.h>

#include <cstdint>

// What a signal handler of this machine would get of a program that was interrupted at
// `programCounter`, its last fault having been at `faultAddress`.
inline ucontext_t interruptedAt(std::uintptr_t programCounter, std::uintptr_t faultAddress,
                                std::uintptr_t framePointer) {
    ucontext_t context{};
#if defined(__arm__)
    context.uc_mcontext.arm_pc = programCounter;
    context.uc_mcontext.fault_address = faultAddress;
    context.uc_mcontext.arm_fp = framePointer;
#else
    auto& registers = context.uc_mcontext.gregs;
    registers[REG_RIP] = static_cast<greg_t>(programCounter);
    registers[REG_CR2] = static_cast<greg_t>(faultAddress);
    registers[REG_RBP] = static_cast<greg_t>(framePointer);
#endif
    return context;
}

#if defined(__arm__)
constexpr std::uintptr_t kCallSize = 4;
constexpr std::uintptr_t kFramePointerAt = 12;
constexpr std::uintptr_t kFirstKernelAddress = 0xC0000000;
#else
constexpr std::uintptr_t kCallSize = 1;
constexpr std::uintptr_t kFramePointerAt = 0;
constexpr std::uintptr_t kFirstKernelAddress = 0x800000000000;
#endif

// A stack frame of this machine.
struct StackFrame {
    StackFrame() = default;
    // `callersFrame` is a frame pointer. The frame returns to just behind `call`.
    StackFrame(std::uintptr_t callersFrame, std::uintptr_t call)
        : caller(callersFrame), returnAddress(call + kCallSize) {}

    // What the frame pointer is in this frame.
    std::uintptr_t pointer() const {
        return reinterpret_cast<std::uintptr_t>(this) + kFramePointerAt;
    }

    std::uintptr_t caller = 0;
#if defined(__arm__)
    std::uintptr_t stackPointer = 0;
#endif
    std::uintptr_t returnAddress = 0;
};
