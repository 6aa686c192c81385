#include <fcntl.h>
#include <gmock/gmock.h>
#include <termios.h>

#include <cstdlib>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

const char kVersion[] = "fe0601010109ff";
const char kVersionReply[] = "fe0602030100000cff";

class EndpointOfTheLine : public testing::Test {
  protected:
    SimulatorProcess simulator;
};

TEST_F(EndpointOfTheLine, MayBeOpenedAndClosedAgainAndAgain) {
    simulator.startLine({arm1()});
    for (int i = 0; i < 3; ++i) {
        Peer peer = Peer::onTerminal(simulator.path("line"));
        EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
    }
}

TEST_F(EndpointOfTheLine, PassesEveryByteValueUnchanged) {
    simulator.startLine({arm1({{"hardware", "0d0a1113047f03fffe00"}, {"version", {13, 10, 17}}})});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask("fe060b010113ff", 16), "fe060c0a0d0a1113047f03fffe00daff");
    EXPECT_EQ(peer.ask(kVersion, 9), "fe0602030d0a1133ff");
}

TEST_F(EndpointOfTheLine, LosesWhatThePeerFlushes) {
    simulator.startLine({arm1()});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    peer.send(kVersion);
    ASSERT_TRUE(simulator.waitForRecord("version reply"));
    ASSERT_EQ(tcflush(peer.descriptor(), TCIOFLUSH), 0);
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(50)));
    EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
}

TEST_F(EndpointOfTheLine, RemovesItsLinkAndReadyFileAtTheEnd) {
    simulator.startLine({arm1()});
    EXPECT_TRUE(fs::is_symlink(simulator.path("line")));
    EXPECT_EQ(simulator.terminate(), 0);
    EXPECT_FALSE(fs::is_symlink(fs::symlink_status(simulator.path("line"))));
    EXPECT_FALSE(fs::exists(simulator.path("ready")));
}

TEST_F(EndpointOfTheLine, ReplacesALinkThatIsLeftOver) {
    fs::create_symlink("nowhere", simulator.path("line"));
    simulator.startLine({arm1()});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
}

TEST_F(EndpointOfTheLine, NeverReplacesAFileByItsLink) {
    simulator.file("line", std::string("precious"));
    simulator.start({"--config", simulator.file("mcus.json", nlohmann::json{{"mcus", {arm1()}}}),
                     "--pty-link", "line"});
    EXPECT_EQ(simulator.wait(milliseconds(5000)), 1);
    EXPECT_EQ(simulator.errors(), "mcu-simulator: line: File exists\n");
    EXPECT_EQ(simulator.readText("line"), "precious");
}

TEST_F(EndpointOfTheLine, MayBeAUnixSocketThatPeersComeToAndLeave) {
    simulator.startLine({arm1()}, nullptr, {"--unix", "socket"});
    for (int i = 0; i < 3; ++i) {
        Peer peer = Peer::onUnixSocket(simulator.path("socket"));
        EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
    }
    EXPECT_EQ(simulator.terminate(), 0);
    EXPECT_FALSE(fs::exists(simulator.path("socket")));
}

TEST_F(EndpointOfTheLine, ForgetsTheUnfinishedFrameOfAPeerThatLeft) {
    simulator.startLine({arm1()}, nullptr, {"--unix", "socket"});
    Peer first = Peer::onUnixSocket(simulator.path("socket"));
    EXPECT_EQ(first.ask(kVersion, 9), kVersionReply);
    first.send("fe060101");
    first.close();
    Peer second = Peer::onUnixSocket(simulator.path("socket"));
    EXPECT_EQ(second.ask(kVersion, 9), kVersionReply);
}

TEST_F(EndpointOfTheLine, MayBeATcpSocketOnAnyFreePort) {
    simulator.startLine({arm1()}, nullptr, {"--tcp", "0"});
    const std::string address = simulator.waitUntilReady();
    ASSERT_EQ(address.rfind("127.0.0.1:", 0), 0U) << address;
    Peer peer = Peer::onTcpPort(std::stoi(address.substr(address.find(':') + 1)));
    EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
}

TEST_F(EndpointOfTheLine, MayBeASerialDeviceWithItsLineSettings) {
    // The device is the slave of a pseudo-terminal; this test is at the master.
    FileDescriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(master.isOpen());
    ASSERT_EQ(grantpt(master.get()), 0);
    ASSERT_EQ(unlockpt(master.get()), 0);
    const std::string device = ptsname(master.get());
    simulator.startLine({arm1()}, nullptr, {"--serial", device, "--line", "38400,8,2,even"});

    const Bytes request = fromHex(kVersion).value();
    ASSERT_EQ(write(master.get(), request.data(), request.size()),
              static_cast<ssize_t>(request.size()));
    Bytes reply(9);
    std::size_t got = 0;
    while (got < reply.size()) {
        const ssize_t count = read(master.get(), reply.data() + got, reply.size() - got);
        ASSERT_GT(count, 0);
        got += static_cast<std::size_t>(count);
    }
    EXPECT_EQ(toHex(reply), kVersionReply);
    termios settings{};
    ASSERT_EQ(tcgetattr(master.get(), &settings), 0);
    EXPECT_EQ(cfgetospeed(&settings), B38400);
    EXPECT_NE(settings.c_cflag & CSTOPB, 0U);
}

TEST_F(EndpointOfTheLine, SendsNoFasterThanThePacedLine) {
    simulator.startLine({arm1()}, nullptr, {"--baud", "300"});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(peer.ask(kVersion, 9), kVersionReply);
    // Seven bytes there and nine back, a thirtieth of a second each.
    EXPECT_GE(std::chrono::steady_clock::now() - begun, milliseconds(533));
}

}  // namespace
