#include "tests/faults/LieReason.h"

#include <gtest/gtest.h>

namespace {

constexpr char kUpToDate[] = "Do not need update....\n";

std::string reasonOf(const std::string& id, bool killed, bool forged, const std::string& note) {
    const FaultPlan plan = planFrom(id);
    return lieReason({plan, plan.faults, killed, forged, note});
}

TEST(LieReason, IsAnAlteredVersionReplyThatMakesTheMcuSeemUpToDate) {
    EXPECT_EQ(reasonOf("flip:0@mcu:version#1:6", false, false, kUpToDate),
              "a version reply is accepted without its checksum");
}

TEST(LieReason, IsNoAlteredVersionReplyAfterWhichTheMcuWasUpdated) {
    EXPECT_EQ(reasonOf("flip:0@mcu:version#1:6", false, false, "Xmodem start !! \n"), "");
}

TEST(LieReason, IsNoAlteredReplyToAnotherQuestion) {
    EXPECT_EQ(reasonOf("flip:0@mcu:hardware#1:6", false, false, kUpToDate), "");
}

TEST(LieReason, IsNoAlteredVersionRequest) {
    EXPECT_EQ(reasonOf("flip:0@tool:version#1:4", false, false, kUpToDate), "");
}

TEST(LieReason, IsAnAcknowledgementThatNoMcuGave) {
    EXPECT_EQ(reasonOf("duplicate@mcu:block#2:0", false, true, ""),
              "any byte 06 counts as an acknowledgement");
}

TEST(LieReason, IsTheMarkerOfAnEarlierJobWhenTheToolIsKilled) {
    EXPECT_EQ(reasonOf("kill@wait:start+marker", true, false, ""),
              "the marker of an earlier job stays when the tool is killed");
}

TEST(LieReason, IsNoMarkerThatTheKilledToolMadeItself) {
    EXPECT_EQ(reasonOf("kill@wait:start", true, false, ""), "");
}

TEST(LieReason, IsNoMarkerThatAFailedJobLeftInPlace) {
    EXPECT_EQ(reasonOf("silence@wait:start+marker", false, false, ""), "");
}

}  // namespace
