#include <termios.h>
#include <unistd.h>

#include <ostream>

#include "tests/mcu/OutputCapture.h"
#include "tests/target/guest/SerialLine.h"

// Every value that a setter takes or refuses, as the kernel sees it.
namespace {

struct Setter {
    const char* name;
    bool (UART::*inUart)(int);
    bool (XmodemSender::*inSender)(int);

    bool operator()(UART& port, int value) const { return (port.*inUart)(value); }
    bool operator()(XmodemSender& port, int value) const { return (port.*inSender)(value); }
};

constexpr Setter kBaudrate{"setBaudrate", &UART::setBaudrate, &XmodemSender::setBaudrate};
constexpr Setter kDatabits{"setDatabits", &UART::setDatabits, &XmodemSender::setDatabits};
constexpr Setter kStopbits{"setStopbits", &UART::setStopbits, &XmodemSender::setStopbits};
constexpr Setter kParity{"setParity", &UART::setParity, &XmodemSender::setParity};

constexpr std::uint32_t kFormatFlags = CSIZE | CSTOPB | PARENB | PARODD;

// The line's format before the setter: the flags of one row are the opposite in the other.
struct Format {
    const char* name;
    std::uint32_t control;
    std::uint32_t input;
};
constexpr Format kFormats[] = {
    {"5N1", CS5, IGNPAR},
    {"8O2", CS8 | CSTOPB | PARENB | PARODD, INPCK | PARMRK},
    {"7E1", CS7 | PARENB, IGNPAR | INPCK | PARMRK},
};

// `check(port, before)` with an open port of either kind, from each of the formats.
template <class Check>
void withEachFormat(const LineEnd& near, Check check) {
    for (const Format& format : kFormats) {
        SCOPED_TRACE(format.name);
        withEachPort([&](auto& port) {
            ASSERT_TRUE(port.open(kPort));
            KernelSettings settings = kernelSettings(near.fd());
            settings.control = (settings.control & ~kFormatFlags) | format.control;
            settings.input = format.input;
            setKernelSettings(near.fd(), settings);
            check(port, kernelSettings(near.fd()));
        });
    }
}

struct SpeedRow {
    int rate;
    speed_t constant;
};

class PortSpeed : public SerialLine, public testing::WithParamInterface<SpeedRow> {};

TEST_P(PortSpeed, IsSetInBothDirectionsAndNothingElseIs) {
    withEachFormat(near, [this](auto& port, const KernelSettings& before) {
        const OutputCapture errors(STDERR_FILENO);

        EXPECT_TRUE(port.setBaudrate(GetParam().rate));

        KernelSettings expected = before;
        expected.control = (before.control & ~std::uint32_t{CBAUD}) | GetParam().constant;
        expected.inputSpeed = expected.outputSpeed = static_cast<std::uint32_t>(GetParam().rate);
        EXPECT_EQ(kernelSettings(near.fd()), expected);
        EXPECT_EQ(errors.text(), "");
    });
}

INSTANTIATE_TEST_SUITE_P(Table, PortSpeed,
                         testing::Values(SpeedRow{115200, B115200}, SpeedRow{57600, B57600},
                                         SpeedRow{38400, B38400}, SpeedRow{19200, B19200},
                                         SpeedRow{9600, B9600}, SpeedRow{4800, B4800},
                                         SpeedRow{2400, B2400}, SpeedRow{1200, B1200},
                                         SpeedRow{300, B300}),
                         [](const auto& test) { return std::to_string(test.param.rate); });

struct FormatRow {
    Setter set;
    int value;
    std::uint32_t controlSet;
    std::uint32_t controlCleared;
    std::uint32_t inputSet;
    std::uint32_t inputCleared;
};

std::ostream& operator<<(std::ostream& out, const FormatRow& row) {
    return out << row.set.name << '(' << row.value << ')';
}

class PortFormat : public SerialLine, public testing::WithParamInterface<FormatRow> {};

TEST_P(PortFormat, ChangesTheFlagsOfItsRowAndNoOther) {
    withEachFormat(near, [this](auto& port, const KernelSettings& before) {
        const OutputCapture errors(STDERR_FILENO);
        const FormatRow& row = GetParam();

        EXPECT_TRUE(row.set(port, row.value));

        KernelSettings expected = before;
        expected.control = (before.control & ~row.controlCleared) | row.controlSet;
        expected.input = (before.input & ~row.inputCleared) | row.inputSet;
        EXPECT_EQ(kernelSettings(near.fd()), expected);
        EXPECT_EQ(errors.text(), "");
    });
}

INSTANTIATE_TEST_SUITE_P(
    Table, PortFormat,
    testing::Values(
        FormatRow{kDatabits, 5, CS5, CSIZE, 0, 0}, FormatRow{kDatabits, 6, CS6, CSIZE, 0, 0},
        FormatRow{kDatabits, 7, CS7, CSIZE, 0, 0}, FormatRow{kDatabits, 8, CS8, CSIZE, 0, 0},
        FormatRow{kStopbits, 0, 0, CSTOPB, 0, 0}, FormatRow{kStopbits, 2, CSTOPB, 0, 0, 0},
        FormatRow{kParity, 0, 0, PARENB, 0, INPCK},
        FormatRow{kParity, 1, PARENB | PARODD, 0, INPCK | PARMRK, IGNPAR},
        FormatRow{kParity, 2, PARENB, PARODD, INPCK | PARMRK, IGNPAR},
        FormatRow{kParity, 3, 0, PARENB, 0, 0}, FormatRow{kParity, 4, 0, PARENB, 0, 0}));

struct UnchangedRow {
    Setter set;
    int value;
    bool result;
    const char* message;
};

std::ostream& operator<<(std::ostream& out, const UnchangedRow& row) {
    return out << row.set.name << '(' << row.value << ')';
}

class PortUnknownValue : public SerialLine, public testing::WithParamInterface<UnchangedRow> {};

TEST_P(PortUnknownValue, LeavesTheLineAsItIs) {
    withEachFormat(near, [this](auto& port, const KernelSettings& before) {
        const OutputCapture errors(STDERR_FILENO);

        EXPECT_EQ(GetParam().set(port, GetParam().value), GetParam().result);

        EXPECT_EQ(kernelSettings(near.fd()), before);
        EXPECT_EQ(errors.text(), GetParam().message);
    });
}

// A rate that is not in the table is taken without a word, also one that the chip can do.
INSTANTIATE_TEST_SUITE_P(
    Table, PortUnknownValue,
    testing::Values(UnchangedRow{kBaudrate, 14400, true, ""},
                    UnchangedRow{kBaudrate, 600, true, ""}, UnchangedRow{kBaudrate, 1800, true, ""},
                    UnchangedRow{kBaudrate, 230400, true, ""}, UnchangedRow{kBaudrate, 0, true, ""},
                    UnchangedRow{kBaudrate, -9600, true, ""}, UnchangedRow{kDatabits, 4, false, ""},
                    UnchangedRow{kDatabits, 9, false, ""}, UnchangedRow{kDatabits, -1, false, ""},
                    UnchangedRow{kStopbits, 1, false, ""},
                    UnchangedRow{kStopbits, 3, false, "Unsupported stop bits(3)\n"},
                    UnchangedRow{kStopbits, -1, false, "Unsupported stop bits(-1)\n"},
                    UnchangedRow{kParity, 5, false, "Unsupported parity\n"},
                    UnchangedRow{kParity, -1, false, "Unsupported parity\n"}));

struct SetterRow {
    Setter set;
    int value;
    bool discardsUnsent;
};

std::ostream& operator<<(std::ostream& out, const SetterRow& row) {
    return out << row.set.name;
}

class PortSetter : public SerialLine, public testing::WithParamInterface<SetterRow> {};

TEST_P(PortSetter, DiscardsWhatCameIn) {
    withEachPort([this](auto& port) {
        ASSERT_TRUE(port.open(kPort));
        far.send(pattern(100));
        ASSERT_TRUE(await([this] { return near.unread() == 100; }));

        EXPECT_TRUE(GetParam().set(port, GetParam().value));

        EXPECT_EQ(near.unread(), 0);
    });
}

TEST_P(PortSetter, DiscardsWhatIsNotYetSentIfItChangesTheSpeed) {
    withEachPort([this](auto& port) {
        ASSERT_TRUE(port.open(kPort));
        fillHeldLine();
        const int unsent = near.unsent();

        EXPECT_TRUE(GetParam().set(port, GetParam().value));

        EXPECT_EQ(near.unsent(), GetParam().discardsUnsent ? 0 : unsent);
        near.discardAll();
        releaseLine();
    });
}

INSTANTIATE_TEST_SUITE_P(All, PortSetter,
                         testing::Values(SetterRow{kBaudrate, 19200, true},
                                         SetterRow{kDatabits, 7, false},
                                         SetterRow{kStopbits, 2, false},
                                         SetterRow{kParity, 1, false}));

using PortSetup = SerialLine;

TEST_F(PortSetup, AppliesAllFourAndEndsAtTheFirstThatFails) {
    UART port;
    ASSERT_TRUE(port.open(kPort));

    EXPECT_TRUE(port.setup(19200, 7, 2, 2));
    KernelSettings settings = kernelSettings(near.fd());
    EXPECT_EQ(settings.outputSpeed, 19200U);
    EXPECT_EQ(settings.control & kFormatFlags, std::uint32_t{CS7 | CSTOPB | PARENB});

    EXPECT_FALSE(port.setup(4800, 8, 1, 0));
    settings = kernelSettings(near.fd());
    EXPECT_EQ(settings.outputSpeed, 4800U);
    EXPECT_EQ(settings.control & kFormatFlags, std::uint32_t{CS8 | CSTOPB | PARENB});
    port.close();
}

}  // namespace
