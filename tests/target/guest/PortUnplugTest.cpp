#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>

#include "mcu/MCUSessionControler.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/target/guest/SerialCard.h"
#include "tests/target/guest/SerialLine.h"

// The card with the port is taken away while the product works with it. Nothing hangs, spins or
// crashes, and a new open works when the card is back.
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

const char kNoDevice[] = ": Input/output error\n";
constexpr int kLong = 20;
constexpr milliseconds kDelay{700};

milliseconds processorTime() {
    rusage usage{};
    (void)getrusage(RUSAGE_THREAD, &usage);
    const auto time = [](const timeval& value) {
        return std::chrono::seconds(value.tv_sec) + std::chrono::microseconds(value.tv_usec);
    };
    return std::chrono::duration_cast<milliseconds>(time(usage.ru_utime) + time(usage.ru_stime));
}

class Unplug : public SerialLine {
  protected:
    void TearDown() override {
        near.close();
        card.plugIn();
    }

    void unplug() {
        card.unplug();
        near.close();
    }

    // Makes the call, in the middle of which the card is taken away. The call has to end within
    // `limit` then, without keeping the processor busy.
    template <class Call>
    void unplugDuring(Call call, milliseconds limit = milliseconds(1000)) {
        std::atomic<bool> isOver{false};
        std::thread hand([this, &isOver] {
            std::this_thread::sleep_for(kDelay);
            EXPECT_FALSE(isOver);
            card.unplug();
        });
        const auto begin = steady_clock::now();
        const milliseconds processorBefore = processorTime();
        call();
        isOver = true;
        const milliseconds processor = processorTime() - processorBefore;
        const auto took = steady_clock::now() - begin;
        hand.join();
        EXPECT_LT(took, kDelay + limit);
        EXPECT_LT(processor, took / 4);
    }

    SerialCard card;
};

class UartUnplug : public Unplug {
  protected:
    void SetUp() override {
        Unplug::SetUp();
        ASSERT_TRUE(port.open(kPort));
        ASSERT_TRUE(port.setup(115200, 8, 0, 0));
    }
    void TearDown() override {
        port.close();
        Unplug::TearDown();
    }

    UART port;
    Bytes buffer = Bytes(16);
};

class UartWaitingRead : public UartUnplug, public testing::WithParamInterface<int> {};

TEST_P(UartWaitingRead, EndsWithNothing) {
    unplugDuring([this] { EXPECT_EQ(port.read(buffer.data(), 16, GetParam()), 0); });
}

INSTANTIATE_TEST_SUITE_P(Timeouts, UartWaitingRead, testing::Values(kLong, -1));

TEST_F(UartUnplug, InTheSecondRoundOfAReadLeavesTheFirst) {
    far.send({1});
    ASSERT_TRUE(await([this] { return near.unread() == 1; }));

    unplugDuring([this] { EXPECT_EQ(port.read(buffer.data(), 16, kLong), 1); });

    EXPECT_EQ(buffer[0], 1);
}

class UartHeldWrite : public UartUnplug, public testing::WithParamInterface<int> {};

TEST_P(UartHeldWrite, Fails) {
    const Bytes sent = pattern(static_cast<std::size_t>(GetParam()));
    holdLine();

    unplugDuring([&] { EXPECT_EQ(port.write(sent.data(), GetParam()), -1); });

    releaseLine();
}

// Waiting for the transmitter, and waiting in the driver.
INSTANTIATE_TEST_SUITE_P(Bytes, UartHeldWrite, testing::Values(3000, 9000));

TEST_F(UartUnplug, LeavesAPortThatReadsNothingAtOnceAndRefusesAllElse) {
    unplug();
    const auto begin = steady_clock::now();
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_EQ(port.read(buffer.data(), 16, kLong), 0);
    EXPECT_EQ(port.write(buffer.data(), 16), -1);
    EXPECT_FALSE(port.setBaudrate(9600));
    EXPECT_FALSE(port.setDatabits(8));
    EXPECT_FALSE(port.setStopbits(0));
    EXPECT_FALSE(port.setParity(0));

    const std::string reason = kNoDevice;
    EXPECT_EQ(errors.text(), "tcsetattr fd1" + reason + "SetupSerial 1" + reason + "SetupSerial 1" +
                                 reason + "SetupSerial 1" + reason);
    EXPECT_LT(steady_clock::now() - begin, milliseconds(500));
}

