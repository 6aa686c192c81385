#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"
#include "tests/target/Machine.h"

// Whole jobs in the middle of which the card with the serial port is taken away.
namespace {

using std::chrono::seconds;
using testing::HasSubstr;

const char kUnplug[] = "echo 1 > /sys/class/tty/ttyS0/device/remove\n";
const char kUnplugAndPlugIn[] =
    "echo 1 > /sys/class/tty/ttyS0/device/remove\nsleep 2\necho 1 > /sys/bus/pci/rescan\n";

// Some seven seconds on the line.
constexpr std::size_t kLongImage = std::size_t{80} * 1024;

// A script that runs the command until five blocks of the image are sent, does `then`, and ends as
// the command does.
std::string interrupted(const std::string& command, const std::string& then) {
    return command +
           " &\ntool=$!\nuntil grep -qs 'waiting for ACK,5,' /mnt/mtd/log/MCUUpdateNote.log\n"
           "do usleep 50000; done\n" +
           then + "wait $tool\nexit $?\n";
}

class SerialPortUnplug : public testing::Test {
  protected:
    void SetUp() override {
        machine.firmware("arm1.bin", arm1Image({2, 1, 0}, kLongImage));
        machine.configuration(arm1Config());
        machine.connect({arm1({1, 0, 0})});
        writeText(machine.jobFile("MCUUpdateSuccess"), "of an earlier job");
    }

    // The card is away for a moment while this command runs.
    void expectSuccessAtTheRetry(const std::string& command) {
        machine.boot(interrupted(command, kUnplugAndPlugIn));
        machine.waitUntilOff(seconds(200));

        const RunResult result = machine.result();
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.markerExists);
        EXPECT_EQ(countLines(result.note, "Sending file complete\r"), 1U) << result.note;
        EXPECT_THAT(result.note, HasSubstr("Revcice Command TimeOut"));
        EXPECT_EQ(machine.storedImage("ARM1"), arm1Image({2, 1, 0}, kLongImage).padded());
    }

    Machine machine;
};

TEST_F(SerialPortUnplug, FailsTheAttemptAndTheNextOneSucceedsWhenTheCardIsBack) {
    expectSuccessAtTheRetry(kUpdateCommand);
}

// A script that goes on after the tool leads the session in its place.
TEST_F(SerialPortUnplug, DoesNotEndAToolThatAScriptOfASessionOfItsOwnStarted) {
    expectSuccessAtTheRetry("setsid sh -c '" + std::string(kUpdateCommand) + "; exit $?'");
}

TEST_F(SerialPortUnplug, FailsTheJobWhenTheCardStaysAway) {
    machine.boot(interrupted(kUpdateCommand, kUnplug));
    machine.waitUntilOff(seconds(300));

    const RunResult result = machine.result();
    EXPECT_EQ(result.status, 0);
    EXPECT_FALSE(result.markerExists);
    EXPECT_THAT(result.note, HasSubstr("update failed!"));
    EXPECT_THAT(result.errors, HasSubstr("getattr error: Input/output error\n"));
}

// As a service that leads a session: the line is its terminal. Nothing is left to say how it ended.
TEST_F(SerialPortUnplug, EndsAToolThatLeadsASessionAtOnce) {
    machine.boot(interrupted(std::string("setsid ") + kUpdateCommand, kUnplug));
    machine.waitUntilOff(seconds(150));

    const RunResult result = machine.result();
    constexpr int kHangUp = 128 + 1;
    EXPECT_EQ(result.status, kHangUp);
    EXPECT_TRUE(result.markerExists);
    EXPECT_THAT(result.note, testing::Not(HasSubstr("Revcice Command TimeOut")));
}

}  // namespace
