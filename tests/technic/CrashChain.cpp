// Compiled as it is written: without optimisation, so that no call is inlined or left by a jump,
// and without sanitizers, which would find these faults before they happen.
#include "tests/technic/CrashChain.h"

// The compiler always saves the frame pointer that it was called with; this one saves none.
asm(R"(
    .text
    .globl outermostCall
    .type outermostCall, @function
outermostCall:
    push %rbp
    xor %ebp, %ebp
    call outerCall
    pop %rbp
    ret
    .size outermostCall, . - outermostCall
    .section .note.GNU-stack, "", @progbits
    .text
)");

extern "C" {

void outerCall(const Fault* fault) {
    middleCall(fault);
}

void middleCall(const Fault* fault) {
    innerFault(fault);
}

void startDeepCall(const Fault* fault) {
    deepCall(fault, 0);
}

void deepCall(const Fault* fault, int depth) {
    if (depth == 12) {
        innerFault(fault);
    } else {
        deepCall(fault, depth + 1);
    }
}

void innerFault(const Fault* fault) {
    if (!fault->keepsFramePointer) {
        asm volatile("mov %0, %%rbp\n\tmovl $0, (%1)"
                     :
                     : "r"(fault->framePointer), "r"(fault->address)
                     : "memory");
    }
    switch (fault->kind) {
        case Fault::kWrite:
            asm volatile("movl $0, (%0)" : : "r"(fault->address) : "memory");
            break;
        case Fault::kDivision:
            asm volatile("cltd\n\tidivl %0" : : "r"(0), "a"(1) : "edx");
            break;
        case Fault::kInstruction:
            asm volatile("ud2");
            break;
    }
}

}  // extern "C"
