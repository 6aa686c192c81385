#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/target/GuestTests.h"
#include "tests/target/Machine.h"
#include "tests/target/SerialTrace.h"

// The product's ports on a real serial driver, and what the chip at the other end of it is told.
namespace {

using std::chrono::seconds;
using Lines = std::vector<std::string>;

TEST(SerialPort, PassesItsTestsOnARealDriver) {
    Machine machine;
    machine.connectToItself();

    EXPECT_THAT(failedGuestTests(machine, "serial_port_tests", seconds(300)), testing::IsEmpty());
}

// The table, without the comments and blank lines.
Lines goldenLines() {
    std::ifstream in(std::string(TARGET_GOLDEN) + "/line-settings.txt");
    Lines lines;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') {
            lines.push_back(line);
        }
    }
    return lines;
}

// What the walk through the settings said, with the chip's settings behind each line.
Lines walkedLines(const std::string& output, const Lines& chipSettings) {
    Lines lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        // The first mark stands before the first call.
        const std::size_t mark = lines.size() + 1;
        lines.push_back(line + " | " +
                        (mark < chipSettings.size() ? chipSettings[mark] : "(no mark)"));
    }
    return lines;
}

TEST(SerialPort, SetsTheLineAndItsChipAsTheTableSays) {
    Machine machine;
    machine.connectToItself();

    machine.boot("exec line-settings\n");
    machine.waitUntilOff(seconds(90));

    EXPECT_EQ(machine.result().status, 0);
    EXPECT_EQ(machine.result().errors, "");
    EXPECT_THAT(walkedLines(machine.result().output, chipSettingsAtMarks(machine.serialTrace())),
                testing::ElementsAreArray(goldenLines()));
}

}  // namespace
