#include <gtest/gtest.h>

#include <chrono>

#include "mcu/MCUSession.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

// What a busy machine may add, in the program's time, which runs faster than the machine's.
constexpr seconds kSlack{12};

TEST(SessionTimeout, IsHowLongAReadWaits) {
    const PseudoTerminal line;
    MCUSession session;
    session.setDeviceName(line.path());
    session.setParam(115200, 8, 0, 0);
    ASSERT_EQ(session.open(), 0);
    session.setTimeout(5);
    unsigned char byte = 0;
    const Clock::time_point begin = Clock::now();

    EXPECT_EQ(session.RecvCommand(&byte, 1), 0);

    EXPECT_GE(Clock::now() - begin, seconds(5));
    EXPECT_LE(Clock::now() - begin, seconds(5) + kSlack);
}

}  // namespace
