#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>

#include "mcu/UpdateNote.h"
#include "tests/BuiltProgram.h"
#include "tests/app/ConfigText.h"
#include "tests/app/JobFolder.h"
#include "tests/app/JobNote.h"

// Nobody takes what the program prints.
namespace {

constexpr char kMarker[] = "MCUUpdateSuccess";

struct OutputRow {
    const char* what;
    const char* redirection;
};

void PrintTo(const OutputRow& row, std::ostream* out) {
    *out << row.what;
}

class OutputTrouble : public testing::TestWithParam<OutputRow> {
  protected:
    void SetUp() override { writeFile("arm3.bin", firmware()); }

    static void run(const Attributes& entry, const std::string& redirection) {
        UpdateNote::remove();
        writeFile("config.xml", configText(completeParam(), {entry}));
        const std::string command =
            shellCommandOf("MCUUpdateTool") + "1 config.xml '' 0 " + redirection;
        EXPECT_EQ(std::system(command.c_str()), 0);
    }
};

TEST_P(OutputTrouble, LeavesAFailureAFailureAndItsNoteWhole) {
    run(completeEntry(), "> output");
    const std::string note = jobNote();
    writeFile(kMarker, "of an earlier job");

    run(completeEntry(), GetParam().redirection);

    EXPECT_EQ(jobNote(), note);
    EXPECT_FALSE(exists(kMarker));
}

TEST_P(OutputTrouble, LeavesASuccessASuccess) {
    run(with(completeEntry(), "fileName", "missing.bin"), GetParam().redirection);

    EXPECT_TRUE(exists(kMarker));
    EXPECT_NE(jobNote().find("update seccess!\n\n\n\n"), std::string::npos);
}

// Without a reader soon: it goes without having read anything.
INSTANTIATE_TEST_SUITE_P(All, OutputTrouble,
                         testing::Values(OutputRow{"Full", "> /dev/full"},
                                         OutputRow{"FullErrorsToo", "> /dev/full 2>&1"},
                                         OutputRow{"WithoutAReader", "| true"},
                                         OutputRow{"Closed", ">&-"}),
                         [](const auto& tested) { return tested.param.what; });

}  // namespace
