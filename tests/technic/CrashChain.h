#pragma once

#include <cstdint>

// What goes wrong in innerFault.
struct Fault {
    enum Kind { kWrite, kDivision, kInstruction };

    Kind kind;
    // Where kWrite writes.
    std::uintptr_t address;
    // The frame pointer at that moment, unless it is kept.
    std::uintptr_t framePointer;
    bool keepsFramePointer;
};

// A chain of calls whose every frame is known: outermostCall calls outerCall, that calls
// middleCall, that calls innerFault. outermostCall's own frame is marked as the first of the stack.
extern "C" {
void outermostCall(const Fault* fault);
void outerCall(const Fault* fault);
void middleCall(const Fault* fault);
void innerFault(const Fault* fault);

// Calls itself twelve times and then innerFault.
void deepCall(const Fault* fault, int depth);
void startDeepCall(const Fault* fault);
}
