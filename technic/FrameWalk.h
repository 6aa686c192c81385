#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// How the code of one kind of machine links its stack frames. Places are counted from the frame
// pointer, modulo the machine's word.
template <class Word>
struct FrameLayout {
    // Where a frame keeps the address that it returns to, and its caller's frame pointer.
    Word returnAddressAt;
    Word callerFrameAt;
    // Taken from a return address to get an address in the calling instruction.
    Word backToCall;
    // A frame pointer is a multiple of `alignment` below `end`, and not 0.
    Word alignment;
    Word end;
};

// Frames of the ARM procedure call standard, as the compiler makes them with -marm -mapcs-frame.
constexpr FrameLayout<std::uint32_t> kArmFrames{0U - 4U, 0U - 12U, 4U, 4U, 0xC0000000U};
// Frames of code that keeps its frame pointer in rbp.
constexpr FrameLayout<std::uint64_t> kX86_64Frames{8U, 0U, 1U, 8U, 0x800000000000U};

constexpr std::size_t kMostFrames = 10;

// The addresses of the calls that led to the code whose frame pointer is `frame`, the innermost
// first; 0 where there are fewer than ten. `readWord` takes an address and returns a
// std::optional<Word>: empty where nothing can be read, which ends the walk.
template <class Word, class ReadWord>
std::array<Word, kMostFrames> walkFrames(const FrameLayout<Word>& layout, Word frame,
                                         const ReadWord& readWord) {
    std::array<Word, kMostFrames> calls{};
    for (Word& call : calls) {
        if (frame == 0 || frame % layout.alignment != 0 || frame >= layout.end) {
            break;
        }
        const std::optional<Word> returnAddress = readWord(frame + layout.returnAddressAt);
        if (!returnAddress) {
            break;
        }
        call = *returnAddress - layout.backToCall;
        const std::optional<Word> caller = readWord(frame + layout.callerFrameAt);
        frame = caller.value_or(0);
    }
    return calls;
}
