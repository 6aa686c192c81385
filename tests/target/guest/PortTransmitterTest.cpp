#include <algorithm>
#include <atomic>

#include "tests/target/guest/SerialLine.h"

// UART::write against a transmitter that cannot get rid of its bytes for a while.
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kMostLostByOpening = 32;

class UartWrite : public SerialLine, public testing::WithParamInterface<std::size_t> {
  protected:
    void SetUp() override {
        SerialLine::SetUp();
        ASSERT_TRUE(port.open(kPort));
    }
    void TearDown() override { port.close(); }

    UART port;
};

TEST_P(UartWrite, ReturnsOnlyWhenTheTransmitterIsEmpty) {
    const Bytes sent = pattern(GetParam());
    std::atomic<bool> hasReturned{false};
    bool isEmpty = false;
    int result = 0;
    holdLine();
    std::thread writer([&] {
        result = port.write(sent.data(), static_cast<int>(sent.size()));
        hasReturned = true;
        isEmpty = near.isTransmitterEmpty();
    });
    std::this_thread::sleep_for(milliseconds(1000));
    EXPECT_FALSE(hasReturned);
    EXPECT_GT(near.unsent(), 0);

    releaseLine();
    const Bytes received = far.receiveAll();
    writer.join();

    EXPECT_EQ(result, static_cast<int>(sent.size()));
    EXPECT_TRUE(isEmpty);
    ASSERT_LE(received.size(), sent.size());
    ASSERT_GE(received.size() + kMostLostByOpening, sent.size());
    EXPECT_TRUE(std::equal(received.rbegin(), received.rend(), sent.rbegin()));
}

// Less than the driver takes off the writer's hands at once, and more.
INSTANTIATE_TEST_SUITE_P(Bytes, UartWrite, testing::Values(3000, 9000));

}  // namespace
