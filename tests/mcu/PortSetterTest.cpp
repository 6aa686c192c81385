#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "mcu/SerialTerminal.h"
#include "tests/mcu/BothPorts.h"
#include "tests/mcu/OutputCapture.h"

namespace {

constexpr char kCallsOfBaudrate[] = "get flush-both flush-both set flush-both ";
constexpr char kCallsOfOthers[] = "get flush-input set ";

struct BaudrateRow {
    int rate;
    speed_t speed;
};

class PortBaudrate : public testing::TestWithParam<BaudrateRow> {};

TEST_P(PortBaudrate, IsSetInBothDirections) {
    withBothOpenPorts([](auto& port, FullPort& system) {
        system.settings.c_ispeed = system.settings.c_ospeed = B50;

        EXPECT_TRUE(port.setBaudrate(GetParam().rate));

        EXPECT_EQ(system.settings.c_ispeed, GetParam().speed);
        EXPECT_EQ(system.settings.c_ospeed, GetParam().speed);
        EXPECT_EQ(cfgetospeed(&system.settings), GetParam().speed);
        EXPECT_EQ(system.calls, kCallsOfBaudrate);
    });
}

INSTANTIATE_TEST_SUITE_P(Table, PortBaudrate,
                         testing::Values(BaudrateRow{115200, B115200}, BaudrateRow{57600, B57600},
                                         BaudrateRow{38400, B38400}, BaudrateRow{19200, B19200},
                                         BaudrateRow{9600, B9600}, BaudrateRow{4800, B4800},
                                         BaudrateRow{2400, B2400}, BaudrateRow{1200, B1200},
                                         BaudrateRow{300, B300}),
                         [](const auto& test) { return std::to_string(test.param.rate); });

class PortUnknownBaudrate : public testing::TestWithParam<int> {};

TEST_P(PortUnknownBaudrate, SucceedsAndLeavesTheLineAsItIs) {
    withBothOpenPorts([](auto& port, FullPort& system) {
        ASSERT_TRUE(port.setBaudrate(4800));
        system.calls.clear();

        EXPECT_TRUE(port.setBaudrate(GetParam()));

        EXPECT_EQ(cfgetospeed(&system.settings), static_cast<speed_t>(B4800));
        EXPECT_EQ(system.calls, "get ");
    });
}

// Those that the system knows as well are not in the table.
INSTANTIATE_TEST_SUITE_P(Table, PortUnknownBaudrate,
                         testing::Values(14400, 230400, 1800, 600, 0, -9600));

struct FlagsRow {
    int value;
    tcflag_t controlSet;
    tcflag_t controlCleared;
    tcflag_t inputSet;
    tcflag_t inputCleared;
};

void expectFlags(const FullPort& system, tcflag_t before, const FlagsRow& row) {
    termios expected = settingsOf(before);
    expected.c_cflag = (expected.c_cflag | row.controlSet) & ~row.controlCleared;
    expected.c_iflag = (expected.c_iflag | row.inputSet) & ~row.inputCleared;
    EXPECT_EQ(flagWords(system.settings), flagWords(expected));
    EXPECT_EQ(system.calls, kCallsOfOthers);
}

class PortFlags : public testing::TestWithParam<FlagsRow> {
  protected:
    // `set(port, value)` changes no flag but those of the row, whatever they were.
    template <class Set>
    void expectOnBothPorts(Set set) {
        for (const tcflag_t before : {kAllFlags, kNoFlags}) {
            withBothOpenPorts([&](auto& port, FullPort& system) {
                system.settings = settingsOf(before);
                EXPECT_TRUE(set(port, GetParam().value));
                expectFlags(system, before, GetParam());
            });
        }
    }
};

class PortDatabits : public PortFlags {};
TEST_P(PortDatabits, AreTheCharacterSize) {
    expectOnBothPorts([](auto& port, int value) { return port.setDatabits(value); });
}
INSTANTIATE_TEST_SUITE_P(Table, PortDatabits,
                         testing::Values(FlagsRow{5, CS5, CSIZE & ~CS5, 0, 0},
                                         FlagsRow{6, CS6, CSIZE & ~CS6, 0, 0},
                                         FlagsRow{7, CS7, CSIZE & ~CS7, 0, 0},
                                         FlagsRow{8, CS8, 0, 0, 0}),
                         [](const auto& test) { return std::to_string(test.param.value); });

class PortStopbits : public PortFlags {};
TEST_P(PortStopbits, AreOneForZeroAndTwoForTwo) {
    expectOnBothPorts([](auto& port, int value) { return port.setStopbits(value); });
}
INSTANTIATE_TEST_SUITE_P(Table, PortStopbits,
                         testing::Values(FlagsRow{0, 0, CSTOPB, 0, 0},
                                         FlagsRow{2, CSTOPB, 0, 0, 0}),
                         [](const auto& test) { return std::to_string(test.param.value); });

class PortParity : public PortFlags {};
TEST_P(PortParity, IsNoneOddEvenOrOff) {
    expectOnBothPorts([](auto& port, int value) { return port.setParity(value); });
}
INSTANTIATE_TEST_SUITE_P(Table, PortParity,
                         testing::Values(FlagsRow{0, 0, PARENB, 0, INPCK},
                                         FlagsRow{1, PARENB | PARODD, 0, INPCK | PARMRK, IGNPAR},
                                         FlagsRow{2, PARENB, PARODD, INPCK | PARMRK, IGNPAR},
                                         FlagsRow{3, 0, PARENB, 0, 0},
                                         FlagsRow{4, 0, PARENB, 0, 0}),
                         [](const auto& test) { return std::to_string(test.param.value); });

struct Setter {
    const char* name;
    bool (SerialTerminal::*inTerminal)(int, std::int32_t&);
    bool (UART::*inUart)(int);
    bool (XmodemSender::*inSender)(int);

