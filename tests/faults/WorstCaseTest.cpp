#include "tests/faults/WorstCase.h"

#include <gtest/gtest.h>

namespace {

// Two runs of six attempts. Each waits 2 s at first, 2 s for the line to be silent, 20 s each for
// the hardware and the version, 5 rounds of 22 s for the boot loader, 20 s for the permission, 3 s
// and 18 s in the transfer, 4 s for its background thread, and 5 s until the next; 20 s lie between
// the runs, and 5 s are for the watchdog's thread.
TEST(WorstCase, AddsUpAllWaitsOfASilentLine) {
    EXPECT_DOUBLE_EQ(worstCaseSeconds({1, 2, 0, 0}), 12 * (199 + 5) + 20 + 5);
}

TEST(WorstCase, GrowsWithTheEntries) {
    EXPECT_DOUBLE_EQ(worstCaseSeconds({2, 2, 0, 0}), 24 * (199 + 5) + 20 + 5);
}

TEST(WorstCase, LetsEachByteComeAtTheLastMoment) {
    EXPECT_DOUBLE_EQ(worstCaseSeconds({1, 2, 10, 3}) - worstCaseSeconds({1, 2, 0, 0}),
                     10 * 2 + 3 * 18);
}

}  // namespace
