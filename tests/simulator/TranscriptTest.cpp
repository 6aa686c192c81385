#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;
using testing::ElementsAre;

class TranscriptOfTheLine : public testing::Test {
  protected:
    SimulatorProcess simulator;
};

TEST_F(TranscriptOfTheLine, HoldsEachCompleteThingInOrder) {
    simulator.startLine({arm1({{"state", "boot"}})});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask("fe0601010109ff", 9), "fe0602030100000cff");
    EXPECT_EQ(peer.ask("fe050501010cff", 8), "fe050601000cff43");
    peer.send(xmodemBlock(1, {1}));
    EXPECT_EQ(peer.receive(1), "06");
    EXPECT_EQ(peer.ask("04", 1), "06");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    EXPECT_THAT(
        simulator.story(true),
        ElementsAre("to-mcu version request", "from-mcu version reply", "to-mcu update request",
                    "event transfer begins", "from-mcu update reply", "from-mcu start byte",
                    "to-mcu block 1", "from-mcu ACK", "to-mcu EOT", "event image stored",
                    "from-mcu ACK", "event running"));
}

TEST_F(TranscriptOfTheLine, HasTheNamedKeysInEveryLine) {
    simulator.startLine({arm1()});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask("fe0601010109ff", 9), "fe0602030100000cff");
    json request = simulator.transcript().at(0);
    json reply = simulator.transcript().at(1);
    EXPECT_LE(request.at("time").get<double>(), reply.at("time").get<double>());
    request.erase("time");
    reply.erase("time");
    EXPECT_EQ(request, (json{{"dir", "to-mcu"},
                             {"mcu", "ARM1"},
                             {"meaning", "version request"},
                             {"bytes", "fe0601010109ff"},
                             {"detail", ""},
                             {"fault", ""}}));
    EXPECT_EQ(reply, (json{{"dir", "from-mcu"},
                           {"mcu", "ARM1"},
                           {"meaning", "version reply"},
                           {"bytes", "fe0602030100000cff"},
                           {"detail", "100"},
                           {"fault", ""}}));
}

TEST_F(TranscriptOfTheLine, NamesNoMcuForARequestToAll) {
    simulator.startLine({arm1()});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    peer.send("fe050701000dff");
    ASSERT_TRUE(simulator.waitForRecord("stop-upload"));
    EXPECT_EQ(simulator.transcript().at(0).at("mcu"), nullptr);
}

TEST_F(TranscriptOfTheLine, GathersNoise) {
    simulator.startLine({arm1()});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    peer.send("00010203");
    ASSERT_TRUE(simulator.waitForRecord("noise"));
    EXPECT_EQ(simulator.transcript().at(0).at("bytes"), "00010203");
}

TEST_F(TranscriptOfTheLine, CountsTimeInTheMcusOwnSeconds) {
    simulator.startLine({arm1({{"boot_delay_ms", 5000}})}, nullptr, {"--time-scale", "50"});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    peer.send("fe050301010aff");
    ASSERT_TRUE(simulator.waitForRecord("running"));
    const auto records = simulator.transcript();
    const double delay =
        records.at(1).at("time").get<double>() - records.at(0).at("time").get<double>();
    EXPECT_GE(delay, 4.99);
    EXPECT_LT(delay, 15.0);
}

}  // namespace
