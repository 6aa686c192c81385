#include "technic/SafePointerRegistry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "technic/KdRuntimeError.h"
#include "tests/technic/CellInspection.h"
#include "tests/technic/StdoutCapture.h"

namespace {

constexpr char kType[] = "10MCUCommand";
constexpr std::size_t kInitialRecords = 128;
constexpr std::size_t kLargestPool = 20096;

// A registry of its own with the first `count` slots bound.
class SafePointerRegistryTest : public testing::Test {
  protected:
    void bind(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_bound.push_back(m_registry.allocate(&m_object, kType));
        }
    }

    std::uint32_t allocateSlot() { return m_registry.allocate(&m_object, kType)->getIndex(); }
    void freeSlot(std::size_t slot) { m_registry.free(m_bound[slot], kType); }

    std::string warning(const char* what, const void* address, std::size_t total) {
        std::array<char, 160> text{};
        (void)std::snprintf(text.data(), text.size(),
                            "Warning:too many SafePointer! %s 10MCUCommand, pointer = 0x%08x, "
                            "current SafePointor total num = %d\n",
                            what, static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address)),
                            static_cast<int>(total));
        return text.data();
    }

    int m_object = 0;
    SafePointerRegistry m_registry;
    std::vector<SafePointerRecord*> m_bound;
};

TEST_F(SafePointerRegistryTest, StartsWith128Records) {
    EXPECT_EQ(m_registry.recordCount(), kInitialRecords);
}

TEST_F(SafePointerRegistryTest, AllocatedRecordIsBoundWithCountOne) {
    SafePointerRecord* const record = m_registry.allocate(&m_object, kType);
    EXPECT_EQ(record->getObject(), &m_object);
    EXPECT_EQ(record->increment(), 2);
}

// The hint starts at slot 0, which is therefore passed over.
TEST_F(SafePointerRegistryTest, FirstAllocationsTakeSlotsOneAndUp) {
    EXPECT_EQ(allocateSlot(), 1U);
    EXPECT_EQ(allocateSlot(), 2U);
}

TEST_F(SafePointerRegistryTest, RecordsHaveTheIndexOfTheirSlot) {
    bind(127);
    std::set<std::uint32_t> slots;
    for (SafePointerRecord* record : m_bound) {
        slots.insert(record->getIndex());
    }
    EXPECT_EQ(slots.size(), 127U);
    EXPECT_EQ(*slots.begin(), 1U);
    EXPECT_EQ(*slots.rbegin(), 127U);
}

TEST_F(SafePointerRegistryTest, FreedRecordIsBoundToNothing) {
    bind(1);
    freeSlot(0);
    EXPECT_EQ(m_bound[0]->getObject(), nullptr);
}

TEST_F(SafePointerRegistryTest, SlotFreedLastIsNotHandedOutAgainAtOnce) {
    bind(10);
    const std::uint32_t freed = m_bound[4]->getIndex();
    freeSlot(4);
    EXPECT_EQ(freed, 5U);
    EXPECT_EQ(allocateSlot(), 0U);
    EXPECT_EQ(allocateSlot(), 11U);
}

TEST_F(SafePointerRegistryTest, SlotIsEligibleAgainOnceAnotherIsTheHint) {
    bind(10);
    freeSlot(4);
    freeSlot(7);
    EXPECT_EQ(allocateSlot(), 0U);
    EXPECT_EQ(allocateSlot(), 5U);
}

TEST_F(SafePointerRegistryTest, RecordThatServesAnotherObjectHasANewMutex) {
    bind(10);
    markMutex(m_bound[4]->mutex());
    freeSlot(4);
    freeSlot(7);
    EXPECT_EQ(allocateSlot(), 0U);
    EXPECT_EQ(m_registry.allocate(&m_object, kType), m_bound[4]);
    EXPECT_FALSE(hasMarkedMutex(m_bound[4]->mutex()));
}

// All of the first 128 slots are bound but slot 5, which is the hint.
class FullRegistryTest : public SafePointerRegistryTest {
  protected:
    FullRegistryTest() {
        m_bound.resize(kInitialRecords);
        for (std::size_t slot = 1; slot < kInitialRecords; ++slot) {
            m_bound[slot] = m_registry.allocate(&m_object, kType);
        }
        // Each free makes a slot the hint, and so the one that was passed over before eligible.
        freeThenFill(1, 0);
        freeThenFill(64, 1);
        freeThenFill(5, 64);
    }

  private:
    void freeThenFill(std::size_t freed, std::size_t filled) {
        freeSlot(freed);
        m_bound[filled] = m_registry.allocate(&m_object, kType);
    }
};

TEST_F(FullRegistryTest, OnlyFreeSlotIsPassedOverWhenItIsTheHint) {
    for (std::size_t slot = 0; slot < kInitialRecords; ++slot) {
        ASSERT_EQ(m_bound[slot]->getIndex(), slot);
    }
    EXPECT_EQ(m_registry.recordCount(), kInitialRecords);
    EXPECT_EQ(allocateSlot(), 128U);
    EXPECT_EQ(m_registry.recordCount(), 256U);
}

TEST_F(FullRegistryTest, SlotOfTheHintReturnsAfterAnotherFree) {
    freeSlot(6);
    EXPECT_EQ(allocateSlot(), 5U);
}

struct SearchCase {
    const char* name;
    std::vector<std::size_t> freed;       // in this order, after slot 5; the last is the hint
    std::vector<std::uint32_t> expected;  // slots handed out then
};

