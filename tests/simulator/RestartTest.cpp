#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using testing::ElementsAre;

const char kState[] = "fe0501010108ff";
const char kInApplication[] = "fe0502010008ff";
const char kInBoot[] = "fe0502010109ff";
const char kSetToBoot[] = "fe050301010aff";
const char kReboot[] = "fe011004000f000024ff";
const char kReset[] = "fe0110040029 00003eff";

class Restart : public testing::Test {
  protected:
    Peer peerOf(const std::vector<json>& mcus) {
        simulator.startLine(mcus);
        return Peer::onTerminal(simulator.path("line"));
    }
    SimulatorProcess simulator;
};

TEST_F(Restart, BySetToBootEndsInTheBootLoaderAfterTheBootDelay) {
    Peer peer = peerOf({arm1({{"boot_delay_ms", 300}})});
    peer.send(kSetToBoot);
    peer.send(kState);
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(200)));
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    const auto records = simulator.transcript();
    EXPECT_GE(records.at(2).at("time").get<double>() - records.at(0).at("time").get<double>(),
              0.299);
}

TEST_F(Restart, WithoutADelayIsOverForARequestThatComesRightBehind) {
    Peer peer = peerOf({arm1({{"boot_delay_ms", 0}})});
    EXPECT_EQ(peer.ask(kSetToBoot + std::string(kState), 7), kInBoot);
}

TEST_F(Restart, BySetToBootDoesNotHappenInTheBootLoader) {
    Peer peer = peerOf({arm1({{"state", "boot"}, {"boot_delay_ms", 3000}})});
    peer.send(kSetToBoot);
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(Restart, BySetToBootConcernsTheAddressedMcuOnly) {
    Peer peer = peerOf({arm1(), arm1({{"name", "ARM2"}, {"target", 2}})});
    peer.send("fe050301020bff");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_EQ(simulator.mcu("ARM2").at("state"), "boot");
}

class RestartOfAll : public Restart, public testing::WithParamInterface<const char*> {};

TEST_P(RestartOfAll, BringsEveryMcuBackToItsApplication) {
    Peer peer = peerOf(
        {arm1({{"state", "boot"}}), arm1({{"name", "ARM2"}, {"target", 2}, {"state", "boot"}})});
    peer.send(GetParam());
    ASSERT_TRUE(simulator.waitForRecord("running", 2));
    EXPECT_EQ(peer.ask(kState, 7), kInApplication);
    EXPECT_EQ(simulator.mcu("ARM1").at("state"), "application");
    EXPECT_EQ(simulator.mcu("ARM2").at("state"), "application");
}

INSTANTIATE_TEST_SUITE_P(Orders, RestartOfAll, testing::Values(kReboot, kReset));

TEST_F(Restart, EndsInTheBootLoaderWithoutAValidImage) {
    simulator.file("short.bin", std::string(8, 'x'));
    Peer peer = peerOf({arm1({{"image", "short.bin"}})});
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
    peer.send(kReset);
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_EQ(peer.ask(kState, 7), kInBoot);
}

TEST_F(Restart, ShowsAsSuchInTheStateReport) {
    Peer peer = peerOf({arm1({{"boot_delay_ms", 2000}}), arm1({{"name", "B"}, {"target", 2}})});
    peer.send(kSetToBoot);
    peer.send("fe0501010209ff");
    EXPECT_EQ(peer.receive(7), kInApplication);
    EXPECT_EQ(simulator.mcu("ARM1").at("state"), "restarting");
}

TEST_F(Restart, RunsTheInstalledImageWithItsVersionAndHardware) {
    const Bytes image = imageOf(100, {5, 10, 2}, {0xD4, 0xC3, 0xB2, 0xA1});
    simulator.file("old.bin", std::string(image.begin(), image.end()));
    Peer peer = peerOf({arm1({{"image", "old.bin"}, {"hardware", "00000000"}})});
    EXPECT_EQ(peer.ask("fe0601010109ff", 9), "fe060203020a051cff");
    EXPECT_EQ(peer.ask("fe060b010113ff", 10), "fe060c04a1b2c3d400ff");
}

}  // namespace
