#pragma once

#include <gtest/gtest.h>

#include <array>

#include "mcu/UART.h"
#include "mcu/XmodemSender.h"
#include "tests/mcu/FullPort.h"
#include "tests/mcu/PseudoTerminal.h"

// `check(port)` with a closed port of either kind.
template <class Check>
void withBothPorts(Check check) {
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

// `check(port, system)` with an open port of either kind and the terminal calls to come.
template <class Check>
void withBothOpenPorts(Check check) {
    withBothPorts([&](auto& port) {
        const PseudoTerminal line;
        FullPort system;
        ASSERT_TRUE(port.open(line.path()));
        system.calls.clear();
        check(port, system);
    });
}

// Settings with every flag set, or with none.
inline termios settingsOf(tcflag_t flags) {
    termios settings{};
    settings.c_iflag = settings.c_oflag = settings.c_cflag = settings.c_lflag = flags;
    return settings;
}
constexpr tcflag_t kAllFlags = ~tcflag_t{0};
constexpr tcflag_t kNoFlags = 0;

// The four flag words, in the order of the structure.
inline std::array<tcflag_t, 4> flagWords(const termios& settings) {
    return {settings.c_iflag, settings.c_oflag, settings.c_cflag, settings.c_lflag};
}
