#include "technic/TrackedAlloc.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "technic/AllocHistory.h"
#include "technic/SourceLocation.h"
#include "technic/ThreadId.h"
#include "tests/technic/StdoutCapture.h"

namespace {

// Made before main, so a tracked allocation works that early.
const std::unique_ptr<int> allocatedBeforeMain(new ("BeforeMain.cpp", 1) int(7));

std::string dumpedLine(const void* address, const std::string& rest) {
    std::array<char, 64> start{};
    (void)std::snprintf(start.data(), start.size(), "Latest newed Mem:address(0x%08x),alloc in ",
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address)));
    return start.data() + rest + ",pid=" + std::to_string(gettid()) + "\n";
}

std::string dumpOf(AllocHistory& history) {
    StdoutCapture capture;
    history.dump();
    return capture.text();
}

std::string dumpedHistory() {
    StdoutCapture capture;
    dumpAllocHistory();
    return capture.text();
}

std::string dumpStart() {
    return "Mem History:\n\tFailed threadId=" + std::to_string(gettid()) + "\n";
}

TEST(AllocHistory, HoldsAHundredUnusedEntriesAtFirst) {
    AllocHistory history;
    std::string expected = dumpStart();
    for (int i = 0; i < 100; ++i) {
        expected += "Latest newed Mem:address(0x00000000),alloc in NULL File line 0 size=0,pid=0\n";
    }
    EXPECT_EQ(dumpOf(history), expected);
}

TEST(AllocHistory, KeepsEntriesInTheOrderOfAllocation) {
    AllocHistory history;
    const int object = 0;
    history.record(&object, 4, "A.cpp", 1);
    history.record(nullptr, 5, "B.cpp", 2);
    const std::string expected = dumpStart() + dumpedLine(&object, "A.cpp line 1 size=4") +
                                 dumpedLine(nullptr, "B.cpp line 2 size=5");
    EXPECT_EQ(dumpOf(history).substr(0, expected.size()), expected);
}

TEST(AllocHistory, The101stEntryOverwritesTheFirst) {
    AllocHistory history;
    for (int i = 1; i <= 101; ++i) {
        history.record(nullptr, 1, "Ring.cpp", i);
    }
    EXPECT_EQ(history.entry(0).line, 101);
    EXPECT_EQ(history.entry(1).line, 2);
    EXPECT_EQ(history.entry(99).line, 100);
}

TEST(TrackedAlloc, RemembersWhereItWasAskedFor) {
    const std::unique_ptr<std::uint64_t> object(new ("Somewhere.cpp", 88) std::uint64_t(1));
    EXPECT_NE(dumpedHistory().find(dumpedLine(object.get(), "Somewhere.cpp line 88 size=8")),
              std::string::npos);
}

TEST(TrackedAlloc, NamesTheCallersFileWithoutItsFolder) {
    const int line = __LINE__ + 1;
    const std::unique_ptr<char> object(new (KD_HERE) char('x'));
    EXPECT_NE(dumpedHistory().find(dumpedLine(
                  object.get(), "TrackedAllocTest.cpp line " + std::to_string(line) + " size=1")),
              std::string::npos);
}

TEST(TrackedAlloc, ArraysAreRememberedWithTheirWholeSize) {
    const std::unique_ptr<int[]> array(new ("Array.cpp", 5) int[10]());
    EXPECT_NE(dumpedHistory().find(dumpedLine(array.get(), "Array.cpp line 5 size=40")),
              std::string::npos);
}

TEST(TrackedAlloc, SizeZeroIsTakenAsOne) {
    void* const memory = ::operator new (std::size_t{0}, "Zero.cpp", 6);
    ASSERT_NE(memory, nullptr);
    EXPECT_NE(dumpedHistory().find(dumpedLine(memory, "Zero.cpp line 6 size=1")),
              std::string::npos);
    ::operator delete(memory);
}

TEST(TrackedAlloc, The101stAllocationOverwritesTheFirst) {
    std::vector<std::unique_ptr<char>> kept;
    kept.reserve(101);
    for (int i = 1; i <= 101; ++i) {
        kept.emplace_back(new ("Many.cpp", i) char('x'));
    }
    const std::string dumped = dumpedHistory();
    EXPECT_EQ(dumped.find("Many.cpp line 1 "), std::string::npos);
    EXPECT_NE(dumped.find("Many.cpp line 2 "), std::string::npos);
    EXPECT_NE(dumped.find("Many.cpp line 101 "), std::string::npos);
}

TEST(TrackedAlloc, HugeSizeThrowsKdBadAlloc) {
    const std::size_t huge = SIZE_MAX;
    EXPECT_THROW((void)::operator new(huge, KD_HERE), KdBadAlloc);
    EXPECT_THROW((void)::operator new[](huge, KD_HERE), KdBadAlloc);
}

TEST(TrackedAlloc, FailedAllocationIsNotRemembered) {
    EXPECT_THROW((void)::operator new(SIZE_MAX, "Huge.cpp", 9), KdBadAlloc);
    EXPECT_EQ(dumpedHistory().find("Huge.cpp"), std::string::npos);
}

TEST(TrackedAlloc, KdBadAllocIsAStandardAllocationFailure) {
    try {
        (void)::operator new(SIZE_MAX, KD_HERE);
        FAIL() << "nothing thrown";
    } catch (const std::bad_alloc& error) {
        EXPECT_STREQ(error.what(), "KdBadAlloc");
    }
}

struct ThrowsInConstructor {
    ThrowsInConstructor() { throw std::logic_error("refused"); }
};

TEST(TrackedAlloc, MemoryIsGivenBackWhenAConstructorThrows) {
    EXPECT_THROW(new (KD_HERE) ThrowsInConstructor, std::logic_error);
    EXPECT_THROW(new (KD_HERE) ThrowsInConstructor[2], std::logic_error);
}

TEST(TrackedAlloc, WorksBeforeMain) {
    EXPECT_EQ(*allocatedBeforeMain, 7);
}

TEST(TrackedAlloc, ThreadsAllocateAndDumpAtTheSameTime) {
    std::vector<std::thread> threads;
    StdoutCapture capture;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([] {
            for (int round = 1; round <= 300; ++round) {
                const std::unique_ptr<int> object(new (KD_HERE) int(round));
            }
        });
    }
    threads.emplace_back([] { dumpAllocHistory(); });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(capture.text().substr(0, 13), "Mem History:\n");
}

}  // namespace
