#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "mcu/UART.h"
#include "tests/mcu/FullPort.h"
#include "tests/mcu/LineStatus.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

using std::chrono::milliseconds;

class UartTransfer : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(uart.open(line.path())); }
    void TearDown() override { uart.close(); }

    int read(int length, int timeoutSeconds) {
        const auto begin = std::chrono::steady_clock::now();
        const int result = uart.read(buffer.data(), length, timeoutSeconds);
        took = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
        return result;
    }
    Bytes readBytes(int count) const { return {buffer.begin(), buffer.begin() + count}; }

    PseudoTerminal line;
    UART uart;
    std::array<unsigned char, 64> buffer{};
    milliseconds took{};
};

TEST_F(UartTransfer, ReadsWhatIsThere) {
    line.send({0x00, 0x0D, 0x11, 0xFF});

    EXPECT_EQ(read(4, 1), 4);

    EXPECT_EQ(readBytes(4), (Bytes{0x00, 0x0D, 0x11, 0xFF}));
    EXPECT_LT(took, milliseconds(500));
}

TEST_F(UartTransfer, ReadsNoMoreThanAskedFor) {
    line.send({1, 2, 3});

    EXPECT_EQ(read(2, 1), 2);

    EXPECT_EQ(line.unreadByProduct(), 1);
}

TEST_F(UartTransfer, ReadWithTimeoutZeroWaitsHalfASecond) {
    EXPECT_EQ(read(4, 0), 0);

    EXPECT_GE(took, milliseconds(490));
    EXPECT_LT(took, milliseconds(1500));
}

TEST_F(UartTransfer, ReadWithTimeoutZeroReadsOnlyOnce) {
    line.send({1, 2});

    EXPECT_EQ(read(4, 0), 2);

    EXPECT_LT(took, milliseconds(400));
}

TEST_F(UartTransfer, ReadWithANegativeTimeoutWaitsForDataInBothRounds) {
    std::thread peer([this] {
        std::this_thread::sleep_for(milliseconds(600));
        line.send({7});
        std::this_thread::sleep_for(milliseconds(600));
        line.send({8});
    });

    EXPECT_EQ(read(2, -1), 2);

    peer.join();
    EXPECT_EQ(readBytes(2), (Bytes{7, 8}));
}

TEST_F(UartTransfer, ReadOfNothingReturnsZeroAtOnce) {
    line.send({1});

    EXPECT_EQ(read(0, 3), 0);
    EXPECT_EQ(read(-5, 3), 0);

    EXPECT_EQ(line.unreadByProduct(), 1);
}

TEST_F(UartTransfer, ReadPutsTwoArrivalsTogether) {
    std::thread peer([this] {
        line.send({1, 2, 3, 4});
        line.waitUntilReadByProduct();
        line.send({5, 6, 7, 8, 9, 10});
    });

    EXPECT_EQ(read(10, 5), 10);

    peer.join();
    EXPECT_EQ(readBytes(10), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(UartTransfer, ReadHasNoThirdRound) {
    std::thread peer([this] {
        line.send({1});
        line.waitUntilReadByProduct();
        line.send({2});
        line.waitUntilReadByProduct();
        line.send({3});
    });

    EXPECT_EQ(read(10, 5), 2);

    peer.join();
}

TEST_F(UartTransfer, TheSecondRoundWaitsOnlyWhatIsLeftOfTheTime) {
    std::thread peer([this] {
        std::this_thread::sleep_for(milliseconds(600));
        line.send({1, 2, 3, 4});
    });

    EXPECT_EQ(read(10, 1), 4);

    peer.join();
    EXPECT_GE(took, milliseconds(990));
    EXPECT_LT(took, milliseconds(1500));
}

TEST_F(UartTransfer, ReadOfADeadLineReturnsAtOnce) {
    line.hangUp();

    EXPECT_EQ(read(4, 3), 0);

    EXPECT_LT(took, milliseconds(500));
}

TEST_F(UartTransfer, AReadThatBringsNothingEndsIt) {
    termios byLine = line.settings();
    byLine.c_lflag |= ICANON;
    line.setSettings(byLine);
    line.send({byLine.c_cc[VEOF], 'x', '\n'});  // an end of file, and more behind it

    EXPECT_EQ(read(4, 1), 0);

    EXPECT_EQ(read(2, 1), 2);
}

class UartInterruptedRead : public UartTransfer, public testing::WithParamInterface<Bytes> {};

TEST_P(UartInterruptedRead, IsAFailureWhateverCameBefore) {
    struct sigaction handled {};
    struct sigaction before {};
    handled.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &handled, &before), 0);
    line.send(GetParam());
    std::atomic<bool> isOver{false};
    std::thread peer([this, &isOver, reader = pthread_self()] {
        line.waitUntilReadByProduct();
        while (!isOver) {
            std::this_thread::sleep_for(milliseconds(20));
            (void)pthread_kill(reader, SIGUSR1);
        }
    });

    EXPECT_EQ(read(4, 2), -1);

    isOver = true;
    peer.join();
    (void)sigaction(SIGUSR1, &before, nullptr);
}

