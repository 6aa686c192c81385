#include "technic/CrashLine.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "tests/technic/MachineContext.h"

namespace {

std::string lineAt(std::uintptr_t programCounter, std::uintptr_t faultAddress,
                   std::uintptr_t framePointer) {
    const ucontext_t context = interruptedAt(programCounter, faultAddress, framePointer);
    return crashLine(&context);
}

TEST(CrashLine, WithoutAFrameHasTenZeroWords) {
    EXPECT_EQ(lineAt(0x401ABC, 0xDEF0, 0),
              "PC:0X401ABC, ErrAddr:0XDEF0, Stack:0 0 0 0 0 0 0 0 0 0");
}

TEST(CrashLine, OfZerosIsAllZeros) {
    EXPECT_EQ(lineAt(0, 0, 0), "PC:0, ErrAddr:0, Stack:0 0 0 0 0 0 0 0 0 0");
}

TEST(CrashLine, NamesTheCallsTheInnermostFirst) {
    const StackFrame outer(0, 0x3000);
    const StackFrame middle(outer.pointer(), 0x2000);
    const StackFrame inner(middle.pointer(), 0x1000);
    EXPECT_EQ(lineAt(0x401000, 0x8, inner.pointer()),
              "PC:0X401000, ErrAddr:0X8, Stack:0X1000 0X2000 0X3000 0 0 0 0 0 0 0");
}

TEST(CrashLine, NamesTenCallsAtMost) {
    std::array<StackFrame, 12> frames{};
    for (std::size_t i = 0; i < frames.size(); ++i) {
        frames.at(i) = StackFrame(i + 1 < frames.size() ? frames.at(i + 1).pointer() : 0, 0xA0 + i);
    }
    EXPECT_EQ(lineAt(0x401000, 0x8, frames[0].pointer()),
              "PC:0X401000, ErrAddr:0X8, Stack:"
              "0XA0 0XA1 0XA2 0XA3 0XA4 0XA5 0XA6 0XA7 0XA8 0XA9");
}

TEST(CrashLine, HoldsTheLargestNumbersWhole) {
    StackFrame endless(0, UINTPTR_MAX);
    endless.caller = endless.pointer();
    const std::string largest = "0X" + std::string(2 * sizeof(std::uintptr_t), 'F');
    std::string expected = "PC:" + largest + ", ErrAddr:" + largest + ", Stack:" + largest;
    for (int i = 1; i < 10; ++i) {
        expected += " " + largest;
    }
    EXPECT_EQ(lineAt(UINTPTR_MAX, UINTPTR_MAX, endless.pointer()), expected);
}

TEST(CrashLine, EndsAtAFrameThatIsNotThere) {
    // No program has anything in the first page.
    const StackFrame inner(0x10, 0x1000);
    EXPECT_EQ(lineAt(0x401000, 0x8, inner.pointer()),
              "PC:0X401000, ErrAddr:0X8, Stack:0X1000 0 0 0 0 0 0 0 0 0");
}

}  // namespace
