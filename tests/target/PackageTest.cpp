#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// The Debian package on the machine that it is for.
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

// Installs the package in the place of the machine's own tool, runs a job and takes it out again.
// Debian's dpkg by its path, for the shell has one of its own; it warns that it does not know the
// files of the machine's other packages.
const char kScript[] = R"(set -e
debian_dpkg() { /usr/bin/dpkg "$@" 2>>/job/warnings.txt; }
rm /usr/bin/MCUUpdateTool
debian_dpkg -i /job/package.deb >/job/dpkg.txt
debian_dpkg --verify mcuupdatetool >/job/verify.txt
debian_dpkg -L mcuupdatetool >/job/files.txt
cp /usr/share/doc/mcuupdatetool/examples/update.xml /job/example.xml
MCUUpdateTool 1 /job/update.xml /job/firmware/ 2
debian_dpkg -r mcuupdatetool >>/job/dpkg.txt
if [ -e /usr/bin/MCUUpdateTool ]; then echo "still there" >&2; fi
)";

void copyPackage(const Machine& machine) {
    const std::regex name("mcuupdatetool_.*_armhf\\.deb");
    int count = 0;
    for (const auto& entry : fs::directory_iterator(PACKAGE_DIRECTORY)) {
        if (std::regex_match(entry.path().filename().string(), name)) {
            fs::copy_file(entry.path(), machine.jobFile("package.deb"),
                          fs::copy_options::overwrite_existing);
            ++count;
        }
    }
    ASSERT_EQ(count, 1) << "packages in " << PACKAGE_DIRECTORY;
}

TEST(Package, InstallsRunsAndIsRemoved) {
    Machine machine;
    copyPackage(machine);
    machine.firmware("arm1.bin", arm1Image({2, 1, 0}));
    machine.configuration(arm1Config());
    machine.connect({arm1({1, 0, 0})});
    machine.boot(kScript);
    machine.waitUntilOff(seconds(150));

    const RunResult result = machine.result();
    expectSuccess(result, "success.note");
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(readText(machine.jobFile("verify.txt")), "");
    EXPECT_THAT(readText(machine.jobFile("files.txt")),
                testing::HasSubstr("/usr/share/man/man1/MCUUpdateTool.1.gz\n"));
    EXPECT_THAT(readText(machine.jobFile("example.xml")), testing::HasSubstr("UpdateFileList"));
    EXPECT_EQ(machine.mcuState("ARM1").at("version"), "210");
}

}  // namespace