class SearchForAFreeSlot : public FullRegistryTest,
                           public testing::WithParamInterface<SearchCase> {};

TEST_P(SearchForAFreeSlot, TakesTheFirstFromTheHintsWordOnButNeverTheHint) {
    for (const std::size_t slot : GetParam().freed) {
        freeSlot(slot);
    }
    std::vector<std::uint32_t> taken;
    for (std::size_t i = 0; i < GetParam().expected.size(); ++i) {
        taken.push_back(allocateSlot());
    }
    EXPECT_EQ(taken, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Orders, SearchForAFreeSlot,
    testing::Values(
        SearchCase{"OwnWordFirstFromItsBitZero", {90, 127, 95, 64, 80}, {64, 90, 95, 127, 5}},
        SearchCase{"LaterWordsInTurn", {127, 96, 70, 65, 40, 33, 10}, {5, 33, 40, 65, 70, 96, 127}},
        SearchCase{"EarlierWordsInTurnAfterTheLast",
                   {63, 40, 32, 31, 0, 120, 70},
                   {120, 0, 5, 31, 32, 40, 63}},
        SearchCase{"HintInTheLastWordWraps", {70, 127}, {5, 70}},
        SearchCase{"ThenThePoolGrows", {70}, {5, 128, 129}}),
    [](const testing::TestParamInfo<SearchCase>& row) { return row.param.name; });

TEST_F(SafePointerRegistryTest, PoolGrowsBy128WhenAllSlotsAreBound) {
    bind(127);
    freeSlot(60);
    bind(1);
    freeSlot(70);
    bind(1);
    EXPECT_EQ(m_registry.recordCount(), kInitialRecords);
    EXPECT_EQ(allocateSlot(), 128U);
    EXPECT_EQ(m_registry.recordCount(), 256U);
    EXPECT_EQ(allocateSlot(), 129U);
}

TEST_F(SafePointerRegistryTest, FreeingAFreeRecordThrowsWithAddressZero) {
    bind(1);
    freeSlot(0);
    StdoutCapture capture;
    try {
        freeSlot(0);
        FAIL() << "nothing thrown";
    } catch (const KdRuntimeError& error) {
        EXPECT_STREQ(error.what(), "double free poniter(0x00000000)");
    }
    EXPECT_EQ(capture.text(), "");
}

TEST_F(SafePointerRegistryTest, StaysUsableAfterADoubleFree) {
    bind(1);
    freeSlot(0);
    EXPECT_THROW(freeSlot(0), KdRuntimeError);
    EXPECT_EQ(allocateSlot(), 0U);
}

TEST_F(SafePointerRegistryTest, PoolOf18944RecordsGivesNoWarning) {
    StdoutCapture capture;
    bind(18943);
    EXPECT_EQ(m_registry.recordCount(), 18944U);
    freeSlot(100);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(SafePointerRegistryTest, PoolAbove19000RecordsWarnsOnEveryAllocation) {
    bind(18943);
    StdoutCapture capture;
    allocateSlot();
    allocateSlot();
    EXPECT_EQ(m_registry.recordCount(), 19072U);
    EXPECT_EQ(capture.text(), warning("new", &m_object, 19072) + warning("new", &m_object, 19072));
}

TEST_F(SafePointerRegistryTest, PoolAbove19000RecordsWarnsOnEveryFreeWithAddressZero) {
    StdoutCapture filling;
    bind(18944);
    filling.text();
    StdoutCapture capture;
    freeSlot(3);
    freeSlot(4);
    EXPECT_EQ(capture.text(),
              warning("delete", nullptr, 19072) + warning("delete", nullptr, 19072));
}

TEST_F(SafePointerRegistryTest, FullPoolOf20096RecordsRefusesToGrow) {
    StdoutCapture filling;
    bind(kLargestPool - 1);
    EXPECT_EQ(m_registry.recordCount(), kLargestPool);
    filling.text();
    StdoutCapture capture;
    try {
        m_registry.allocate(&m_object, kType);
        FAIL() << "nothing thrown";
    } catch (const KdRuntimeError& error) {
        EXPECT_STREQ(error.what(), "too much safe poniter");
    }
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(m_registry.recordCount(), kLargestPool);
}

TEST_F(SafePointerRegistryTest, FullPoolServesAgainAfterFrees) {
    StdoutCapture filling;
    bind(kLargestPool - 1);
    EXPECT_THROW(m_registry.allocate(&m_object, kType), KdRuntimeError);
    freeSlot(9);
    EXPECT_EQ(allocateSlot(), 0U);
}

TEST(SafePointerRegistry, InstanceIsOne) {
    EXPECT_EQ(&SafePointerRegistry::instance(), &SafePointerRegistry::instance());
}

TEST(SafePointerRecord, CountsUpAndDown) {
    SafePointerRecord record(7);
    EXPECT_EQ(record.getIndex(), 7U);
    record.reset();
    EXPECT_EQ(record.increment(), 2);
    EXPECT_EQ(record.decrement(), 1);
    EXPECT_EQ(record.decrement(), 0);
}

TEST(SafePointerRecord, RefusesToCountUpFromZero) {
    SafePointerRecord record(0);
    EXPECT_EQ(record.increment(), 0);
    EXPECT_EQ(record.increment(), 0);
    record.reset();
    EXPECT_EQ(record.increment(), 2);
}

TEST(SafePointerRecord, ItsMutexIsInitialised) {
    SafePointerRecord record(0);
    EXPECT_EQ(record.lock(), 0);
    EXPECT_EQ(record.unlock(), 0);
}

}  // namespace
