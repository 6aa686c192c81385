#include "technic/FrameWalk.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <vector>

// Stacks are made up here: they need no machine of their kind.
namespace {

// The procedure call standard of ARM: fp points at the saved pc; below it lr, sp and fp.
struct Arm {
    using Word = std::uint32_t;
    static constexpr const FrameLayout<Word>& kLayout = kArmFrames;
    static constexpr Word kReturnAddressAt = static_cast<Word>(-4);
    static constexpr Word kCallerFrameAt = static_cast<Word>(-12);
    static constexpr Word kCallSize = 4;
    static constexpr Word kAlignment = 4;
    static constexpr Word kEnd = 0xC0000000;
};

// rbp points at the saved rbp; above it the return address. A call is two bytes long or more.
struct X86_64 {
    using Word = std::uint64_t;
    static constexpr const FrameLayout<Word>& kLayout = kX86_64Frames;
    static constexpr Word kReturnAddressAt = 8;
    static constexpr Word kCallerFrameAt = 0;
    static constexpr Word kCallSize = 1;
    static constexpr Word kAlignment = 8;
    static constexpr Word kEnd = 0x800000000000;
};

template <class Machine>
class FrameWalk : public testing::Test {
  protected:
    using Word = typename Machine::Word;
    using Calls = std::array<Word, 10>;

    static constexpr Word kFirstFrame = 0x10000;
    static constexpr Word kFrameSize = 0x100;
    static constexpr Word kFirstReturn = 0x5000;
    static constexpr Word kReturnStep = 0x40;

    void setReturnAddress(Word frame, Word address) {
        m_memory[static_cast<Word>(frame + Machine::kReturnAddressAt)] = address;
    }
    void setCaller(Word frame, Word caller) {
        m_memory[static_cast<Word>(frame + Machine::kCallerFrameAt)] = caller;
    }
    void setFrame(Word frame, Word returnAddress, Word caller) {
        setReturnAddress(frame, returnAddress);
        setCaller(frame, caller);
    }

    static Word frameAt(unsigned index) { return kFirstFrame + index * kFrameSize; }
    static Word returnAt(unsigned index) { return kFirstReturn + index * kReturnStep; }
    // Frames one after the other, the last one's caller being `end`.
    void setChain(unsigned count, Word end = 0) {
        for (unsigned i = 0; i < count; ++i) {
            setFrame(frameAt(i), returnAt(i), i + 1 == count ? end : frameAt(i + 1));
        }
    }
    // The calls of the first frames of such a chain.
    static Calls callsOf(unsigned count) {
        Calls calls{};
        for (unsigned i = 0; i < count; ++i) {
            calls.at(i) = returnAt(i) - Machine::kCallSize;
        }
        return calls;
    }

    Calls walk(Word frame) {
        return walkFrames(Machine::kLayout, frame, [this](Word address) {
            m_read.push_back(address);
            const auto found = m_memory.find(address);
            return found == m_memory.end() ? std::nullopt : std::optional<Word>(found->second);
        });
    }

    std::map<Word, Word> m_memory;
    std::vector<Word> m_read;
};

using Machines = testing::Types<Arm, X86_64>;
TYPED_TEST_SUITE(FrameWalk, Machines);

TYPED_TEST(FrameWalk, WithoutAFrameReadsAndFindsNothing) {
    EXPECT_EQ(this->walk(0), this->callsOf(0));
    EXPECT_TRUE(this->m_read.empty());
}

TYPED_TEST(FrameWalk, OfOneFrameFindsItsCall) {
    this->setChain(1);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(1));
}

TYPED_TEST(FrameWalk, OfNineFramesLeavesTheTenthPlaceEmpty) {
    this->setChain(9);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(9));
}

TYPED_TEST(FrameWalk, OfTenFramesFindsAll) {
    this->setChain(10);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(10));
}

TYPED_TEST(FrameWalk, OfTwelveFramesFindsTheTenInnermost) {
    this->setChain(12);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(10));
}

TYPED_TEST(FrameWalk, ReadsTheTwoWordsOfAFrameAndNoOthers) {
    this->setChain(2);
    this->walk(this->frameAt(0));
    decltype(this->m_read) words;
    for (unsigned i = 0; i < 2; ++i) {
        words.push_back(this->frameAt(i) + TypeParam::kReturnAddressAt);
        words.push_back(this->frameAt(i) + TypeParam::kCallerFrameAt);
    }
    EXPECT_EQ(this->m_read, words);
}

