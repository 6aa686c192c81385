#include "simulator/mcu/Pacer.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

TEST(Pacer, LetsOneBytePassInEachByteTime) {
    Pacer pacer{milliseconds(10)};
    pacer.begin(milliseconds(1000));
    EXPECT_EQ(pacer.available(milliseconds(1009)), 0U);
    EXPECT_EQ(pacer.available(milliseconds(1010)), 1U);
    EXPECT_EQ(pacer.available(milliseconds(1055)), 5U);
    pacer.take(3);
    EXPECT_EQ(pacer.available(milliseconds(1055)), 2U);
    EXPECT_EQ(pacer.nextByte(), milliseconds(1040));
}

TEST(Pacer, SavesNoTimeWhileTheLineIsIdle) {
    Pacer pacer{milliseconds(10)};
    pacer.begin(milliseconds(0));
    pacer.take(1);
    pacer.idle();
    pacer.begin(milliseconds(500));
    EXPECT_EQ(pacer.available(milliseconds(505)), 0U);
    EXPECT_EQ(pacer.available(milliseconds(510)), 1U);
}

TEST(Pacer, HoldsNothingBackOnALineThatTakesNoTime) {
    Pacer pacer{Time(0)};
    pacer.begin(milliseconds(0));
    EXPECT_GT(pacer.available(milliseconds(0)), 1000000U);
}

}  // namespace
