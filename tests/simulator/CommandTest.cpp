#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using testing::ElementsAre;

const char kVersion[] = "fe0601010109ff";
const char kState[] = "fe0501010108ff";
const char kHardware[] = "fe060b010113ff";
const char kUpdate[] = "fe050501010cff";

class CommandLineOfMcus : public testing::Test {
  protected:
    Peer peerOf(const std::vector<json>& mcus, const json& faults = nullptr) {
        simulator.startLine(mcus, faults);
        return Peer::onTerminal(simulator.path("line"));
    }
    SimulatorProcess simulator;
};

using Command = CommandLineOfMcus;

TEST_F(Command, VersionIsAnsweredWithItsThreeBytes) {
    Peer peer = peerOf({arm1({{"version", {2, 10, 5}}})});
    EXPECT_EQ(peer.ask(kVersion, 9), "fe060203020a051cff");
}

TEST_F(Command, HardwareIsAnsweredWithItsBytes) {
    Peer peer = peerOf({arm1()});
    EXPECT_EQ(peer.ask(kHardware, 10), "fe060c04a1b2c3d400ff");
}

TEST_F(Command, HardwareInformationMayBeEmpty) {
    Peer peer = peerOf({arm1({{"hardware", ""}})});
    EXPECT_EQ(peer.ask(kHardware, 6), "fe060c0012ff");
}

TEST_F(Command, StateIsZeroInTheApplication) {
    Peer peer = peerOf({arm1()});
    EXPECT_EQ(peer.ask(kState, 7), "fe0502010008ff");
}

TEST_F(Command, StateIsOneInTheBootLoader) {
    Peer peer = peerOf({arm1({{"state", "boot"}})});
    EXPECT_EQ(peer.ask(kState, 7), "fe0502010109ff");
}

TEST_F(Command, VersionAndHardwareAreAnsweredInTheBootLoaderToo) {
    Peer peer = peerOf({arm1({{"state", "boot"}})});
    EXPECT_EQ(peer.ask(kVersion, 9), "fe0602030100000cff");
    EXPECT_EQ(peer.ask(kHardware, 10), "fe060c04a1b2c3d400ff");
}

TEST_F(Command, UpdateIsRefusedInTheApplication) {
    Peer peer = peerOf({arm1()});
    EXPECT_EQ(peer.ask(kUpdate, 7), "fe050601010dff");
}

TEST_F(Command, UpdateIsAcceptedInTheBootLoaderAndTheStartByteFollows) {
    Peer peer = peerOf({arm1({{"state", "boot"}})});
    EXPECT_EQ(peer.ask(kUpdate, 8), "fe050601000cff43");
}

TEST_F(Command, IsAnsweredByTheAddressedMcuAlone) {
    Peer peer = peerOf({arm1(), arm1({{"name", "ARM2"}, {"target", 254}, {"version", {9, 9, 9}}})});
    EXPECT_EQ(peer.ask("fe060101fe06ff", 9), "fe06020309090926ff");
    EXPECT_EQ(peer.ask(kVersion, 9), "fe0602030100000cff");
    EXPECT_EQ(peer.ask("fe060101020aff fe0501010108ff", 7), "fe0502010008ff");
}

TEST_F(Command, OrdersAreNotAnswered) {
    Peer peer = peerOf({arm1()});
    peer.send("fe050701000dff fe050901000fff fe0206010009ff fe050301010aff");
    EXPECT_TRUE(peer.hearsNothingFor(milliseconds(100)));
}

TEST_F(Command, IsFoundInNoiseAndBehindABadFrame) {
    Peer peer = peerOf({arm1()});
    peer.send("00fffe13 fe060101010aff");
    EXPECT_EQ(peer.ask(kState, 7), "fe0502010008ff");
    EXPECT_THAT(simulator.story(), ElementsAre("to-mcu noise", "to-mcu bad frame",
                                               "to-mcu state request", "from-mcu state reply"));
}

TEST_F(Command, MayComeByteByByte) {
    Peer peer = peerOf({arm1()});
    const Bytes request = fromHex(kVersion).value();
    for (const std::uint8_t byte : request) {
        peer.send(Bytes{byte});
    }
    EXPECT_EQ(peer.receive(9), "fe0602030100000cff");
}

TEST_F(Command, UnknownIsRecordedAndNotAnswered) {
    Peer peer = peerOf({arm1()});
    peer.send("fe0777010180ff");
    EXPECT_EQ(peer.ask(kState, 7), "fe0502010008ff");
    EXPECT_EQ(simulator.story().at(0), "to-mcu unknown request");
}

}  // namespace
