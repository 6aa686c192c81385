#include "technic/CrashLine.h"

#include <ucontext.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "technic/FrameWalk.h"
#include "technic/MemoryProbe.h"

namespace {

using Word = std::uintptr_t;

struct Site {
    Word programCounter;
    Word faultAddress;
    Word framePointer;
};

#if defined(__arm__)

constexpr const FrameLayout<Word>& kFrames = kArmFrames;

Site siteOf(const ucontext_t& context) {
    const mcontext_t& machine = context.uc_mcontext;
    return {machine.arm_pc, machine.fault_address, machine.arm_fp};
}

#elif defined(__x86_64__)

constexpr const FrameLayout<Word>& kFrames = kX86_64Frames;

Site siteOf(const ucontext_t& context) {
    const auto& registers = context.uc_mcontext.gregs;
    return {static_cast<Word>(registers[REG_RIP]), static_cast<Word>(registers[REG_CR2]),
            static_cast<Word>(registers[REG_RBP])};
}

#else
#error "The stack frames of this machine are not known."
#endif

std::array<Word, kMostFrames> callsBefore(Word framePointer) {
    const MemoryProbe memory;
    return walkFrames(kFrames, framePointer, [&memory](Word address) {
        Word word = 0;
        const bool isRead =
            memory.read(reinterpret_cast<const void*>(address), &word, sizeof(word));
        return isRead ? std::optional<Word>(word) : std::nullopt;
    });
}

}  // namespace

std::string crashLine(const void* machineContext) {
    const Site site = siteOf(*static_cast<const ucontext_t*>(machineContext));
    const std::array<Word, kMostFrames> words = callsBefore(site.framePointer);
    std::array<unsigned long, kMostFrames> calls{};
    std::copy(words.begin(), words.end(), calls.begin());
    std::array<char, 256> line{};
    (void)std::snprintf(
        line.data(), line.size(),
        "PC:%#lX, ErrAddr:%#lX, Stack:%#lX %#lX %#lX %#lX %#lX %#lX %#lX %#lX %#lX %#lX",
        static_cast<unsigned long>(site.programCounter),
        static_cast<unsigned long>(site.faultAddress), calls[0], calls[1], calls[2], calls[3],
        calls[4], calls[5], calls[6], calls[7], calls[8], calls[9]);
    return line.data();
}
