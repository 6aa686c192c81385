#include "technic/CrashLine.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "tests/technic/MachineContext.h"

namespace {

std::string lineAt(std::uintptr_t programCounter, std::uintptr_t faultAddress,
                   const StackFrame* frame) {
    const ucontext_t context =
        interruptedAt(programCounter, faultAddress, reinterpret_cast<std::uintptr_t>(frame));
    return crashLine(&context);
}

TEST(CrashLine, WithoutAFrameHasTenZeroWords) {
    EXPECT_EQ(lineAt(0x401ABC, 0xDEF0, nullptr),
              "PC:0X401ABC, ErrAddr:0XDEF0, Stack:0 0 0 0 0 0 0 0 0 0");
}

TEST(CrashLine, OfZerosIsAllZeros) {
    EXPECT_EQ(lineAt(0, 0, nullptr), "PC:0, ErrAddr:0, Stack:0 0 0 0 0 0 0 0 0 0");
}

TEST(CrashLine, NamesTheCallsTheInnermostFirst) {
    const StackFrame outer{nullptr, 0x3001};
    const StackFrame middle{&outer, 0x2001};
    const StackFrame inner{&middle, 0x1001};
    EXPECT_EQ(lineAt(0x401000, 0x8, &inner),
              "PC:0X401000, ErrAddr:0X8, Stack:0X1000 0X2000 0X3000 0 0 0 0 0 0 0");
}

TEST(CrashLine, NamesTenCallsAtMost) {
    std::array<StackFrame, 12> frames{};
    for (std::size_t i = 0; i < frames.size(); ++i) {
        frames.at(i).returnAddress = 0xA1 + i;
        frames.at(i).caller = i + 1 < frames.size() ? &frames.at(i + 1) : nullptr;
    }
    EXPECT_EQ(lineAt(0x401000, 0x8, frames.data()),
              "PC:0X401000, ErrAddr:0X8, Stack:"
              "0XA0 0XA1 0XA2 0XA3 0XA4 0XA5 0XA6 0XA7 0XA8 0XA9");
}

TEST(CrashLine, HoldsTheLargestNumbersWhole) {
    const StackFrame endless{&endless, 0};
    const std::string largest = "0XFFFFFFFFFFFFFFFF";
    std::string expected = "PC:" + largest + ", ErrAddr:" + largest + ", Stack:" + largest;
    for (int i = 1; i < 10; ++i) {
        expected += " " + largest;
    }
    EXPECT_EQ(lineAt(UINTPTR_MAX, UINTPTR_MAX, &endless), expected);
}

TEST(CrashLine, EndsAtAFrameThatIsNotThere) {
    // No program has anything in the first page.
    const StackFrame inner{reinterpret_cast<const StackFrame*>(0x10), 0x1001};
    EXPECT_EQ(lineAt(0x401000, 0x8, &inner),
              "PC:0X401000, ErrAddr:0X8, Stack:0X1000 0 0 0 0 0 0 0 0 0");
}

}  // namespace
