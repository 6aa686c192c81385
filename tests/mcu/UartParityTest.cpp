#include <gtest/gtest.h>
#include <unistd.h>

#include "mcu/UART.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

struct ParityRow {
    int value;
    tcflag_t oddFlag;
};

class UartCheckedParity : public testing::TestWithParam<ParityRow> {};

// A pseudo-terminal has no parity, so that the call may fail on it; it takes the other flags.
TEST_P(UartCheckedParity, MarksWrongCharactersAndChoosesTheKind) {
    const OutputCapture errors(STDERR_FILENO);
    const PseudoTerminal line;
    UART uart;
    ASSERT_TRUE(uart.open(line.path()));
    termios before = line.settings();
    before.c_iflag = IGNPAR;
    before.c_cflag &= ~static_cast<tcflag_t>(PARODD);
    before.c_cflag |= PARODD ^ GetParam().oddFlag;  // the opposite of what is asked for
    line.setSettings(before);

    (void)uart.setParity(GetParam().value);

    EXPECT_EQ(line.settings().c_iflag, static_cast<tcflag_t>(INPCK | PARMRK));
    EXPECT_EQ(line.settings().c_cflag & PARODD, GetParam().oddFlag);
    uart.close();
}

INSTANTIATE_TEST_SUITE_P(Table, UartCheckedParity,
                         testing::Values(ParityRow{1, PARODD}, ParityRow{2, 0}),
                         [](const auto& test) { return test.param.value == 1 ? "Odd" : "Even"; });

}  // namespace
