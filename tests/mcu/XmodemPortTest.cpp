#include <gtest/gtest.h>
#include <unistd.h>

#include "mcu/XmodemSender.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

TEST(XmodemPort, KeepsOutputProcessingOnWithoutConversions) {
    const PseudoTerminal line;
    termios before = line.settings();
    before.c_oflag = OLCUC | ONLCR | OCRNL | ONOCR | ONLRET | OFILL;
    before.c_cflag |= CRTSCTS;
    line.setSettings(before);
    before = line.settings();
    XmodemSender sender;

    ASSERT_TRUE(sender.open(line.path()));

    const termios after = line.settings();
    EXPECT_EQ(after.c_iflag, 0U);
    EXPECT_EQ(after.c_oflag, static_cast<tcflag_t>(OPOST | OFILL));
    EXPECT_EQ(after.c_cflag, (before.c_cflag & ~static_cast<tcflag_t>(CRTSCTS)) | 0xC80U);
    EXPECT_EQ(after.c_lflag, before.c_lflag & ~0x1BU);
    EXPECT_EQ(after.c_cc[VTIME], 30);
    EXPECT_EQ(after.c_cc[VMIN], 0);
}

TEST(XmodemPort, AMissingDeviceFailsWithoutAMessage) {
    const OutputCapture errors(STDERR_FILENO);
    XmodemSender sender;

    EXPECT_FALSE(sender.open("/dev/there-is-none"));

    EXPECT_EQ(errors.text(), "");
}

TEST(XmodemPort, ADeviceThatIsNoTerminalFailsWithAMessage) {
    const OutputCapture errors(STDERR_FILENO);
    XmodemSender sender;

    EXPECT_FALSE(sender.open("/dev/null"));

    EXPECT_EQ(errors.text(), "getattr error: Inappropriate ioctl for device\n");
}

TEST(XmodemPort, IsSetUpAsTheSerialPort) {
    const PseudoTerminal line;
    XmodemSender sender;
    ASSERT_TRUE(sender.open(line.path()));

    EXPECT_TRUE(sender.setBaudrate(57600));
    EXPECT_TRUE(sender.setBaudrate(14400));
    EXPECT_TRUE(sender.setDatabits(8));
    EXPECT_TRUE(sender.setStopbits(2));
    EXPECT_TRUE(sender.setParity(4));

    const termios settings = line.settings();
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B57600));
    EXPECT_EQ(settings.c_cflag & (CSIZE | CSTOPB | PARENB), static_cast<tcflag_t>(CS8 | CSTOPB));
}

TEST(XmodemPort, RefusesWhatTheSerialPortRefuses) {
    const PseudoTerminal line;
    XmodemSender sender;
    ASSERT_TRUE(sender.open(line.path()));
    const OutputCapture errors(STDERR_FILENO);

    EXPECT_FALSE(sender.setDatabits(9));
    EXPECT_FALSE(sender.setStopbits(1));
    EXPECT_FALSE(sender.setStopbits(3));
    EXPECT_FALSE(sender.setParity(5));

    EXPECT_EQ(errors.text(), "Unsupported stop bits(3)\nUnsupported parity\n");
}

TEST(XmodemPort, OpeningAgainAndDroppingLeakNoDescriptor) {
    const PseudoTerminal line;
    const std::size_t before = openDescriptorCount();
    {
        XmodemSender sender;
        ASSERT_TRUE(sender.open(line.path()));
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
