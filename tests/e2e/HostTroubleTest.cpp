#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <stdexcept>

#include "tests/e2e/Device.h"
#include "tests/e2e/Expectations.h"
#include "tests/e2e/Scenario.h"

// The device itself is in trouble, not the line: the update goes on, and its outcome is the truth.
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kNote = "MCUUpdateTool: the note log /mnt/mtd/log/MCUUpdateNote.log cannot be ";
const std::string kMarker = "MCUUpdateTool: the marker file MCUUpdateSuccess cannot be ";

class HostTrouble : public testing::Test {
  protected:
    void SetUp() override {
        device.firmware("arm1.bin", image);
        device.configuration(arm1Config());
    }

    // A file or directory of the host, for a place on the device.
    fs::path hostPath(const std::string& name) const { return device.jobFile("../" + name); }
    void place(const std::string& option, const fs::path& host, const std::string& guest) {
        device.sandboxOption(option, host.string() + "=" + guest);
    }

    RunResult updateArm1(const nlohmann::json& faults = nlohmann::json()) {
        device.connect({arm1({1, 0, 0})}, faults);
        return device.update(faults == kSilent ? 2 : kTimeout);
    }
    void expectUpdated(const RunResult& result) const {
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_TRUE(result.markerExists);
        EXPECT_EQ(device.storedImage("ARM1"), image.padded());
    }

    const FirmwareImage image = arm1Image({2, 1, 0});
    Device device;
};

TEST_F(HostTrouble, OfALogDirectoryThatIsReadOnlyLeavesTheUpdateAsItIs) {
    const fs::path logs = hostPath("read-only");
    fs::create_directory(logs);
    writeText(logs / "MCUUpdateNote.log", "of an earlier job");
    place("--read-only", logs, "/mnt/mtd/log");

    const RunResult result = updateArm1();

    expectUpdated(result);
    expectPrintedNote(result, "success.note");
    EXPECT_THAT(result.errors, HasSubstr(kNote + "deleted: Read-only file system\n"));
    EXPECT_THAT(result.errors, HasSubstr(kNote + "written: Read-only file system\n"));
    EXPECT_EQ(readText(logs / "MCUUpdateNote.log"), "of an earlier job");
}

TEST_F(HostTrouble, OfALogDiskThatIsSoonFullLeavesTheUpdateAsItIs) {
    device.sandboxOption("--disk", "4096=/mnt/mtd/log");

    const RunResult result = updateArm1(kWrongHardwareSixTimes);

    expectUpdated(result);
    expectPrintedNote(result, "second-run-succeeds.note");
    EXPECT_THAT(result.errors, HasSubstr(kNote + "written: No space left on device\n"));
}

TEST_F(HostTrouble, OfALogDiskThatIsSoonFullLeavesAFailureAFailure) {
    device.sandboxOption("--disk", "4096=/mnt/mtd/log");
    writeText(device.jobFile("MCUUpdateSuccess"), "of an earlier job");

    const RunResult result = updateArm1(kSilent);

    EXPECT_EQ(result.status, 0);
    EXPECT_FALSE(result.markerExists);
    expectPrintedNote(result, "silent.note");
}

TEST_F(HostTrouble, OfANoteThatCannotBeDeletedEmptiesIt) {
    const fs::path note = hostPath("note");
    writeText(note, "of an earlier job");
    place("--bind", note, "/mnt/mtd/log/MCUUpdateNote.log");

    RunResult result = updateArm1();
    result.note = readText(note);

    expectSuccess(result, "success.note");
    EXPECT_THAT(result.errors, Not(HasSubstr(kNote)));
}

TEST_F(HostTrouble, OfAPipeInTheExceptionLogsPlaceHoldsNothingUp) {
    fs::create_directories(device.runDirectory() / "log");
    ASSERT_EQ(mkfifo((device.runDirectory() / "log/ThreadException.log").c_str(), 0600), 0);

    expectFailure(updateArm1(kSilent), "silent.note");
}

