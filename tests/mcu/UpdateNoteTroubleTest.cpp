#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "mcu/UpdateNote.h"
#include "technic/DevicePaths.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"

// A note that cannot be kept: what is printed stays the same, and nothing is waited for.
namespace {

namespace fs = std::filesystem;

// After which a test that hangs is ended.
constexpr unsigned kHangSeconds = 30;

std::string trouble(const std::string& what) {
    return std::string("MCUUpdateTool: the note log ") + device_paths::kUpdateNoteLog +
           " cannot be " + what + "\n";
}

class NoteTrouble : public testing::Test {
  protected:
    void SetUp() override {
        (void)alarm(kHangSeconds);
        UpdateNote::remove();
    }
    void TearDown() override {
        (void)alarm(0);
        fs::remove_all(device_paths::kUpdateNoteLog);
    }

    const OutputCapture m_output{STDOUT_FILENO};
    const OutputCapture m_errors{STDERR_FILENO};
};

TEST_F(NoteTrouble, APipeWithoutAReaderIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(device_paths::kUpdateNoteLog, 0600), 0);

    UpdateNote::log("printed\n");

    EXPECT_EQ(m_output.text(), "printed\n");
    EXPECT_EQ(m_errors.text(), trouble("written: No such device or address"));
}

TEST_F(NoteTrouble, AFullPipeIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(device_paths::kUpdateNoteLog, 0600), 0);
    const int reader = open(device_paths::kUpdateNoteLog, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const std::string more(100000, 'm');  // than a pipe holds

    UpdateNote::log(more.c_str());
    UpdateNote::log("printed\n");

    EXPECT_EQ(m_output.text(), more + "printed\n");
    EXPECT_EQ(m_errors.text(), trouble("written: Resource temporarily unavailable"));
    (void)close(reader);
}

TEST_F(NoteTrouble, TheFirstMessageThatIsLostIsTold) {
    ASSERT_EQ(mkdir(device_paths::kUpdateNoteLog, 0755), 0);

    UpdateNote::log("one\n");
    UpdateNote::log("two\n");

    EXPECT_EQ(m_output.text(), "one\ntwo\n");
    EXPECT_EQ(m_errors.text(), trouble("written: Is a directory"));
}

TEST_F(NoteTrouble, ANoteThatCannotBeDeletedIsTold) {
    ASSERT_EQ(mkdir(device_paths::kUpdateNoteLog, 0755), 0);

    UpdateNote::remove();

    EXPECT_EQ(m_errors.text(), trouble("deleted: Is a directory"));
}

TEST_F(NoteTrouble, ANoteThatCanBeKeptIsNotSpokenOf) {
    UpdateNote::log("one\n");
    UpdateNote::remove();
    UpdateNote::remove();
    UpdateNote::log("two\n");

    EXPECT_EQ(noteText(), "two\n");
    EXPECT_EQ(m_errors.text(), "");
}

// The folder of the logs with all that leads to it is moved aside, for it is a mount itself.
class LogFolderTrouble : public NoteTrouble {
  protected:
    void SetUp() override {
        NoteTrouble::SetUp();
        fs::rename(kParent, kAside);
        fs::create_directory(kParent);
    }
    void TearDown() override {
        fs::remove_all(kParent);
        fs::rename(kAside, kParent);
        NoteTrouble::TearDown();
    }

    static constexpr char kParent[] = "/mnt/mtd";
    static constexpr char kAside[] = "/mnt/aside";
};

TEST_F(LogFolderTrouble, AMissingFolderLosesTheNoteAndIsTriedAgain) {
    UpdateNote::remove();
    UpdateNote::log("printed\n");
    fs::create_directory(std::string(kParent) + "/log");
    UpdateNote::log("kept\n");

    EXPECT_EQ(m_output.text(), "printed\nkept\n");
    EXPECT_EQ(noteText(), "kept\n");
    EXPECT_EQ(m_errors.text(), trouble("written: No such file or directory"));
}

TEST_F(LogFolderTrouble, AReadOnlyFolderLosesTheNote) {
    fs::create_directory_symlink("/usr", std::string(kParent) + "/log");

    UpdateNote::remove();
    UpdateNote::log("printed\n");

    EXPECT_EQ(m_output.text(), "printed\n");
    EXPECT_EQ(m_errors.text(), trouble("written: Read-only file system"));
}

}  // namespace
