// Compiled as it is written: without optimisation, so that no call is inlined or left by a jump,
// and without sanitizers, which would find these faults before they happen.
#include "tests/technic/CrashChain.h"

#include "tests/technic/MachineFaults.h"

// The compiler always saves the frame pointer that it was called with; this one saves none.
#if defined(__arm__)
asm(R"(
    .text
    .arm
    .globl outermostCall
    .type outermostCall, %function
outermostCall:
    push {fp, lr}
    mov fp, #0
    bl outerCall
    pop {fp, pc}
    .size outermostCall, . - outermostCall
    .section .note.GNU-stack, "", %progbits
    .text
)");
#else
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
#endif

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
        writeWithFramePointer(fault->address, fault->framePointer);
    }
    switch (fault->kind) {
        case Fault::kWrite:
            writeTo(fault->address);
            break;
        case Fault::kDivision:
            divideByZero();
            break;
        case Fault::kInstruction:
            runNoInstruction();
            break;
    }
}

}  // extern "C"