TEST_F(HostTrouble, OfAMarkerThatCannotBeCreatedIsTold) {
    place("--read-only", device.jobFile(""), "/job");

    const RunResult result = updateArm1();

    EXPECT_FALSE(result.markerExists);
    expectNote(result, "success.note");
    EXPECT_THAT(result.errors, HasSubstr(kMarker + "created: Read-only file system\n"));
    EXPECT_EQ(device.storedImage("ARM1"), image.padded());
}

TEST_F(HostTrouble, OfAMarkerThatCannotBeRemovedIsToldAfterEachRun) {
    writeText(device.jobFile("MCUUpdateSuccess"), "of an earlier job");
    writeText(hostPath("marker"), "");
    place("--bind", hostPath("marker"), "/job/MCUUpdateSuccess");

    const RunResult result = device.update(kTimeout);

    EXPECT_TRUE(result.markerExists);
    expectNote(result, "no-device.note");
    const std::string line = kMarker + "removed: Device or resource busy";
    EXPECT_EQ(countLines(result.errors, line), 2U) << result.errors;
}

TEST_F(HostTrouble, OfAWatchdogThatVanishesIsToldAndLeavesTheJobAsItIs) {
    device.sandboxOption("--watchdog", "vanish");

    const RunResult result = updateArm1(kSilent);

    expectFailure(result, "silent.note");
    EXPECT_EQ(countLines(result.note, "MCUHardwareWatchDog send GPIO_SET_WTD success"), 1U);
    EXPECT_GE(countLines(result.note, "MCUHardwareWatchDog send GPIO_SET_WTD error"), 2U);
}

// The heartbeat pipe with this test for its reader.
class HeartbeatTrouble : public HostTrouble {
  protected:
    void SetUp() override {
        HostTrouble::SetUp();
        const fs::path pipe = device.runDirectory() / "bin/threadchannel";
        fs::create_directories(pipe.parent_path());
        ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        m_reader = open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(m_reader, 0);
    }
    void TearDown() override { hangUp(); }

    void fill() const {
        const std::array<char, 4096> bytes{};
        while (write(m_reader, bytes.data(), bytes.size()) > 0) {
        }
    }
    void awaitHeartbeat() const {
        std::array<char, 4096> bytes{};
        for (int look = 0; look < 2000; ++look) {
            if (read(m_reader, bytes.data(), bytes.size()) > 0) {
                return;
            }
            (void)usleep(5000);
        }
        throw std::runtime_error("no heartbeat");
    }
    void hangUp() {
        if (m_reader >= 0) {
            close(m_reader);
            m_reader = -1;
        }
    }

  private:
    int m_reader = -1;
};

// Each heartbeat that does not go out is told on standard output, and takes a second.
TEST_F(HeartbeatTrouble, OfAPipeThatNobodyEmptiesLeavesTheUpdateAsItIs) {
    fill();

    const RunResult result = updateArm1();

    expectUpdated(result);
    expectNoteAlone(result, "success.note");
    EXPECT_THAT(result.output, HasSubstr("send GThreadInfo'data error,dataLength = 32,"));
}

TEST_F(HeartbeatTrouble, OfAReaderThatGoesAwayLeavesTheUpdateAsItIs) {
    device.connect({arm1({1, 0, 0})});
    device.startUpdate(kTimeout);
    awaitHeartbeat();
    hangUp();

    const RunResult result = device.finish();

    expectUpdated(result);
    expectSuccess(result, "success.note");
}

TEST_F(HostTrouble, OfAFileInTheHeartbeatPipesPlaceLeavesTheUpdateAsItIs) {
    writeText(hostPath("file"), "");
    device.sandboxOption("--no-heartbeat-pipe");
    place("--bind", hostPath("file"), "/hd1/program/bin/threadchannel");

    expectSuccess(updateArm1(), "success.note");
    EXPECT_THAT(readText(hostPath("file")), Not(IsEmpty()));
}

}  // namespace
