#include "tests/faults/SweepPlan.h"

#include <gmock/gmock.h>

namespace {

using testing::IsSupersetOf;
using testing::SizeIs;

std::vector<std::string> idsOf(const std::vector<FaultPlan>& plans) {
    std::vector<std::string> ids;
    for (const FaultPlan& plan : plans) {
        ids.push_back(idOf(plan));
    }
    return ids;
}

const std::vector<std::string> kOfAnyMoment{"silence", "power-cycle", "kill", "unplug:2"};

TEST(SweepPlan, HasEveryFaultForAByteOfTheTool) {
    const std::string event = "tool:state#1:3";
    const auto ids = idsOf(planSweep({event}));
    EXPECT_THAT(ids, IsSupersetOf({"drop@" + event, "replace:254@" + event, "replace:255@" + event,
                                   "duplicate@" + event, "kill@" + event + "+marker",
                                   "unplug:0@" + event + "+marker"}));
    for (const std::string& kind : kOfAnyMoment) {
        EXPECT_THAT(ids, testing::Contains(kind + "@" + event));
    }
    EXPECT_THAT(ids, SizeIs(12));
}

TEST(SweepPlan, FlipsEachBitOfAnAnswerAndDelaysIt) {
    const std::string event = "mcu:version#1:3";
    const auto ids = idsOf(planSweep({event}));
    for (int bit = 0; bit < 8; ++bit) {
        EXPECT_THAT(ids, testing::Contains("flip:" + std::to_string(bit) + "@" + event));
    }
    EXPECT_THAT(ids, IsSupersetOf({"delay:3@" + event, "delay:20@" + event}));
    EXPECT_THAT(ids, SizeIs(21));
}

TEST(SweepPlan, AltersNoByteInAWait) {
    EXPECT_THAT(idsOf(planSweep({"wait:start"})), SizeIs(7));
}

TEST(SweepPlan, TakesOneOfEachStrideOfABlocksData) {
    std::vector<std::string> events;
    for (int place = 0; place < 1029; ++place) {
        events.push_back("tool:block#1:" + std::to_string(place));
    }
    // The header, the first byte, seven more of every 128th, the last byte and the check.
    EXPECT_THAT(planSweep(events), SizeIs((3 + 1 + 7 + 1 + 2) * 12));
}

TEST(SweepPlan, PlansAnEventOnce) {
    EXPECT_THAT(planSweep({"wait:start", "wait:start"}), SizeIs(7));
}

}  // namespace
