#include "tests/faults/LineFault.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/faults/FaultRun.h"

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

class FaultSpecs : public testing::TestWithParam<const char*> {};

TEST_P(FaultSpecs, AreReadAsTheyAreWritten) {
    EXPECT_EQ(specOf(faultFrom(GetParam())), GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, FaultSpecs,
                         testing::Values("drop@tool:state#1:3", "flip:7@mcu:version#1:4",
                                         "replace:254@tool:block#2:1027", "duplicate@mcu:block#1:0",
                                         "noise:40@wait:mcu:EOT#1:0", "delay:20@mcu:update#1:7",
                                         "silence@wait:start", "power-cycle@tool:EOT#1:0",
                                         "garble@wait:start", "kill@mcu:EOT#2:0",
                                         "unplug:0@tool:stop-upload#3:6"));

struct BadSpec {
    const char* spec;
    const char* expected;
};

class BadFaultSpecs : public testing::TestWithParam<BadSpec> {};

TEST_P(BadFaultSpecs, AreRefusedWithWhatWasExpected) {
    const auto read = [] { (void)faultFrom(GetParam().spec); };
    EXPECT_THAT(read, ThrowsMessage<std::runtime_error>(HasSubstr(GetParam().expected)));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadFaultSpecs,
    testing::Values(BadSpec{"drop", "KIND@EVENT"}, BadSpec{"drop@", "KIND@EVENT"},
                    BadSpec{"burn@wait:start", "one of the kinds drop, flip"},
                    BadSpec{"drop:1@wait:start", "no number after \"drop\""},
                    BadSpec{"flip@wait:start", "a number from 0 to 7 after \"flip:\""},
                    BadSpec{"flip:8@wait:start", "a number from 0 to 7 after \"flip:\""},
                    BadSpec{"noise:0@wait:start", "a number from 1 to 40 after \"noise:\""},
                    BadSpec{"noise:-1@wait:start", "a number from 1 to 40 after \"noise:\""},
                    BadSpec{"delay:99999@wait:start", "a number from 1 to 3600"}));

TEST(Noise, IsAsLongAsTheFaultSaysAndAlwaysTheSame) {
    const LineFault fault{FaultKind::Noise, 17, "wait:start"};
    EXPECT_EQ(noiseOf(fault).size(), 17U);
    EXPECT_EQ(noiseOf(fault), noiseOf(fault));
}

TEST(Noise, DiffersFromPlaceToPlace) {
    EXPECT_NE(noiseOf({FaultKind::Noise, 17, "wait:start"}),
              noiseOf({FaultKind::Noise, 17, "mcu:EOT#1:0"}));
}

TEST(FaultPlans, AreReadAsTheyAreWritten) {
    const std::string id = "drop@tool:state#1:3,flip:7@mcu:version#1:4+marker=3";
    const FaultPlan plan = planFrom(id);
    EXPECT_EQ(plan.faults.size(), 2U);
    EXPECT_TRUE(plan.markerBefore);
    EXPECT_EQ(plan.attempts, 3);
    EXPECT_EQ(idOf(plan), id);
}

}  // namespace
