// The walk through the stack frames of a crashed program, for a stack of any content on either
// machine. Input: a flag for the machine; the first frame in four bytes; the rest is the memory
// from address 4096 on.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "technic/FrameWalk.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"

namespace {

constexpr std::size_t kBegin = 4096;
constexpr int kMostReads = 20;

template <class Word>
void walk(const FrameLayout<Word>& layout, Word frame, const std::string& memory) {
    int reads = 0;
    const auto read = [&](Word address) -> std::optional<Word> {
        ++reads;
        const std::size_t offset = static_cast<std::size_t>(address) - kBegin;
        if (address < kBegin || offset > memory.size() || memory.size() - offset < sizeof(Word)) {
            return std::nullopt;
        }
        Word word = 0;
        std::memcpy(&word, memory.data() + offset, sizeof word);
        return word;
    };
    const auto calls = walkFrames<Word>(layout, frame, read);
    require(calls.size() == kMostFrames && reads <= kMostReads,
            "a walk ends, also where the frames lead round in a circle");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    const bool isArm = input.flag();
    const auto frame = static_cast<std::uint32_t>(input.number());
    const std::string memory = input.rest();
    if (isArm) {
        walk<std::uint32_t>(kArmFrames, frame, memory);
    } else {
        walk<std::uint64_t>(kX86_64Frames, frame, memory);
    }
    return 0;
}
