#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;

class StateReport : public testing::Test {
  protected:
    SimulatorProcess simulator;
};

TEST_F(StateReport, IsThereBeforeTheLineIs) {
    simulator.startLine({arm1()});
    EXPECT_EQ(simulator.mcu("ARM1"), (json{{"name", "ARM1"},
                                           {"target", 1},
                                           {"state", "application"},
                                           {"receiving", false},
                                           {"version", "100"},
                                           {"version_bytes", {1, 0, 0}},
                                           {"hardware", "a1b2c3d4"},
                                           {"image", nullptr},
                                           {"image_bytes", 0},
                                           {"image_valid", true},
                                           {"images_received", 0},
                                           {"xmodem",
                                            {{"transfers", 0},
                                             {"completed", 0},
                                             {"cancelled", 0},
                                             {"start_bytes", 0},
                                             {"blocks_accepted", 0},
                                             {"blocks_repeated", 0},
                                             {"blocks_refused", 0},
                                             {"eots", 0}}}}));
}

TEST_F(StateReport, TellsOfTheImageWhenItsEotIsAcknowledged) {
    simulator.startLine({arm1({{"state", "boot"}, {"boot_delay_ms", 60000}})});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask("fe050501010cff", 8), "fe050601000cff43");
    EXPECT_EQ(simulator.mcu("ARM1").at("receiving"), true);
    peer.send(xmodemBlock(1, imageOf(1024, {3, 2, 1}, {1, 2, 3, 4})));
    EXPECT_EQ(peer.receive(1), "06");
    EXPECT_EQ(peer.ask("04", 1), "06");
    const json mcu = simulator.mcu("ARM1");
    EXPECT_EQ(mcu.at("receiving"), false);
    EXPECT_EQ(mcu.at("image"), "store/ARM1.bin");
    EXPECT_EQ(mcu.at("image_bytes"), 1024);
    EXPECT_EQ(mcu.at("images_received"), 1);
    EXPECT_EQ(mcu.at("version"), "123");
    EXPECT_EQ(mcu.at("hardware"), "04030201");
    EXPECT_EQ(mcu.at("xmodem").at("blocks_accepted"), 1);
}

TEST_F(StateReport, IsPrintedAtTheEnd) {
    simulator.startLine({arm1()});
    const std::string report = simulator.readText("state.json");
    EXPECT_EQ(simulator.terminate(), 0);
    EXPECT_EQ(simulator.output(), "ready line\n" + report);
    EXPECT_EQ(simulator.errors(), "");
}

}  // namespace
