#include "simulator/mcu/XmodemReceiver.h"

#include <gmock/gmock.h>

#include "simulator/mcu/XmodemBlock.h"
#include "tests/simulator/Peer.h"

namespace {

using std::chrono::milliseconds;

constexpr XmodemSettings kSettings{
    milliseconds(50), milliseconds(100), 3, milliseconds(200), 2, false};

class XmodemReceiverTest : public testing::Test {
  protected:
    std::optional<std::uint8_t> block(int number, const Bytes& data = {1}) {
        return receiver.onBlock(xmodemBlock(number, data), now);
    }

    Time now{0};
    XmodemStatistics statistics;
    XmodemReceiver receiver{kSettings, statistics, now};
};

TEST(XmodemCheck, IsThePublishedOne) {
    const Bytes digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(xmodem::crc16(digits.data(), digits.size()), 0x31C3);
    EXPECT_EQ(xmodem::crc16(digits.data(), 0), 0);
}

TEST_F(XmodemReceiverTest, SendsStartBytesAtTheIntervalUntilItGivesUp) {
    EXPECT_EQ(receiver.onTime(now), std::nullopt);
    for (int i = 0; i < 3; ++i) {
        now = receiver.nextDeadline();
        EXPECT_EQ(now, Time(milliseconds(50 + 100 * i)));
        EXPECT_EQ(receiver.onTime(now), 'C');
        EXPECT_EQ(receiver.onTime(now), std::nullopt);
    }
    now = receiver.nextDeadline();
    EXPECT_EQ(receiver.onTime(now), std::nullopt);
    EXPECT_TRUE(receiver.isOver());
    EXPECT_FALSE(receiver.isComplete());
}

TEST_F(XmodemReceiverTest, StoresBlocksInOrder) {
    EXPECT_EQ(block(1, Bytes(1024, 1)), xmodem::kAck);
    EXPECT_EQ(block(2, Bytes(1024, 2)), xmodem::kAck);
    EXPECT_EQ(receiver.onEot(now), xmodem::kAck);
    EXPECT_TRUE(receiver.isComplete());
    Bytes expected(1024, 1);
    expected.resize(2048, 2);
    EXPECT_EQ(receiver.image(), expected);
}

TEST_F(XmodemReceiverTest, TakesTheNumberZeroAfterTheNumber255) {
    for (int number = 1; number <= 257; ++number) {
        ASSERT_EQ(block(number), xmodem::kAck) << number;
    }
    EXPECT_EQ(receiver.image().size(), 257U * 1024U);
}

TEST_F(XmodemReceiverTest, AcknowledgesARepeatedBlockWithoutStoringItAgain) {
    (void)block(1);
    EXPECT_EQ(block(1, {2}), xmodem::kAck);
    EXPECT_EQ(receiver.image().size(), 1024U);
    EXPECT_EQ(receiver.image()[0], 1);
    EXPECT_EQ(statistics.blocksRepeated, 1);
}

TEST_F(XmodemReceiverTest, RefusesABlockOutOfOrder) {
    (void)block(1);
    EXPECT_EQ(block(3), xmodem::kNak);
    EXPECT_EQ(block(0), xmodem::kNak);
    EXPECT_EQ(receiver.image().size(), 1024U);
}

TEST_F(XmodemReceiverTest, AnswersADamagedFirstBlockWithTheStartByte) {
    EXPECT_EQ(receiver.onBlock({0x02, 0x01}, now), 'C');
    EXPECT_EQ(block(0), 'C');
}

TEST_F(XmodemReceiverTest, RefusesDamagedLaterBlocks) {
    (void)block(1);
    Bytes damaged = xmodemBlock(2, {1});
    damaged[1000] ^= 0x10U;
    EXPECT_EQ(receiver.onBlock(damaged, now), xmodem::kNak);
    EXPECT_EQ(statistics.blocksRefused, 1);
    EXPECT_EQ(block(2), xmodem::kAck);
}

TEST_F(XmodemReceiverTest, AsksAgainInSilenceAndThenGivesUp) {
    (void)block(1);
    for (int i = 0; i < 2; ++i) {
        now += milliseconds(200);
        EXPECT_EQ(receiver.onTime(now), xmodem::kNak);
    }
    now += milliseconds(200);
    EXPECT_EQ(receiver.onTime(now), std::nullopt);
    EXPECT_TRUE(receiver.isOver());
    EXPECT_EQ(block(2), std::nullopt);
}

TEST_F(XmodemReceiverTest, EndsAtTwoCancelsInARowOnly) {
    receiver.onCan();
    (void)block(1);
    receiver.onCan();
    EXPECT_FALSE(receiver.isOver());
    receiver.onCan();
    EXPECT_TRUE(receiver.isOver());
    EXPECT_EQ(statistics.cancelled, 1);
}

TEST_F(XmodemReceiverTest, AcknowledgesARepeatedEot) {
    (void)block(1);
    EXPECT_EQ(receiver.onEot(now), xmodem::kAck);
    EXPECT_EQ(receiver.onEot(now), xmodem::kAck);
    EXPECT_EQ(statistics.completed, 1);
}

TEST_F(XmodemReceiverTest, TakesAnEmptyImage) {
    EXPECT_EQ(receiver.onEot(now), xmodem::kAck);
    EXPECT_TRUE(receiver.image().empty());
}

TEST(XmodemReceiver, RefusesTheFirstEotWhenToldTo) {
    XmodemSettings settings = kSettings;
    settings.refuseFirstEot = true;
    XmodemStatistics statistics;
    XmodemReceiver receiver(settings, statistics, Time(0));
    EXPECT_EQ(receiver.onEot(Time(0)), xmodem::kNak);
    EXPECT_FALSE(receiver.isComplete());
    EXPECT_EQ(receiver.onEot(Time(0)), xmodem::kAck);
    EXPECT_TRUE(receiver.isComplete());
}

}  // namespace
