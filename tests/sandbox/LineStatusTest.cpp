#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/sandbox/Sandbox.h"

// The line-status request, answered for pseudo-terminals by the shim. The probe prints result,
// error number and status.
namespace {

const std::string kEmptyTransmitter = "0 0 1\n";

std::string failure(int error) {
    return "-1 " + std::to_string(error) + " 0\n";
}

TEST(LineStatus, OfAPseudoTerminalIsAnEmptyTransmitter) {
    EXPECT_EQ(Sandbox().probe({}, {"line-status", "slave"}).output, kEmptyTransmitter);
    EXPECT_EQ(Sandbox().probe({}, {"line-status", "master"}).output, kEmptyTransmitter);
}

TEST(LineStatus, IsNotAnsweredWhenSwitchedOff) {
    const RunResult result = Sandbox().probe({"--line-status", "off"}, {"line-status", "slave"});

    EXPECT_EQ(result.output.substr(0, 3), "-1 ");
    EXPECT_NE(result.output, failure(0));
}

TEST(LineStatus, MayBeSwitchedByTheProgramItself) {
    const std::string output = Sandbox().probe({}, {"line-status-switch"}).output;

    EXPECT_EQ(output.substr(0, kEmptyTransmitter.size()), kEmptyTransmitter);
    EXPECT_EQ(output.substr(kEmptyTransmitter.size(), 3), "-1 ");
    EXPECT_EQ(output.substr(output.size() - kEmptyTransmitter.size()), kEmptyTransmitter);
}

TEST(LineStatus, OfAFileIsNotAnswered) {
    EXPECT_EQ(Sandbox().probe({}, {"line-status", "/job/file"}).output, failure(ENOTTY));
}

TEST(LineStatus, OfAnotherDeviceIsNotAnswered) {
    EXPECT_EQ(Sandbox().probe({}, {"line-status", "/dev/null"}).output, failure(ENOTTY));
}

TEST(LineStatus, OfNothingIsNotAnswered) {
    EXPECT_EQ(Sandbox().probe({}, {"line-status", "/none/at-all"}).output, failure(EBADF));
}

}  // namespace
