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

using nlohmann::json;
using std::chrono::milliseconds;

// The sender drains its line for three seconds unless told otherwise.
constexpr int kStartDelayMilliseconds = 700;
constexpr int kDrainTenths = 1;
constexpr milliseconds kLimit{10000};

// A boot loader that has given its permission, on a line of its own.
class Permission : public SimulatedLine {
  public:
    explicit Permission(const json& faults = nullptr) : SimulatedLine("sender") {
        startMcus({arm1BehindRx(kStartDelayMilliseconds, "boot")}, faults, {"--pty-link", line()});
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

// Sends the file and waits until the receiver has it.
void expectToArrive(const Permission& bootLoader, const FirmwareImage& file) {
    file.writeTo(bootLoader.file("file.bin"));
    XmodemSender sender;
    ASSERT_TRUE(sender.open(bootLoader.line()));
    shortenDraining(bootLoader.line());

    EXPECT_EQ(sender.sendFile(bootLoader.file("file.bin").c_str()), 0);

    waitUntilReceptionIsOver(bootLoader);
    EXPECT_EQ(bootLoader.mcuState("ARM1").at("xmodem").at("completed"), 1);
    EXPECT_TRUE(bootLoader.storedImage("ARM1") == file.padded());
}

class SenderSize : public testing::TestWithParam<std::size_t> {};

TEST_P(SenderSize, OfAnyFileIsBroughtToAForeignReceiver) {
    const Permission bootLoader;
    expectToArrive(bootLoader, FirmwareImage(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Bytes, SenderSize,
                         testing::Values(0, 1, 127, 1023, 1024, 1025, 2048, 261120, 261121,
                                         LARGEST_IMAGE));

// The receiver asks again before the sender gives up: after 13 seconds for the first block and
// after 5 for anything else.
struct Loss {
    std::string name;
    json fault;
};

class LostByte : public testing::TestWithParam<Loss> {};

TEST_P(LostByte, IsMadeUpForByTheReceiversPatience) {
    const Permission bootLoader(json::array({GetParam().fault}));
    expectToArrive(bootLoader, FirmwareImage(3000));
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, LostByte,
    testing::Values(Loss{"StartByte", {{"on", "start"}, {"n", 1}, {"do", "drop"}}},
                    Loss{"Ack", {{"on", "block"}, {"n", 2}, {"do", "drop"}}},
                    Loss{"LastAck", {{"on", "block"}, {"n", 3}, {"do", "drop"}}},
                    Loss{"Eot", {{"on", "eot"}, {"n", 1}, {"do", "ignore"}}}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
