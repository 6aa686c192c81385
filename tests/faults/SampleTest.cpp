#include <gmock/gmock.h>

#include "tests/e2e/SimulatedLine.h"
#include "tests/faults/FaultRun.h"
#include "tests/faults/SweepPlan.h"

// A sample of the sweep: what goes wrong, and what comes of it.
namespace {

using testing::IsEmpty;

const CleanUpdate kClean{
    {"hardware#1", "version#1", "state#1", "set-to-boot#1", "state#2", "update#1", "block#1",
     "block#2", "block#3", "EOT#1", "hardware#2", "version#2", "state#3", "set-to-boot#2",
     "state#4", "update#2", "block#4", "EOT#2"},
    {}};

struct Sample {
    const char* plan;
    Verdict verdict;
};

class FaultOnTheLine : public testing::TestWithParam<Sample> {};

TEST_P(FaultOnTheLine, LeavesATrueVerdictAndMcusThatAPlainRunUpdates) {
    const FaultReport report = runWithFaults(planFrom(GetParam().plan), kClean,
                                             directoryOfThisTest(FAULTS_DIRECTORY) / "run",
                                             {SANDBOX_SCRIPT, TOOL_PROGRAM, FAULTS_TIME_SCALE});
    EXPECT_TRUE(report.happened);
    EXPECT_STREQ(titleOf(report.verdict), titleOf(GetParam().verdict));
    EXPECT_THAT(report.violations, IsEmpty());
    EXPECT_TRUE(report.recovered);
}

INSTANTIATE_TEST_SUITE_P(Sample, FaultOnTheLine,
                         testing::Values(Sample{"drop@tool:hardware#1:4", Verdict::Success},
                                         Sample{"drop@mcu:hardware#2:7", Verdict::Success},
                                         Sample{"drop@tool:block#2:1028", Verdict::Success},
                                         Sample{"drop@mcu:EOT#1:0", Verdict::Success},
                                         Sample{"flip:0@mcu:version#1:6", Verdict::Lie},
                                         Sample{"flip:1@mcu:version#1:6", Verdict::Success},
                                         Sample{"flip:5@tool:block#1:3", Verdict::Success},
                                         Sample{"replace:255@mcu:version#2:5", Verdict::Success},
                                         Sample{"replace:254@tool:update#1:2", Verdict::Success},
                                         Sample{"duplicate@mcu:hardware#1:3", Verdict::Success},
                                         Sample{"duplicate@tool:block#4:1", Verdict::Success},
                                         Sample{"garble@tool:block#2:0", Verdict::Failure},
                                         Sample{"noise:23@wait:mcu:update#1:6", Verdict::Success},
                                         Sample{"noise:40@tool:block#1:500", Verdict::Success},
                                         Sample{"delay:3@mcu:state#2:0", Verdict::Success},
                                         Sample{"delay:20@mcu:block#4:0", Verdict::Success},
                                         Sample{"silence@mcu:EOT#2:0", Verdict::Understated},
                                         Sample{"power-cycle@tool:block#2:515", Verdict::Success},
                                         Sample{"power-cycle@mcu:EOT#1:0", Verdict::Success},
                                         Sample{"kill@mcu:EOT#1:0", Verdict::Failure},
                                         Sample{"kill@mcu:EOT#2:0", Verdict::Understated},
                                         Sample{"kill@tool:block#1:1000+marker", Verdict::Lie},
                                         Sample{"unplug:2@tool:block#2:900", Verdict::Success},
                                         Sample{"unplug:0@mcu:version#2:3+marker",
                                                Verdict::Failure}));

// The worst that the protocol allows: the sender is a reply ahead, so that the refusal of the last
// block comes when it has said that there is no more.
TEST(DoubledAcknowledgement, LeavesAnImageWithoutItsEndWhenTheLastBlockIsDamaged) {
    const FaultReport report =
        runWithFaults(planFrom("duplicate@mcu:block#2:0,flip:0@tool:block#3:500"), kClean,
                      directoryOfThisTest(FAULTS_DIRECTORY) / "run",
                      {SANDBOX_SCRIPT, TOOL_PROGRAM, FAULTS_TIME_SCALE});
    EXPECT_EQ(report.verdict, Verdict::Lie);
    EXPECT_EQ(report.reason, "any byte 06 counts as an acknowledgement");
    EXPECT_FALSE(report.recovered);
    EXPECT_THAT(report.violations, IsEmpty());
}

class RepeatedBlocks : public testing::TestWithParam<int> {};

TEST_P(RepeatedBlocks, AreBorneAsOftenAsTheTransferAllows) {
    const FaultReport report = runWithFaults(planRepeats().at(static_cast<std::size_t>(GetParam())),
                                             kClean, directoryOfThisTest(FAULTS_DIRECTORY) / "run",
                                             {SANDBOX_SCRIPT, TOOL_PROGRAM, FAULTS_TIME_SCALE});
    EXPECT_TRUE(report.happened);
    EXPECT_EQ(report.verdict, Verdict::Success);
    EXPECT_THAT(report.violations, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sample, RepeatedBlocks, testing::Values(0, 1, 2));

}  // namespace
