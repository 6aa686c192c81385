#include <gtest/gtest.h>
#include <unistd.h>

#include "mcu/UART.h"
#include "tests/mcu/BothPorts.h"
#include "tests/mcu/OutputCapture.h"

namespace {

TEST(UartOpen, WithoutADeviceNameFails) {
    UART uart;

    EXPECT_FALSE(uart.open());
}

TEST(UartOpen, OpensTheSameDeviceAgainWithoutItsName) {
    const PseudoTerminal line;
    UART uart;
    ASSERT_TRUE(uart.open(line.path()));
    uart.close();

    EXPECT_TRUE(uart.open());

    uart.close();
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

class UartSetup : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(uart.open(line.path()));
        system.calls.clear();
    }
    void TearDown() override { uart.close(); }

    PseudoTerminal line;
    FullPort system;
    UART uart;
};

TEST_F(UartSetup, AppliesAllFour) {
    EXPECT_TRUE(uart.setup(19200, 7, 2, 2));

    EXPECT_EQ(cfgetospeed(&system.settings), static_cast<speed_t>(B19200));
    EXPECT_EQ(system.settings.c_cflag & (CSIZE | CSTOPB | PARENB | PARODD),
              static_cast<tcflag_t>(CS7 | CSTOPB | PARENB));
}

struct Row {
    const char* failing;
    int rate, databits, stopbits, parity;
    bool refusesSettings;
    const char* text;
    const char* calls;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.failing;
}

class UartSetupFailure : public UartSetup, public testing::WithParamInterface<Row> {};

// In each row, all that come after the failing one would fail as well.
TEST_P(UartSetupFailure, EndsTheSetupThere) {
    const OutputCapture errors(STDERR_FILENO);
    system.refusesSettings = GetParam().refusesSettings;

    EXPECT_FALSE(
        uart.setup(GetParam().rate, GetParam().databits, GetParam().stopbits, GetParam().parity));

    EXPECT_EQ(errors.text(), GetParam().text);
    EXPECT_EQ(system.calls, GetParam().calls);
}

INSTANTIATE_TEST_SUITE_P(
    Order, UartSetupFailure,
    testing::Values(Row{"Baudrate", 9600, 9, 3, 5, true, "tcsetattr fd1: Input/output error\n",
                        "get flush-both flush-both set "},
                    Row{"Databits", 9600, 9, 3, 5, false, "",
                        "get flush-both flush-both set flush-both get "},
                    Row{"Stopbits", 9600, 8, 3, 5, false, "Unsupported stop bits(3)\n",
                        "get flush-both flush-both set flush-both get flush-input set get "},
                    Row{"Parity", 9600, 8, 0, 5, false, "Unsupported parity\n",
                        "get flush-both flush-both set flush-both get flush-input set "
                        "get flush-input set get "}),
    [](const auto& test) { return test.param.failing; });

TEST_F(UartSetup, DumpAttrPrintsTheFlagWords) {
    const OutputCapture output(STDOUT_FILENO);
    system.settings.c_iflag = 0x18;
    system.settings.c_oflag = 0;
    system.settings.c_cflag = 0xCBD;
    system.settings.c_lflag = 0xFFFFFFFF;

    uart.dumpAttr();

    EXPECT_EQ(output.text(), "getattr,c_iflag=0x18,c_oflag=0x0,c_cflag=0xcbd,c_lflag=0xffffffff\n");
}

}  // namespace