INSTANTIATE_TEST_SUITE_P(InEitherRound, UartInterruptedRead, testing::Values(Bytes{}, Bytes{1, 2}));

TEST(UartNoTerminal, AReadThatFailsIsAFailure) {
    const OutputCapture errors(STDERR_FILENO);
    UART uart;
    ASSERT_FALSE(uart.open("/proc/self/mem"));  // open nevertheless, and its start cannot be read
    unsigned char byte = 0;

    EXPECT_EQ(uart.read(&byte, 1, 1), -1);

    uart.close();
}

TEST(UartClosedTransfer, ReadAndWriteFail) {
    UART uart;
    unsigned char byte = 0;

    EXPECT_EQ(uart.read(&byte, 1, 0), -1);
    EXPECT_EQ(uart.read(&byte, 0, 0), 0);
    EXPECT_EQ(uart.write(&byte, 1), -1);
}

TEST(UartClosedTransfer, ADescriptorTooLargeToWaitForFails) {
    const PseudoTerminal line;
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = FD_SETSIZE + 100;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<int> taken;
    do {
        taken.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    } while (taken.back() != -1 && taken.back() < FD_SETSIZE);

    UART uart;
    ASSERT_TRUE(uart.open(line.path()));
    line.send({1});
    unsigned char byte = 0;
    EXPECT_EQ(uart.read(&byte, 1, 0), -1);

    uart.close();
    for (const int fd : taken) {
        (void)close(fd);
    }
    limit.rlim_cur = before;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

TEST_F(UartTransfer, WriteSendsEveryByteUnchanged) {
    Bytes all(256);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<unsigned char>(i);
    }

    EXPECT_EQ(uart.write(all.data(), 256), 256);

    EXPECT_EQ(line.receive(256), all);
    EXPECT_EQ(line.received(), Bytes{});
}

TEST_F(UartTransfer, WriteWithoutALineStatusFailsAlthoughTheBytesWentOut) {
    const NoLineStatus noLineStatus;
    const Bytes bytes = {1, 2, 3};

    EXPECT_EQ(uart.write(bytes.data(), 3), -1);

    EXPECT_EQ(line.receive(3), bytes);
}

TEST_F(UartTransfer, WriteWaitsUntilTheTransmitterIsEmpty) {
    const Bytes bytes = {1, 2, 3};
    FullPort system;
    system.busyAnswers = 2;

    EXPECT_EQ(uart.write(bytes.data(), 3), 3);

    EXPECT_EQ(system.calls, "write sync status sleep-1000 status sleep-1000 status ");
    EXPECT_EQ(line.receive(3), bytes);
}

TEST_F(UartTransfer, WriteGoesOnAfterAPart) {
    const Bytes bytes = {1, 2, 3, 4, 5};
    FullPort system;
    system.writeResults = {2, 1};

    EXPECT_EQ(uart.write(bytes.data(), 5), 5);

    EXPECT_EQ(system.calls, "write write write sync status ");
    EXPECT_EQ(line.receive(5), bytes);
}

class UartStoppedWrite : public UartTransfer, public testing::WithParamInterface<ssize_t> {};

TEST_P(UartStoppedWrite, KeepsTheCountOfWhatWentOut) {
    const Bytes bytes = {1, 2, 3, 4, 5};
    FullPort system;
    system.writeResults = {2, 1, GetParam()};

    EXPECT_EQ(uart.write(bytes.data(), 5), 3);

    EXPECT_EQ(system.calls, "write write write sync status ");
    EXPECT_EQ(line.received(), (Bytes{1, 2, 3}));
}

INSTANTIATE_TEST_SUITE_P(Table, UartStoppedWrite, testing::Values(0, -1));

TEST_F(UartTransfer, WriteOfNothingReturnsZero) {
    EXPECT_EQ(uart.write(nullptr, 0), 0);

    EXPECT_EQ(line.received(), Bytes{});
}

}  // namespace
