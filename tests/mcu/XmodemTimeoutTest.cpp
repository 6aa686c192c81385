#include <gtest/gtest.h>

#include "mcu/UpdateNote.h"
#include "mcu/XmodemSender.h"
#include "technic/TimeUtil.h"
#include "tests/mcu/XmodemBytes.h"

namespace {

// What a busy machine may add, in the program's time, which runs faster than the machine's.
constexpr long long kSlackSeconds = 12;

TEST(XmodemTimeout, ASilentReceiverIsGivenUpAfterMoreThanFifteenSeconds) {
    const PseudoTerminal line;
    const ImageFile file(xmodem::image(10));
    XmodemSender sender;
    ASSERT_TRUE(sender.open(line.path()));
    constexpr long long kFlushSeconds = 3;
    const long long begin = localWallSeconds();

    EXPECT_EQ(sender.sendFile(file.path().c_str()), -2);

    const long long took = localWallSeconds() - begin - kFlushSeconds;
    EXPECT_GE(took, 15);
    EXPECT_LE(took, 18 + kSlackSeconds);
    EXPECT_EQ(line.received(), Bytes{});
}

TEST(XmodemTimeout, FlushInputWaitsThreeSecondsForSilence) {
    const PseudoTerminal line;
    XmodemSender sender;
    ASSERT_TRUE(sender.open(line.path()));
    const long long begin = localWallSeconds();

    EXPECT_EQ(sender.flushInput(), 0);

    const long long took = localWallSeconds() - begin;
    EXPECT_GE(took, 2);
    EXPECT_LE(took, 4 + kSlackSeconds);
}

}  // namespace
