#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/target/Machine.h"

// The unit tests that only a kernel of the device's kind can be asked for (tests/armhf).
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

// Each is a process of its own, with the device's fixed paths made anew, and has to say that it
// ran.
const char kScript[] = R"(
cp -r /job/kernel-tests /tmp/
cd /tmp/kernel-tests
grep '^[a-z]' needs-kernel.txt | while read -r program test; do
    rm -rf /mnt/mtd/log/* /factory_setting/*
    LD_PRELOAD=/tmp/kernel-tests/lib/libdevice-shim.so "bin/$program" --gtest_filter="$test" \
        >/tmp/output.txt 2>&1 </dev/null
    if [ $? -eq 0 ] && grep -q 'PASSED.* 1 test\.' /tmp/output.txt; then
        echo "$program $test"
    else
        cat /tmp/output.txt >&2
    fi
done
)";

// The tests of the list, a line each.
std::string listedTests() {
    std::ifstream in(fs::path(KERNEL_TESTS) / "needs-kernel.txt");
    std::string tests;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') {
            tests += line + "\n";
        }
    }
    return tests;
}

TEST(KernelTests, AllPass) {
    const std::string tests = listedTests();
    ASSERT_NE(tests, "") << KERNEL_TESTS;
    Machine machine;
    fs::copy(KERNEL_TESTS, machine.jobFile("kernel-tests"), fs::copy_options::recursive);
    machine.boot(kScript);
    machine.waitUntilOff(seconds(200));

    EXPECT_EQ(machine.result().output, tests) << machine.result().errors;
}

}  // namespace
