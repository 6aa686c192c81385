#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/target/GuestTests.h"
#include "tests/target/Machine.h"
#include "tests/target/SerialTrace.h"

// The product's ports on a real serial driver, and what the chip is told by it.
namespace {

using std::chrono::seconds;

TEST(SerialPort, PassesItsTestsOnARealDriver) {
    Machine machine;
    machine.connectToItself();

    EXPECT_EQ(failedGuestTests(machine, "serial_port_tests", seconds(300)), "");
}

// The table, without the comments and blank lines.
std::string goldenTable() {
    std::ifstream in(std::string(TARGET_GOLDEN) + "/line-settings.txt");
    std::string table;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') {
            table += line + '\n';
        }
    }
    return table;
}

// What the walk through the settings said, with the chip's settings behind each line.
std::string walkedTable(const std::string& output, const std::vector<std::string>& chipSettings) {
    std::string table;
    std::istringstream in(output);
    std::size_t mark = 0;  // the first one stands before the first call
    for (std::string line; std::getline(in, line);) {
        ++mark;
        table += line + " | " + (mark < chipSettings.size() ? chipSettings[mark] : "?") + '\n';
    }
    return table;
}

TEST(SerialPort, SetsTheLineAndItsChipAsTheTableSays) {
    Machine machine;
    machine.connectToItself();

    machine.boot("exec line-settings\n");
    machine.waitUntilOff(seconds(150));

    EXPECT_EQ(machine.result().status, 0);
    EXPECT_EQ(machine.result().errors, "");
    EXPECT_EQ(walkedTable(machine.result().output, chipSettingsAtMarks(machine.serialTrace())),
              goldenTable());
}

}  // namespace
