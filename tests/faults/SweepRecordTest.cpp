#include "tests/faults/SweepRecord.h"

#include <gmock/gmock.h>

#include <fstream>
#include <stdexcept>

#include "tests/e2e/FirmwareImage.h"
#include "tests/e2e/SimulatedLine.h"
#include "tests/faults/SweepReport.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SweepOnDisk : public testing::Test {
  protected:
    SweepOnDisk() {
        fs::remove_all(m_directory);
        fs::create_directories(m_directory);
        writeText(m_tool, "a build");
    }

    SweepRecord record() const { return {m_directory / "sweep", m_tool}; }

    static FaultReport report(const std::string& id, Verdict verdict) {
        FaultReport report;
        report.plan = planFrom(id);
        report.verdict = verdict;
        report.happened = true;
        report.inStep = true;
        report.seconds = 10;
        report.bound = 100;
        return report;
    }

    const fs::path m_directory = directoryOfThisTest(FAULTS_DIRECTORY);
    const fs::path m_tool = m_directory / "tool";
};

TEST_F(SweepOnDisk, IsKnownAgainAfterAnInterruption) {
    SweepRecord first = record();
    first.keepClean({{"version#1"}, {"wait:start"}});
    first.keep(report("drop@wait:start", Verdict::Success));

    const SweepRecord second = record();
    EXPECT_THAT(second.clean().events, ElementsAre("wait:start"));
    EXPECT_TRUE(second.isDone("drop@wait:start"));
    EXPECT_FALSE(second.isDone("kill@wait:start"));
}

TEST_F(SweepOnDisk, DoesARunAgainThatIsNotWholeOnDisk) {
    SweepRecord first = record();
    first.keepClean({{}, {"wait:start"}});
    std::ofstream(m_directory / "sweep" / "runs.jsonl") << R"({"id":"drop@wait:start","verd)";

    EXPECT_FALSE(record().isDone("drop@wait:start"));
}

TEST_F(SweepOnDisk, DoesARunAgainInWhichTheFaultDidNotCome) {
    SweepRecord first = record();
    first.keepClean({{}, {"wait:start"}});
    FaultReport missed = report("drop@wait:start", Verdict::Success);
    missed.happened = false;
    first.keep(missed);

    EXPECT_FALSE(record().isDone("drop@wait:start"));
}

TEST_F(SweepOnDisk, IsNotGoneOnWithAfterTheToolHasChanged) {
    SweepRecord first = record();
    first.keepClean({{}, {"wait:start"}});
    writeText(m_tool, "another build");

    EXPECT_THROW((void)record(), std::runtime_error);
}

TEST_F(SweepOnDisk, ReportsViolationsLiesAndWhatIsNotDone) {
    SweepRecord done = record();
    FaultReport lie = report("flip:0@mcu:version#1:6", Verdict::Lie);
    lie.reason = "because";
    FaultReport hang = report("silence@wait:start", Verdict::Failure);
    lie.recovered = true;
    hang.violations = {"plain run after it: no success"};
    done.keep(lie);
    done.keep(hang);

    const json found = reportOf(
        done, {lie.plan, hang.plan, planFrom("kill@wait:start"), planFrom("drop@mcu:EOT#1:0")});

    EXPECT_EQ(found.at("lies").size(), 1U);
    EXPECT_EQ(found.at("violations").size(), 1U);
    EXPECT_EQ(found.at("notDone").size(), 2U);
    EXPECT_EQ(found.at("total").at("runs"), 2);
    EXPECT_EQ(found.at("total").at("recovered"), 1);
    EXPECT_THAT(tableOf(found), HasSubstr("VIOLATION: silence@wait:start"));
    EXPECT_THAT(tableOf(found), HasSubstr("lies: 1 times: because"));
}

}  // namespace