    bool operator()(UART& port, int value) const { return (port.*inUart)(value); }
    bool operator()(XmodemSender& port, int value) const { return (port.*inSender)(value); }
};

constexpr Setter kBaudrate{"Baudrate", &SerialTerminal::setBaudrate, &UART::setBaudrate,
                           &XmodemSender::setBaudrate};
constexpr Setter kDatabits{"Databits", &SerialTerminal::setDatabits, &UART::setDatabits,
                           &XmodemSender::setDatabits};
constexpr Setter kStopbits{"Stopbits", &SerialTerminal::setStopbits, &UART::setStopbits,
                           &XmodemSender::setStopbits};
constexpr Setter kParity{"Parity", &SerialTerminal::setParity, &UART::setParity,
                         &XmodemSender::setParity};

struct ValueRow {
    Setter set;
    int value;
    const char* text = "";
    const char* calls = "get ";
};

std::ostream& operator<<(std::ostream& out, const ValueRow& row) {
    return out << row.set.name << ' ' << row.value;
}

class PortRefusedValue : public testing::TestWithParam<ValueRow> {};

TEST_P(PortRefusedValue, FailsAndChangesNothing) {
    withBothOpenPorts([](auto& port, FullPort& system) {
        const OutputCapture errors(STDERR_FILENO);
        system.settings = settingsOf(kAllFlags);

        EXPECT_FALSE(GetParam().set(port, GetParam().value));

        EXPECT_EQ(errors.text(), GetParam().text);
        EXPECT_EQ(system.calls, "get ");
        EXPECT_EQ(flagWords(system.settings), flagWords(settingsOf(kAllFlags)));
    });
}

INSTANTIATE_TEST_SUITE_P(Table, PortRefusedValue,
                         testing::Values(ValueRow{kDatabits, 9}, ValueRow{kDatabits, 4},
                                         ValueRow{kDatabits, 0}, ValueRow{kDatabits, -1},
                                         ValueRow{kStopbits, 1},
                                         ValueRow{kStopbits, 3, "Unsupported stop bits(3)\n"},
                                         ValueRow{kStopbits, -1, "Unsupported stop bits(-1)\n"},
                                         ValueRow{kParity, 5, "Unsupported parity\n"},
                                         ValueRow{kParity, -1, "Unsupported parity\n"}));

class PortRefusedSettings : public testing::TestWithParam<ValueRow> {};

TEST_P(PortRefusedSettings, FailWithAMessage) {
    withBothOpenPorts([](auto& port, FullPort& system) {
        const OutputCapture errors(STDERR_FILENO);
        system.refusesSettings = true;

        EXPECT_FALSE(GetParam().set(port, GetParam().value));

        EXPECT_EQ(errors.text(), GetParam().text);
        EXPECT_EQ(system.calls, GetParam().calls);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Table, PortRefusedSettings,
    testing::Values(ValueRow{kBaudrate, 9600, "tcsetattr fd1: Input/output error\n",
                             "get flush-both flush-both set "},
                    ValueRow{kDatabits, 8, "SetupSerial 3: Input/output error\n", kCallsOfOthers},
                    ValueRow{kStopbits, 0, "SetupSerial 3: Input/output error\n", kCallsOfOthers},
                    ValueRow{kParity, 0, "SetupSerial 3: Input/output error\n", kCallsOfOthers}));

class PortClosed : public testing::TestWithParam<ValueRow> {};

TEST_P(PortClosed, CannotBeSet) {
    withBothPorts([](auto& port) {
        const OutputCapture errors(STDERR_FILENO);

        EXPECT_FALSE(GetParam().set(port, GetParam().value));

        EXPECT_EQ(errors.text(), GetParam().text);
    });
}

// Whether the line can be asked is seen before whether the value is good.
INSTANTIATE_TEST_SUITE_P(
    Table, PortClosed,
    testing::Values(ValueRow{kBaudrate, 9600, "tcsetattr fd1: Bad file descriptor\n"},
                    ValueRow{kDatabits, 8, "SetupSerial 1: Bad file descriptor\n"},
                    ValueRow{kDatabits, 9, "SetupSerial 1: Bad file descriptor\n"},
                    ValueRow{kStopbits, 0, "SetupSerial 1: Bad file descriptor\n"},
                    ValueRow{kStopbits, 1, "SetupSerial 1: Bad file descriptor\n"},
                    ValueRow{kStopbits, 3, "SetupSerial 1: Bad file descriptor\n"},
                    ValueRow{kParity, 0, "SetupSerial 1: Bad file descriptor\n"},
                    ValueRow{kParity, 5, "SetupSerial 1: Bad file descriptor\n"}));

TEST(PortUnopened, AnUnknownBaudrateStillSucceeds) {
    withBothPorts([](auto& port) {
        const OutputCapture errors(STDERR_FILENO);

        EXPECT_TRUE(port.setBaudrate(14400));

        EXPECT_EQ(errors.text(), "");
    });
}

struct StoredRow {
    Setter set;
    int value;
    bool refusesSettings;
    std::int32_t stored;
};

std::ostream& operator<<(std::ostream& out, const StoredRow& row) {
    return out << row.set.name << ' ' << row.value << (row.refusesSettings ? " refused" : "");
}

class StoredValue : public testing::TestWithParam<StoredRow> {};

TEST_P(StoredValue, ChangesOnlyWhenTheSetterSucceeds) {
    const OutputCapture errors(STDERR_FILENO);
    const PseudoTerminal line;
    FullPort system;
    system.refusesSettings = GetParam().refusesSettings;
    const int fd = open(line.path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    SerialTerminal terminal(fd);
    std::int32_t stored = 77;

    const bool isSet = (terminal.*GetParam().set.inTerminal)(GetParam().value, stored);

    EXPECT_EQ(isSet, stored != 77);
    EXPECT_EQ(stored, GetParam().stored);
    (void)close(fd);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StoredValue,
    testing::Values(StoredRow{kBaudrate, 9600, false, 9600},
                    StoredRow{kBaudrate, 14400, false, 14400}, StoredRow{kDatabits, 7, false, 7},
                    StoredRow{kStopbits, 2, false, 2}, StoredRow{kParity, 1, false, 1},
                    StoredRow{kDatabits, 9, false, 77}, StoredRow{kStopbits, 1, false, 77},
                    StoredRow{kStopbits, 3, false, 77}, StoredRow{kParity, 5, false, 77},
                    StoredRow{kBaudrate, 9600, true, 77}, StoredRow{kDatabits, 7, true, 77},
                    StoredRow{kStopbits, 2, true, 77}, StoredRow{kParity, 1, true, 77}));

}  // namespace
