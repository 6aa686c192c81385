#include <unistd.h>

#include <array>
#include <numeric>

#include "tests/target/guest/SerialLine.h"

// What goes over the line, in both directions.
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

Bytes everyValue() {
    Bytes all(256);
    std::iota(all.begin(), all.end(), static_cast<unsigned char>(0));
    return all;
}

// How long `call` takes.
template <class Call>
milliseconds timeOf(Call call) {
    const auto begin = steady_clock::now();
    call();
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

class UartOnALine : public SerialLine {
  protected:
    void SetUp() override {
        SerialLine::SetUp();
        ASSERT_TRUE(port.open(kPort));
        ASSERT_TRUE(port.setup(115200, 8, 0, 0));
    }
    void TearDown() override { port.close(); }

    int read(int length, int timeoutSeconds) {
        int result = 0;
        took = timeOf([&] { result = port.read(buffer.data(), length, timeoutSeconds); });
        return result;
    }
    Bytes readBytes(int count) const { return {buffer.begin(), buffer.begin() + count}; }
    // Sends `bytes` after that time, while the test reads.
    std::thread sendAfter(milliseconds delay, Bytes bytes) const {
        return std::thread([this, delay, sent = std::move(bytes)] {
            std::this_thread::sleep_for(delay);
            far.send(sent);
        });
    }
    // All of what the other end sent, in as many reads as it takes.
    Bytes readAll(std::size_t count) {
        Bytes all;
        while (all.size() < count) {
            const int got = read(static_cast<int>(buffer.size()), 0);
            if (got < 1) {
                break;
            }
            const Bytes bytes = readBytes(got);
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        return all;
    }

    UART port;
    std::array<unsigned char, 512> buffer{};
    milliseconds took{};
};

TEST_F(UartOnALine, CarriesEveryValueUnchangedInBothDirections) {
    far.send(everyValue());
    EXPECT_EQ(readAll(256), everyValue());

    EXPECT_EQ(port.write(everyValue().data(), 256), 256);
    EXPECT_EQ(far.receive(256), everyValue());
    EXPECT_EQ(far.receiveAll(), Bytes{});
}

TEST_F(UartOnALine, EchoesNothing) {
    far.send(everyValue());

    EXPECT_EQ(readAll(256).size(), 256U);

    EXPECT_EQ(far.receiveAll(), Bytes{});
}

TEST_F(UartOnALine, ReadWithTimeoutZeroWaitsHalfASecond) {
    EXPECT_EQ(read(4, 0), 0);

    EXPECT_GE(took, milliseconds(490));
    EXPECT_LT(took, milliseconds(800));
}

TEST_F(UartOnALine, ReadWaitsTheSecondsThatItIsGiven) {
    EXPECT_EQ(read(4, 2), 0);

    EXPECT_GE(took, milliseconds(1990));
    EXPECT_LT(took, milliseconds(2500));
}

// Longer than the 3 seconds after which the port's own wait would end.
TEST_F(UartOnALine, ReadWithANegativeTimeoutWaitsUntilBytesCome) {
    std::thread sender = sendAfter(milliseconds(4000), {7});

    EXPECT_EQ(read(1, -1), 1);

    sender.join();
    EXPECT_EQ(buffer[0], 7);
    EXPECT_GE(took, milliseconds(3900));
}

// Bytes come one by one over a real line: the second round may see the first of six.
TEST_F(UartOnALine, ReadPutsWhatIsThereAndTheNextArrivalTogether) {
    far.send({1, 2, 3, 4});
    ASSERT_TRUE(await([this] { return near.unread() == 4; }));
    std::thread sender = sendAfter(milliseconds(500), {5, 6, 7, 8, 9, 10});

    const int count = read(10, 3);

    sender.join();
    ASSERT_GE(count, 5);
    Bytes all = readBytes(count);
    const Bytes rest = readAll(10 - all.size());
    all.insert(all.end(), rest.begin(), rest.end());
    EXPECT_EQ(all, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(UartOnALine, TheSecondRoundWaitsOnlyWhatIsLeftOfTheTime) {
    std::thread sender = sendAfter(milliseconds(1200), {1});

    EXPECT_EQ(read(10, 2), 1);

    sender.join();
    EXPECT_GE(took, milliseconds(1990));
    EXPECT_LT(took, milliseconds(2500));
}

TEST_F(UartOnALine, ReadHasNoThirdRound) {
    std::thread sender([this] {
        for (const unsigned char byte : Bytes{1, 2, 3}) {
            std::this_thread::sleep_for(milliseconds(300));
            far.send({byte});
        }
    });

    EXPECT_EQ(read(10, 3), 2);

    sender.join();
    EXPECT_LT(took, milliseconds(900));
    EXPECT_EQ(read(10, 0), 1);
}

TEST_F(UartOnALine, ReadOfNothingLeavesWhatCameIn) {
    far.send({1});
    ASSERT_TRUE(await([this] { return near.unread() == 1; }));

    EXPECT_EQ(read(0, 3), 0);
    EXPECT_EQ(read(-1, 3), 0);

    EXPECT_LT(took, milliseconds(200));
    EXPECT_EQ(near.unread(), 1);
}

// The port's own wait, of which UART has no need: it reads only what is there.
TEST_F(UartOnALine, APlainReadGivesUpAfterThreeSeconds) {
    unsigned char byte = 0;
    ssize_t result = -1;

    took = timeOf([&] { result = ::read(near.fd(), &byte, 1); });

    EXPECT_EQ(result, 0);
    EXPECT_GE(took, milliseconds(2900));
    EXPECT_LT(took, milliseconds(3500));
}

// With parity on, errors are marked by FF 00 in what is read; so that FF can be told from a mark,
// the driver doubles it.
class UartWithParity : public UartOnALine, public testing::WithParamInterface<int> {};

TEST_P(UartWithParity, ReadsFFTwice) {
    ASSERT_TRUE(port.setParity(GetParam()));
    far.send({0xFE, 0x00, 0xFF, 0x01});

    EXPECT_EQ(readAll(5), (Bytes{0xFE, 0x00, 0xFF, 0xFF, 0x01}));
}

TEST_P(UartWithParity, WritesFFOnce) {
    ASSERT_TRUE(port.setParity(GetParam()));

    EXPECT_EQ(port.write(everyValue().data(), 256), 256);

    EXPECT_EQ(far.receive(256), everyValue());
    EXPECT_EQ(far.receiveAll(), Bytes{});
}

// Switching parity off leaves the marking on; opening the port ends it.
TEST_P(UartWithParity, ReadsFFTwiceUntilThePortIsOpenedAnew) {
    ASSERT_TRUE(port.setParity(GetParam()));
    ASSERT_TRUE(port.setParity(0));
    far.send({0xFF});
    EXPECT_EQ(readAll(2), (Bytes{0xFF, 0xFF}));

    ASSERT_TRUE(port.open(kPort));
    far.send({0xFF});

    EXPECT_EQ(readAll(1), Bytes{0xFF});
}

INSTANTIATE_TEST_SUITE_P(OddAndEven, UartWithParity, testing::Values(1, 2));

using SenderOnALine = SerialLine;

TEST_F(SenderOnALine, FlushInputDiscardsEverythingUntilThreeSecondsAreSilent) {
    XmodemSender sender;
    ASSERT_TRUE(sender.open(kPort));
    far.send(pattern(600));
    int result = -1;

    const milliseconds took = timeOf([&] { result = sender.flushInput(); });

    EXPECT_EQ(result, 0);
    EXPECT_EQ(near.unread(), 0);
    EXPECT_GE(took, milliseconds(2900));
    EXPECT_LT(took, milliseconds(4000));
}

// The sender's line keeps output processing on: it must change nothing.
TEST_F(SenderOnALine, CarriesEveryValueUnchangedInBothDirections) {
    XmodemSender sender;
    ASSERT_TRUE(sender.open(kPort));

    near.send(everyValue());
    EXPECT_EQ(far.receive(256), everyValue());
    EXPECT_EQ(far.receiveAll(), Bytes{});

    far.send(everyValue());
    EXPECT_EQ(near.receive(256), everyValue());
}

}  // namespace
