#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>

#include "mcu/UART.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

class UartSetup : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(uart.open(line.path())); }
    void TearDown() override { uart.close(); }

    PseudoTerminal line;
    UART uart;
};

TEST(UartOpen, AMissingDeviceFailsWithoutAMessage) {
    const OutputCapture errors(STDERR_FILENO);
    UART uart;

    EXPECT_FALSE(uart.open("/dev/there-is-none"));

    EXPECT_EQ(errors.text(), "");
}

TEST(UartOpen, WithoutADeviceNameFails) {
    UART uart;

    EXPECT_FALSE(uart.open());
}

TEST(UartOpen, ADeviceThatIsNoTerminalFailsWithAMessage) {
    const OutputCapture errors(STDERR_FILENO);
    UART uart;

    EXPECT_FALSE(uart.open("/dev/null"));

    EXPECT_EQ(errors.text(), "getattr error: Inappropriate ioctl for device\n");
    uart.close();
}

TEST(UartOpen, MakesTheLineRawAndLeavesTheOtherFlags) {
    const PseudoTerminal line;
    termios before = line.settings();
    before.c_oflag = OPOST | OLCUC | ONLCR | OCRNL | ONOCR | ONLRET | OFILL;
    before.c_cflag |= CRTSCTS | CSTOPB;
    before.c_lflag |= NOFLSH;
    before.c_cc[VMIN] = 5;
    line.setSettings(before);
    before = line.settings();
    UART uart;

    ASSERT_TRUE(uart.open(line.path()));

    const termios after = line.settings();
    EXPECT_EQ(after.c_iflag, 0U);
    EXPECT_EQ(after.c_oflag, static_cast<tcflag_t>(OFILL));
    EXPECT_EQ(after.c_cflag, (before.c_cflag & ~static_cast<tcflag_t>(CRTSCTS)) | 0xC80U);
    EXPECT_EQ(after.c_lflag, before.c_lflag & ~0x1BU);
    EXPECT_EQ(after.c_cc[VTIME], 30);
    EXPECT_EQ(after.c_cc[VMIN], 0);
    uart.close();
}

TEST(UartOpen, DiscardsWhatTheLineHolds) {
    const PseudoTerminal line;
    line.send({'o', 'l', 'd', '\n'});
    UART uart;

    ASSERT_TRUE(uart.open(line.path()));

    EXPECT_EQ(line.unreadByProduct(), 0);
    uart.close();
}

TEST(UartOpen, OpensTheSameDeviceAgainWithoutItsName) {
    const PseudoTerminal line;
    UART uart;
    ASSERT_TRUE(uart.open(line.path()));
    uart.close();

    EXPECT_TRUE(uart.open());

    uart.close();
}

TEST(UartOpen, OpeningAnOpenPortLeaksNoDescriptor) {
    const PseudoTerminal line;
    UART uart;
    ASSERT_TRUE(uart.open(line.path()));
    const std::size_t before = openDescriptorCount();

    EXPECT_TRUE(uart.open(line.path()));

    EXPECT_EQ(openDescriptorCount(), before);
    uart.close();
}

TEST(UartOpen, ClosingTwiceIsHarmless) {
    const PseudoTerminal line;
    const std::size_t before = openDescriptorCount();
    UART uart;
    ASSERT_TRUE(uart.open(line.path()));

    uart.close();
    uart.close();

    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(UartOpen, TheDestructorLeavesThePortOpen) {
    const PseudoTerminal line;
    const int next = dup(STDIN_FILENO);
    ASSERT_EQ(close(next), 0);
    {
        UART uart;
        ASSERT_TRUE(uart.open(line.path()));
    }

    EXPECT_EQ(close(next), 0);
}

class UartBaudrate : public UartSetup,
                     public testing::WithParamInterface<std::pair<int, speed_t>> {};

TEST_P(UartBaudrate, IsSetInBothDirections) {
    EXPECT_TRUE(uart.setBaudrate(GetParam().first));

    const termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), GetParam().second);
    EXPECT_EQ(cfgetispeed(&settings), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Table, UartBaudrate,
                         testing::Values(std::pair{115200, B115200}, std::pair{57600, B57600},
                                         std::pair{38400, B38400}, std::pair{19200, B19200},
                                         std::pair{9600, B9600}, std::pair{4800, B4800},
                                         std::pair{2400, B2400}, std::pair{1200, B1200},
                                         std::pair{300, B300}));

TEST_F(UartSetup, AnUnknownBaudrateSucceedsAndLeavesTheLineAsItIs) {
    ASSERT_TRUE(uart.setBaudrate(4800));
    line.send({'k'});

    EXPECT_TRUE(uart.setBaudrate(14400));

    const termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B4800));
    EXPECT_EQ(line.unreadByProduct(), 1);
}

