#include "technic/TrackedAlloc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <future>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "technic/AllocHistory.h"
#include "technic/SourceLocation.h"
#include "tests/technic/BlockedStdout.h"
#include "tests/technic/RunOnThreads.h"
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

TEST(AllocHistory, The101stEntryOverwritesTheFirstAndIsDumpedInItsPlace) {
    AllocHistory history;
    for (int i = 1; i <= 101; ++i) {
        history.record(nullptr, 1, "Ring.cpp", i);
    }
    std::string expected = dumpStart();
    for (int i = 1; i <= 100; ++i) {
        const int line = i == 1 ? 101 : i;
        expected += dumpedLine(nullptr, "Ring.cpp line " + std::to_string(line) + " size=1");
    }
    EXPECT_EQ(dumpOf(history), expected);
}

TEST(AllocHistory, EveryAllocationOfEveryThreadTakesOneWholeEntry) {
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kOfEach = 10000;
    AllocHistory history;
    runOnThreads(kThreads, [&history](std::size_t thread) {
        for (std::size_t i = 1; i <= kOfEach; ++i) {
            const std::size_t number = thread * kOfEach + i;
            history.record(reinterpret_cast<const void*>(number), number, "Many.cpp",
                           static_cast<int>(number));
        }
    });
    std::set<std::uint32_t> numbers;
    for (std::size_t i = 0; i < AllocHistory::kEntryCount; ++i) {
        const AllocHistory::Entry& entry = history.entry(i);
        EXPECT_EQ(entry.address, entry.size);
        EXPECT_EQ(entry.line, static_cast<int>(entry.size));
        numbers.insert(entry.size);
    }
    EXPECT_EQ(numbers.size(), AllocHistory::kEntryCount);
    history.record(nullptr, 0, "Next.cpp", 0);
    EXPECT_STREQ(history.entry(0).file, "Next.cpp");
}

TEST(AllocHistory, NamesTheThreadThatAllocatedAndTheThreadThatDumps) {
    AllocHistory history;
    std::string expected = dumpStart();
    std::thread([&] {
        history.record(nullptr, 1, "Thread.cpp", 3);
        expected += dumpedLine(nullptr, "Thread.cpp line 3 size=1");
    }).join();
    EXPECT_EQ(dumpOf(history).substr(0, expected.size()), expected);
}

TEST(AllocHistory, AllocationsDoNotWaitForADump) {
    AllocHistory history;
    BlockedStdout output;
    std::thread dumper([&] { history.dump(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    auto allocation =
        std::async(std::launch::async, [&] { history.record(nullptr, 1, "Free.cpp", 1); });
    const bool isDone = allocation.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    output.release();
    dumper.join();
    EXPECT_TRUE(isDone);
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

TEST(TrackedAlloc, ArrayOfNothingIsTakenAsOneByte) {
    const std::unique_ptr<char[]> memory(new ("Zero.cpp", 7) char[0]);
    ASSERT_NE(memory, nullptr);
    EXPECT_NE(dumpedHistory().find(dumpedLine(memory.get(), "Zero.cpp line 7 size=1")),
              std::string::npos);
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

[[noreturn]] void refuseMemory() {
    throw std::logic_error("refused");
}

#if defined(__arm__)
// The C++ library of this machine has no name for the exception.
constexpr char kLastWords[] = "terminate called without an active exception";
#else
// A sanitizer ends the program by itself.
constexpr char kLastWords[] = "refused|Sanitizer";
#endif

TEST(TrackedAllocDeathTest, AnyOtherExceptionInItEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto withoutMemory = [](auto allocate) {
        std::set_new_handler(refuseMemory);
        allocate(static_cast<std::size_t>(PTRDIFF_MAX));
    };
    const auto single = [](std::size_t size) { (void)::operator new(size, KD_HERE); };
    const auto array = [](std::size_t size) { (void)::operator new[](size, KD_HERE); };
    EXPECT_DEATH(withoutMemory(single), kLastWords);
    EXPECT_DEATH(withoutMemory(array), kLastWords);
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

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(TrackedAlloc, DumpsStayWholeWhileThreadsAllocateAndDump) {
    constexpr std::size_t kDumpers = 4;
    constexpr std::size_t kDumpsOfEach = 50;
    constexpr std::size_t kLinesOfADump = 102;
    StdoutCapture capture;
    runOnThreads(kDumpers + 4, [](std::size_t thread) {
        for (std::size_t dump = 0; thread < kDumpers && dump < kDumpsOfEach; ++dump) {
            dumpAllocHistory();
        }
        for (int round = 0; thread >= kDumpers && round < 2000; ++round) {
            const std::unique_ptr<int> object(new (KD_HERE) int(round));
        }
    });
    const testing::Matcher<std::string> isEntry = testing::MatchesRegex(
        "Latest newed Mem:address\\(0x[0-9a-f]{8}\\),alloc in .+ line [0-9]+ size=[0-9]+,"
        "pid=[0-9]+");
    const std::vector<std::string> lines = linesOf(capture.text());
    ASSERT_EQ(lines.size(), kDumpers * kDumpsOfEach * kLinesOfADump);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        switch (i % kLinesOfADump) {
            case 0:
                ASSERT_EQ(lines[i], "Mem History:");
                break;
            case 1:
                ASSERT_THAT(lines[i], testing::StartsWith("\tFailed threadId="));
                break;
            default:
                ASSERT_TRUE(isEntry.Matches(lines[i])) << lines[i];
        }
    }
}

}  // namespace
