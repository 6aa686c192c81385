#include <termios.h>

#include <type_traits>

#include "tests/target/guest/SerialLine.h"

// What opening a port does to its line.
namespace {

constexpr std::uint32_t kAll = ~std::uint32_t{0};
constexpr std::uint32_t kAllControl =
    B9600 | CSIZE | CSTOPB | CREAD | PARENB | PARODD | HUPCL | CLOCAL | CMSPAR | CRTSCTS;

struct Line {
    const char* name;
    std::uint32_t flags;
    std::uint32_t control;
};

class PortRawMode : public SerialLine, public testing::WithParamInterface<Line> {};

TEST_P(PortRawMode, ChangesItsOwnFlagsAndNoOther) {
    withEachPort([this](auto& port) {
        constexpr bool isUart = std::is_same_v<decltype(port), UART&>;
        KernelSettings before = kernelSettings(near.fd());
        before.input = before.output = before.local = GetParam().flags;
        before.control = GetParam().control;
        before.characters[VTIME] = 7;
        before.characters[VMIN] = 5;
        setKernelSettings(near.fd(), before);
        before = kernelSettings(near.fd());
        ASSERT_EQ(before.output, GetParam().flags);
        ASSERT_EQ(before.control, GetParam().control);

        ASSERT_TRUE(port.open(kPort));

        KernelSettings expected = before;
        expected.input = 0;
        expected.output = isUart ? before.output & ~0x3FU : (before.output & ~0x3EU) | 0x01U;
        expected.control = (before.control & ~std::uint32_t{CRTSCTS}) | 0xC80U;
        expected.local = before.local & ~0x1BU;
        expected.characters[VTIME] = 30;
        expected.characters[VMIN] = 0;
        EXPECT_EQ(kernelSettings(near.fd()), expected);
    });
}

INSTANTIATE_TEST_SUITE_P(FromALine, PortRawMode,
                         testing::Values(Line{"WithAllFlags", kAll, kAllControl},
                                         Line{"WithNoFlags", 0, B9600}),
                         [](const auto& test) { return test.param.name; });

using PortOpening = SerialLine;

TEST_F(PortOpening, DiscardsWhatCameIn) {
    withEachPort([this](auto& port) {
        far.send(pattern(100));
        ASSERT_TRUE(await([this] { return near.unread() == 100; }));

        ASSERT_TRUE(port.open(kPort));

        EXPECT_EQ(near.unread(), 0);
    });
}

TEST_F(PortOpening, DiscardsWhatIsNotYetSent) {
    withEachPort([this](auto& port) {
        fillHeldLine();

        ASSERT_TRUE(port.open(kPort));

        EXPECT_EQ(near.unsent(), 0);
        near.discardAll();
        releaseLine();
    });
}

}  // namespace