TEST_F(UartSetup, AKnownBaudrateDiscardsWhatTheLineHolds) {
    line.send({'o', 'l', 'd'});

    EXPECT_TRUE(uart.setBaudrate(9600));

    EXPECT_EQ(line.unreadByProduct(), 0);
}

TEST_F(UartSetup, EightDataBitsAreSet) {
    line.send({'o', 'l', 'd'});

    EXPECT_TRUE(uart.setDatabits(8));

    EXPECT_EQ(line.settings().c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_EQ(line.unreadByProduct(), 0);
}

class UartRefusedDatabits : public UartSetup, public testing::WithParamInterface<int> {};

TEST_P(UartRefusedDatabits, FailSilently) {
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_FALSE(uart.setDatabits(GetParam()));

    EXPECT_EQ(errors.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Table, UartRefusedDatabits, testing::Values(-1, 0, 4, 9));

TEST_F(UartSetup, StopBitsZeroIsOneStopBit) {
    ASSERT_TRUE(uart.setStopbits(2));
    EXPECT_NE(line.settings().c_cflag & CSTOPB, 0U);

    EXPECT_TRUE(uart.setStopbits(0));

    EXPECT_EQ(line.settings().c_cflag & CSTOPB, 0U);
}

TEST_F(UartSetup, StopBitsOneFailSilentlyAndChangeNothing) {
    ASSERT_TRUE(uart.setStopbits(2));
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_FALSE(uart.setStopbits(1));

    EXPECT_EQ(errors.text(), "");
    EXPECT_NE(line.settings().c_cflag & CSTOPB, 0U);
}

TEST_F(UartSetup, StopBitsThreeFailWithAMessage) {
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_FALSE(uart.setStopbits(3));

    EXPECT_EQ(errors.text(), "Unsupported stop bits(3)\n");
}

TEST_F(UartSetup, ParityFiveFailsWithAMessage) {
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_FALSE(uart.setParity(5));

    EXPECT_EQ(errors.text(), "Unsupported parity\n");
}

class UartParityOff : public UartSetup, public testing::WithParamInterface<int> {};

TEST_P(UartParityOff, SwitchesParityOff) {
    EXPECT_TRUE(uart.setParity(GetParam()));

    EXPECT_EQ(line.settings().c_cflag & PARENB, 0U);
}

INSTANTIATE_TEST_SUITE_P(Table, UartParityOff, testing::Values(0, 3, 4));

TEST_F(UartSetup, ParityNoneSwitchesTheInputCheckOffAndOthersLeaveIt) {
    termios checked = line.settings();
    checked.c_iflag = INPCK | PARMRK | IGNPAR;
    line.setSettings(checked);

    EXPECT_TRUE(uart.setParity(4));
    EXPECT_EQ(line.settings().c_iflag, static_cast<tcflag_t>(INPCK | PARMRK | IGNPAR));
    EXPECT_TRUE(uart.setParity(0));
    EXPECT_EQ(line.settings().c_iflag, static_cast<tcflag_t>(PARMRK | IGNPAR));
}

TEST_F(UartSetup, SetupAppliesAllFour) {
    EXPECT_TRUE(uart.setup(19200, 8, 2, 0));

    const termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B19200));
    EXPECT_EQ(settings.c_cflag & (CSIZE | CSTOPB | PARENB), static_cast<tcflag_t>(CS8 | CSTOPB));
}

TEST_F(UartSetup, SetupStopsAtTheFirstFailure) {
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_FALSE(uart.setup(19200, 8, 3, 5));

    const termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B19200));
    EXPECT_EQ(errors.text(), "Unsupported stop bits(3)\n");
}

TEST(UartClosed, SettersFailWithAMessage) {
    const OutputCapture errors(STDERR_FILENO);
    UART uart;

    EXPECT_FALSE(uart.setBaudrate(9600));
    EXPECT_FALSE(uart.setDatabits(8));
    EXPECT_FALSE(uart.setStopbits(0));
    EXPECT_FALSE(uart.setParity(0));

    EXPECT_EQ(errors.text(),
              "tcsetattr fd1: Bad file descriptor\nSetupSerial 1: Bad file descriptor\n"
              "SetupSerial 1: Bad file descriptor\nSetupSerial 1: Bad file descriptor\n");
}

TEST(UartClosed, AnUnknownBaudrateStillSucceeds) {
    UART uart;

    EXPECT_TRUE(uart.setBaudrate(14400));
}

TEST_F(UartSetup, DumpAttrPrintsTheFlagWords) {
    const OutputCapture output(STDOUT_FILENO);

    uart.dumpAttr();

    const termios settings = line.settings();
    char expected[128];
    (void)std::snprintf(expected, sizeof expected,
                        "getattr,c_iflag=0x%x,c_oflag=0x%x,c_cflag=0x%x,c_lflag=0x%x\n",
                        settings.c_iflag, settings.c_oflag, settings.c_cflag, settings.c_lflag);
    EXPECT_EQ(output.text(), expected);
}

}  // namespace