TYPED_TEST(FrameWalk, DoesNotUseAnUnalignedFrame) {
    for (unsigned off = 1; off < TypeParam::kAlignment; ++off) {
        this->setFrame(this->frameAt(0) + off, this->returnAt(0), 0);
        EXPECT_EQ(this->walk(this->frameAt(0) + off), this->callsOf(0)) << off;
    }
    EXPECT_TRUE(this->m_read.empty());
}

TYPED_TEST(FrameWalk, EndsAtAnUnalignedCaller) {
    const auto unaligned = this->frameAt(1) + TypeParam::kAlignment / 2;
    this->setChain(1, unaligned);
    this->setFrame(unaligned, this->returnAt(1), 0);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(1));
}

TYPED_TEST(FrameWalk, UsesTheHighestFrameBelowTheLimit) {
    const auto highest = TypeParam::kEnd - TypeParam::kAlignment;
    this->setFrame(highest, this->returnAt(0), 0);
    EXPECT_EQ(this->walk(highest), this->callsOf(1));
}

TYPED_TEST(FrameWalk, DoesNotUseAFrameAtTheLimit) {
    this->setFrame(TypeParam::kEnd, this->returnAt(0), 0);
    EXPECT_EQ(this->walk(TypeParam::kEnd), this->callsOf(0));
    EXPECT_TRUE(this->m_read.empty());
}

TYPED_TEST(FrameWalk, DoesNotUseTheHighestFrameOfAll) {
    const auto highest = typename TypeParam::Word{0} - TypeParam::kAlignment;
    this->setFrame(highest, this->returnAt(0), 0);
    EXPECT_EQ(this->walk(highest), this->callsOf(0));
    EXPECT_TRUE(this->m_read.empty());
}

TYPED_TEST(FrameWalk, EndsAtACallerAtTheLimit) {
    this->setChain(3, TypeParam::kEnd);
    this->setFrame(TypeParam::kEnd, this->returnAt(3), 0);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(3));
}

TYPED_TEST(FrameWalk, EndsAtAFrameWhoseReturnAddressCannotBeRead) {
    this->setChain(2, this->frameAt(2));
    this->setCaller(this->frameAt(2), this->frameAt(3));
    this->setFrame(this->frameAt(3), this->returnAt(3), 0);
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(2));
}

TYPED_TEST(FrameWalk, KeepsTheCallOfAFrameWhoseCallerCannotBeRead) {
    this->setChain(2, this->frameAt(2));
    this->setReturnAddress(this->frameAt(2), this->returnAt(2));
    EXPECT_EQ(this->walk(this->frameAt(0)), this->callsOf(3));
}

TYPED_TEST(FrameWalk, OfAFrameThatIsItsOwnCallerEndsAtTen) {
    this->setFrame(this->frameAt(0), this->returnAt(0), this->frameAt(0));
    typename TestFixture::Calls same{};
    same.fill(this->callsOf(1)[0]);
    EXPECT_EQ(this->walk(this->frameAt(0)), same);
    EXPECT_EQ(this->m_read.size(), 20U);
}

TYPED_TEST(FrameWalk, OfThreeFramesInARingEndsAtTen) {
    this->setChain(3, this->frameAt(0));
    typename TestFixture::Calls ring{};
    for (unsigned i = 0; i < ring.size(); ++i) {
        ring.at(i) = this->callsOf(3).at(i % 3);
    }
    EXPECT_EQ(this->walk(this->frameAt(0)), ring);
}

using ArmFrameWalk = FrameWalk<Arm>;

// Its caller's frame pointer would stand at the other end of the address space.
TEST_F(ArmFrameWalk, CountsFromTheLowestFrameModuloTheWord) {
    m_memory[0] = 0x8004;
    m_memory[0xFFFFFFF8] = frameAt(0);
    setChain(1);
    EXPECT_EQ(walk(4), (Calls{0x8000, returnAt(0) - 4}));
    EXPECT_EQ(m_read, (std::vector<std::uint32_t>{0, 0xFFFFFFF8, frameAt(0) - 4, frameAt(0) - 12}));
}

TEST_F(ArmFrameWalk, TakesAReturnAddressOfZeroModuloTheWord) {
    setFrame(frameAt(0), 0, 0);
    EXPECT_EQ(walk(frameAt(0)), Calls{0xFFFFFFFC});
}

}  // namespace
