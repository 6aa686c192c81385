#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "technic/LogFile.h"
#include "tests/app/ConfigText.h"
#include "tests/app/JobFolder.h"
#include "tests/app/Program.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

// The disk of the logs is full, or becomes full: it is a small one of its own here. The working
// directory is on another.
namespace {

constexpr char kFiller[] = "/mnt/mtd/log/filler";
constexpr char kMarker[] = "MCUUpdateSuccess";
constexpr std::size_t kLimit = 10240;

const std::string kTrouble = std::string("MCUUpdateTool: the note log ") +
                             device_paths::kUpdateNoteLog +
                             " cannot be written: No space left on device\n";

class FullDisk : public testing::Test {
  protected:
    void TearDown() override {
        makeRoom();
        UpdateNote::remove();
    }

    // Fills the disk but for `bytes`, a multiple of its block size.
    static void fillBut(std::size_t bytes) {
        ASSERT_GE(room(), bytes);
        writeFile(kFiller, std::string(room() - bytes, 'f'));
        ASSERT_EQ(room(), bytes);
    }
    static void makeRoom() { std::filesystem::remove(kFiller); }

    static std::size_t blockSize() { return disk().f_frsize; }

    const OutputCapture m_errors{STDERR_FILENO};

  private:
    static struct statvfs disk() {
        struct statvfs status {};
        EXPECT_EQ(statvfs("/mnt/mtd/log", &status), 0);
        return status;
    }
    static std::size_t room() { return static_cast<std::size_t>(disk().f_bavail) * blockSize(); }
};

TEST_F(FullDisk, TakesNoNoteUntilThereIsRoomAgain) {
    const OutputCapture output(STDOUT_FILENO);
    fillBut(0);

    UpdateNote::log("lost\n");
    UpdateNote::log("lost, too\n");
    makeRoom();
    UpdateNote::log("kept\n");

    EXPECT_EQ(output.text(), "lost\nlost, too\nkept\n");
    EXPECT_EQ(noteText(), "kept\n");
    EXPECT_EQ(m_errors.text(), kTrouble);
}

// What the job printed, but for the line that never stands in the note.
std::string echoOf(std::string output) {
    const std::string line = "open(\"/dev/gpio_wtd\",O_WRONLY) success\n";
    const std::size_t at = output.find(line);
    return at == std::string::npos ? output : output.erase(at, line.size());
}

class FullDiskDuringAJob : public FullDisk {
  protected:
    static void configure(const std::vector<Attributes>& entries) {
        writeFile("arm3.bin", firmware());
        writeFile("config.xml", configText(completeParam(), entries));
    }
};

TEST_F(FullDiskDuringAJob, CutsTheNoteAndNothingElse) {
    configure({completeEntry(), completeEntry(), completeEntry(), completeEntry()});
    writeFile(kMarker, "of an earlier job");
    fillBut(blockSize());

    const ProgramRun run = runProgram({"1", "config.xml", "", "0"});

    EXPECT_EQ(run.status, 0);
    EXPECT_FALSE(exists(kMarker));
    EXPECT_EQ(noteText(), echoOf(run.output).substr(0, blockSize()));
    const std::string end = "\nThe File ARM3 Update Fail,Update Next\n\nupdate failed!\n\n\n\n";
    ASSERT_GT(run.output.size(), blockSize() + end.size());
    EXPECT_EQ(run.output.substr(run.output.size() - end.size()), end);
    EXPECT_THAT(m_errors.text(), testing::EndsWith(kTrouble));  // behind what an emulator says
}

TEST_F(FullDiskDuringAJob, LeavesASuccessASuccess) {
    configure({with(completeEntry(), "fileName", "missing.bin")});
    fillBut(0);

    const ProgramRun run = runProgram({"1", "config.xml", "", "0"});

    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(exists(kMarker));
    EXPECT_NE(run.output.find("update seccess!\n\n\n\n"), std::string::npos);
    EXPECT_EQ(noteText(), "");
}

class FullDiskUnderAnEventLog : public FullDisk {
  protected:
    void TearDown() override {
        std::filesystem::remove(kLog);
        std::filesystem::remove(backup());
        FullDisk::TearDown();
    }

    static void write(const char* text) { writeLogLine(kLog, "ThreadException", text, kLimit, 1); }
    static bool holds(const std::string& file, const std::string& text) {
        return readFile(file).find(text) != std::string::npos;
    }
    static std::string backup() { return std::string(kLog) + ".1"; }

    static constexpr const char* kLog = device_paths::kThreadExceptionLog;
};

TEST_F(FullDiskUnderAnEventLog, LosesLinesUntilThereIsRoomAgain) {
    fillBut(0);

    write("lost");
    makeRoom();
    write("kept");

    EXPECT_FALSE(holds(kLog, "lost"));
    EXPECT_TRUE(holds(kLog, "kept"));
}

TEST_F(FullDiskUnderAnEventLog, StillMovesALogThatHasReachedItsLimit) {
    const std::string old(kLimit, 'x');
    writeFile(kLog, old);
    fillBut(0);

    write("lost");
    makeRoom();
    write("kept");

    EXPECT_EQ(readFile(backup()), old);
    EXPECT_FALSE(holds(kLog, "lost"));
    EXPECT_TRUE(holds(kLog, "kept"));
}

TEST_F(FullDiskUnderAnEventLog, GetsRoomFromTheBackupThatIsOverwritten) {
    writeFile(backup(), std::string(kLimit, 'o'));
    writeFile(kLog, std::string(kLimit, 'x'));
    fillBut(0);

    write("kept");

    EXPECT_EQ(readFile(backup()), std::string(kLimit, 'x'));
    EXPECT_TRUE(holds(kLog, "kept"));
}

}  // namespace
