#include <gmock/gmock.h>

#include "tests/simulator/Peer.h"
#include "tests/simulator/SimulatorProcess.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(LiveView, ShowsEachThingInALineWithoutColoursInAFile) {
    SimulatorProcess simulator;
    simulator.startLine({arm1()}, nullptr, {"--live"});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask("fe0601010109ff", 9), "fe0602030100000cff");
    ASSERT_TRUE(simulator.waitForRecord("version reply"));
    EXPECT_EQ(simulator.terminate(), 0);
    EXPECT_THAT(simulator.output(), ContainsRegex("ARM1     -> version request  fe0601010109ff\n"));
    EXPECT_THAT(simulator.output(),
                ContainsRegex("ARM1     <- version reply    fe0602030100000cff  100\n"));
    EXPECT_THAT(simulator.output(), Not(HasSubstr("\033")));
}

TEST(LiveView, CountsABigTransferInsteadOfShowingItsBlocks) {
    SimulatorProcess simulator;
    simulator.startLine({arm1({{"state", "boot"}})}, nullptr, {"--live"});
    Peer peer = Peer::onTerminal(simulator.path("line"));
    EXPECT_EQ(peer.ask("fe050501010cff", 8), "fe050601000cff43");
    for (int number = 1; number <= 17; ++number) {
        peer.send(xmodemBlock(number, {1}));
        ASSERT_EQ(peer.receive(1), "06");
    }
    EXPECT_EQ(simulator.terminate(), 0);
    EXPECT_THAT(simulator.output(), HasSubstr("16 KiB received"));
    EXPECT_THAT(simulator.output(), Not(HasSubstr("block 1")));
}

}  // namespace
