#include <gtest/gtest.h>

#include <filesystem>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// The builds for devices with little flash, or without the libraries.
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

void expectUpdate(const char* preset, const std::string& preparation) {
    Machine machine;
    const FirmwareImage image = arm1Image({2, 1, 0});
    fs::copy_file(fs::path(BUILD_DIRECTORY) / preset / "bin" / "MCUUpdateTool",
                  machine.jobFile("tool"));
    machine.firmware("arm1.bin", image);
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})});
    machine.boot("rm /usr/bin/MCUUpdateTool " + preparation +
                 "\nexec /job/tool 1 /job/update.xml /job/firmware/ 2\n");
    machine.waitUntilOff(seconds(150));

    expectSuccess(machine.result(), "success.note");
    EXPECT_EQ(machine.result().errors, "");
    EXPECT_EQ(machine.storedImage("ARM1"), image.padded());
}

TEST(SmallBuild, UpdatesAnMcu) {
    expectUpdate("armhf-small", "");
}

TEST(StaticBuild, UpdatesAnMcuWithoutTheLibraries) {
    const std::string libraries = "/usr/lib/arm-linux-gnueabihf";
    expectUpdate("armhf-static", libraries + "/libtinyxml* " + libraries + "/libstdc++*");
}

}  // namespace