TEST_F(Unplug, MakesAnOpenFailWithAMessage) {
    unplug();
    withEachPort([](auto& port) {
        const OutputCapture errors(STDERR_FILENO);

        EXPECT_FALSE(port.open(kPort));

        EXPECT_EQ(errors.text(), std::string("getattr error") + kNoDevice);
    });
}

TEST_F(UartUnplug, IsOverWithANewOpenOnceTheCardIsBack) {
    unplug();
    card.plugIn();
    EXPECT_EQ(port.read(buffer.data(), 16, kLong), 0);

    ASSERT_TRUE(port.open());
    ASSERT_TRUE(port.setup(115200, 8, 0, 0));

    EXPECT_EQ(port.write(pattern(16).data(), 16), 16);
    EXPECT_EQ(far.receive(16), pattern(16));
    far.send({42});
    EXPECT_EQ(port.read(buffer.data(), 1, 3), 1);
    EXPECT_EQ(buffer[0], 42);
}

class SenderUnplug : public Unplug {
  protected:
    void SetUp() override {
        Unplug::SetUp();
        std::ofstream(kImage) << std::string(3000, 'x');
        ASSERT_TRUE(sender.open(kPort));
        ASSERT_TRUE(sender.setBaudrate(115200));
        sender.setTimeout(kReplySeconds);
    }
    void TearDown() override {
        sender.close();
        Unplug::TearDown();
    }

    static constexpr char kImage[] = "/tmp/image.bin";
    static constexpr int kReplySeconds = 5;
    // A wait ends with the first read after more than its whole seconds.
    static constexpr milliseconds kReplyLimit{(kReplySeconds + 2) * 1000};

    XmodemSender sender;
};

TEST_F(SenderUnplug, InTheFlushOfTheInputEndsIt) {
    unplugDuring([this] { EXPECT_EQ(sender.flushInput(), 0); });
}

TEST_F(SenderUnplug, BeforeTheStartIsNoReply) {
    unplugDuring([this] { EXPECT_EQ(sender.sendFile(kImage), -2); }, kReplyLimit);
}

TEST_F(SenderUnplug, WhileABlockAwaitsItsReplyIsNoReply) {
    std::thread receiver([this] {
        // The sender has emptied its line when it falls silent for three seconds.
        std::this_thread::sleep_for(milliseconds(3500));
        far.send({'C'});
        EXPECT_EQ(far.receive(1029).size(), 1029U);
        card.unplug();
    });
    const auto begin = steady_clock::now();
    const milliseconds processorBefore = processorTime();

    EXPECT_EQ(sender.sendFile(kImage), -2);

    const auto took = steady_clock::now() - begin;
    receiver.join();
    EXPECT_LT(took, milliseconds(3500) + kReplyLimit);
    EXPECT_LT(processorTime() - processorBefore, took / 4);
}

class ControlerUnplug : public Unplug {
  protected:
    void SetUp() override {
        Unplug::SetUp();
        controler.setDeviceName(kPort);
        controler.setParam(115200, 8, 0, 0);
        controler.setTimeout(kLong);
        ASSERT_TRUE(controler.open());
    }
    void TearDown() override {
        controler.close();
        Unplug::TearDown();
    }

    MCUSessionControler controler;
};

TEST_F(ControlerUnplug, WhileAResponseIsAwaitedIsNoResponse) {
    std::string version = "unchanged";

    unplugDuring([&] { EXPECT_FALSE(controler.getVersion(version)); });

    EXPECT_EQ(version, "unchanged");
}

TEST_F(ControlerUnplug, InTheMiddleOfAResponseIsNoResponse) {
    far.send({0xFE, 0x06, 0x02});
    std::string version = "unchanged";

    unplugDuring([&] { EXPECT_FALSE(controler.getVersion(version)); });
}

TEST_F(ControlerUnplug, WhileTheInputIsClearedEndsIt) {
    unplugDuring([this] { EXPECT_EQ(controler.clearRecvBuffer(), 0); });
}

TEST_F(ControlerUnplug, WhileARequestCannotGetOutIsARequestNotSent) {
    holdLine();
    near.send(pattern(3000));

    unplugDuring([this] { EXPECT_FALSE(controler.setToBoot()); });

    releaseLine();
}

TEST_F(ControlerUnplug, LeavesALineThatCanBeOpenedAnewWhenTheCardIsBack) {
    unplug();
    EXPECT_FALSE(controler.setToBoot());
    card.plugIn();

    ASSERT_TRUE(controler.open());

    EXPECT_TRUE(controler.setToBoot());
    EXPECT_FALSE(far.receiveAll().empty());
}

}  // namespace
