#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>

#include "mcu/XmodemSender.h"
#include "tests/e2e/Scenario.h"
#include "tests/interop/ForeignReceiver.h"

// XmodemSender alone, with files that no update configuration could describe, too, in real time.
namespace {

using std::chrono::milliseconds;

// The sender drains its line for three seconds unless told otherwise.
constexpr int kStartDelayMilliseconds = 700;
constexpr int kDrainTenths = 1;
constexpr milliseconds kLimit{10000};

// A boot loader that has given its permission, on a line of its own.
class Permission : public SimulatedLine {
  public:
    Permission() : SimulatedLine("sender") {
        startMcus({arm1BehindRx(kStartDelayMilliseconds, "boot")}, nullptr, {"--pty-link", line()});
        askForUpdate();
    }
    std::string line() const { return directory() / "line"; }
    std::filesystem::path file(const std::string& name) const { return directory() / name; }

  private:
    void askForUpdate() const {
        const Bytes request = {0xFE, 0x05, 0x05, 0x01, 0x01, 0x0C, 0xFF};
        const int port = open(line().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_EQ(write(port, request.data(), request.size()),
                  static_cast<ssize_t>(request.size()));
        pollfd polled{port, POLLIN, 0};
        EXPECT_EQ(poll(&polled, 1, static_cast<int>(kLimit.count())), 1);
        (void)close(port);
    }
};

// Shortens the port's wait for a byte, so that draining it takes less than three seconds.
void shortenDraining(const std::string& line) {
    const int port = open(line.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    ASSERT_EQ(tcgetattr(port, &settings), 0);
    settings.c_cc[VTIME] = kDrainTenths;
    ASSERT_EQ(tcsetattr(port, TCSANOW, &settings), 0);
    (void)close(port);
}

class SenderSize : public testing::TestWithParam<std::size_t> {};

TEST_P(SenderSize, OfAnyFileIsBroughtToAForeignReceiver) {
    const Permission bootLoader;
    const FirmwareImage file(GetParam());
    file.writeTo(bootLoader.file("file.bin"));
    XmodemSender sender;
    ASSERT_TRUE(sender.open(bootLoader.line()));
    shortenDraining(bootLoader.line());

    EXPECT_EQ(sender.sendFile(bootLoader.file("file.bin").c_str()), 0);

    waitUntilReceptionIsOver(bootLoader);
    EXPECT_EQ(bootLoader.mcuState("ARM1").at("xmodem").at("completed"), 1);
    EXPECT_TRUE(bootLoader.storedImage("ARM1") == file.padded());
}

INSTANTIATE_TEST_SUITE_P(Bytes, SenderSize,
                         testing::Values(0, 1, 127, 1023, 1024, 1025, 2048, 261120, 261121,
                                         4194304));

}  // namespace
