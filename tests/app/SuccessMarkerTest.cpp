#include "app/SuccessMarker.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/app/JobFolder.h"
#include "tests/mcu/OutputCapture.h"

namespace {

constexpr char kMarker[] = "MCUUpdateSuccess";

// What is forced onto the disk, and whether the marker is there at that moment.
struct Forced {
    ino_t inode;
    bool markerExists;
};
std::vector<Forced> forced;

}  // namespace

// The linker leads this program's calls of fsync here.
extern "C" int __wrap_fsync(int fd) {  // NOLINT(bugprone-reserved-identifier): the linker's name
    struct stat status {};
    (void)fstat(fd, &status);
    forced.push_back({status.st_ino, exists(kMarker)});
    return 0;
}

namespace {

std::string trouble(const std::string& what) {
    return "MCUUpdateTool: the marker file MCUUpdateSuccess cannot be " + what + "\n";
}

class SuccessMarker : public testing::Test {
  protected:
    void SetUp() override { forced.clear(); }
    void TearDown() override { std::filesystem::remove_all(kMarker); }

    static bool isEmptyFile() {
        return std::filesystem::is_regular_file(kMarker) && readFile(kMarker).empty();
    }

    const OutputCapture m_errors{STDERR_FILENO};
};

TEST_F(SuccessMarker, TakesThePlaceOfAPipeWithoutAReader) {
    ASSERT_EQ(mkfifo(kMarker, 0600), 0);

    success_marker::create();

    EXPECT_TRUE(isEmptyFile());
    EXPECT_EQ(m_errors.text(), "");
}

TEST_F(SuccessMarker, TakesThePlaceOfAnEmptyDirectory) {
    std::filesystem::create_directory(kMarker);

    success_marker::create();

    EXPECT_TRUE(isEmptyFile());
    EXPECT_EQ(m_errors.text(), "");
}

TEST_F(SuccessMarker, ThatCannotBeCreatedIsToldWithTheReason) {
    std::filesystem::create_directories(std::string(kMarker) + "/kept");

    success_marker::create();

    EXPECT_EQ(m_errors.text(), trouble("created: Is a directory"));
}

TEST_F(SuccessMarker, OnAReadOnlyDiskIsTold) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path("/usr");

    success_marker::create();
    success_marker::remove();

    std::filesystem::current_path(before);
    EXPECT_EQ(m_errors.text(), trouble("created: Read-only file system"));
}

TEST_F(SuccessMarker, ThatCannotBeRemovedIsToldWithTheReason) {
    std::filesystem::create_directories(std::string(kMarker) + "/kept");

    success_marker::remove();

    EXPECT_TRUE(exists(kMarker));
    EXPECT_EQ(m_errors.text(), trouble("removed: Directory not empty"));
}

TEST_F(SuccessMarker, ThatIsNotThereNeedNotBeRemoved) {
    success_marker::remove();

    EXPECT_EQ(m_errors.text(), "");
}

TEST_F(SuccessMarker, StaysRemovedWhenThePowerIsLost) {
    success_marker::create();

    success_marker::remove();

    struct stat directory {};
    ASSERT_EQ(stat(".", &directory), 0);
    ASSERT_EQ(forced.size(), 1U);
    EXPECT_EQ(forced[0].inode, directory.st_ino);
    EXPECT_FALSE(forced[0].markerExists);
}

}  // namespace
