#include <gtest/gtest.h>

#include "mcu/XmodemSender.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

TEST(XmodemPort, IsClosedByTheDestructor) {
    const PseudoTerminal line;
    const std::size_t before = openDescriptorCount();
    {
        XmodemSender sender;
        ASSERT_TRUE(sender.open(line.path()));
        EXPECT_EQ(openDescriptorCount(), before + 1);
    }

    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(XmodemPort, FlushInputDiscardsWhatTheLineHolds) {
    const PseudoTerminal line;
    XmodemSender sender;
    ASSERT_TRUE(sender.open(line.path()));
    line.setReadTimeout(1);
    line.send({1, 2, 3});

    EXPECT_EQ(sender.flushInput(), 0);

    EXPECT_EQ(line.unreadByProduct(), 0);
}

TEST(XmodemPort, FlushInputOfAClosedPortReturnsTheError) {
    XmodemSender sender;

    EXPECT_EQ(sender.flushInput(), -1);
}

}  // namespace
