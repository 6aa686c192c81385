#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "mcu/UART.h"
#include "mcu/XmodemSender.h"
#include "tests/target/guest/KernelSettings.h"
#include "tests/target/guest/LineEnd.h"

// A line without anything on its way. The product's port is to be opened on kPort; `near` is a
// second descriptor of that port, `far` the other end.
class SerialLine : public testing::Test {
  protected:
    void SetUp() override {
        near.discardAll();
        (void)far.receiveAll();
    }

    // The other end takes nothing any more: after a while the transmitter holds what it has.
    void holdLine() { far.close(); }
    // Holds the line, and lets more bytes wait than it carries.
    void fillHeldLine() {
        holdLine();
        near.send(pattern(kMoreThanTheLineHolds));
        std::this_thread::sleep_for(kFillingTime);
        ASSERT_GT(near.unsent(), 0);
    }
    // The other end takes what comes. What the line held until then is lost in part: a port that is
    // opened forgets what its chip had received.
    void releaseLine() { far.open(); }

    // Until `isTrue()`, for three seconds at most. Whether it is.
    template <class Condition>
    static bool await(Condition isTrue) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        while (!isTrue()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    static constexpr std::size_t kMoreThanTheLineHolds = 3000;
    static constexpr std::chrono::milliseconds kFillingTime{200};

    LineEnd near{kPort};
    LineEnd far{kFarPort};
};

// `check(port)` with a closed port of either kind.
template <class Check>
void withEachPort(Check check) {
    {
        SCOPED_TRACE("UART");
        UART port;
        check(port);
        port.close();
    }
    {
        SCOPED_TRACE("XmodemSender");
        XmodemSender port;
        check(port);
    }
}
