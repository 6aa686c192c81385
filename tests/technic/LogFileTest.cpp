#include "technic/LogFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/technic/DeviceFolder.h"
#include "tests/technic/StdoutCapture.h"
#include "tests/technic/SystemAnswers.h"

namespace {

constexpr std::uint32_t kLimit = 1024;
// After which a test that hangs is ended.
constexpr unsigned kHangSeconds = 30;

class EventLog : public testing::Test {
  protected:
    std::string log() const { return withoutTimes(contentOf(m_path)); }
    std::string backup(int number) const {
        return withoutTimes(contentOf(m_path + "." + std::to_string(number)));
    }
    bool hasBackup(int number) const {
        return std::filesystem::exists(m_path + "." + std::to_string(number));
    }
    void fill() const { writeContent(m_path, std::string(kLimit, 'x')); }

    DeviceFolder m_folder;
    std::string m_path = m_folder.path("Event.log");
};

TEST_F(EventLog, LineIsLocalTimeCategoryAndText) {
    const FixedWallClock clock("CST-8", 1709680089);
    writeLogLine(m_path, "Reboot", "a reason", kLimit, 2);
    EXPECT_EQ(contentOf(m_path), "2024-03-06 07:08:09,[Reboot] a reason\n");
}

TEST_F(EventLog, LinesAreAppended) {
    writeLogLine(m_path, "Reboot", "one", kLimit, 2);
    writeLogLine(m_path, "Restart", "two", kLimit, 2);
    EXPECT_EQ(log(), "TIME,[Reboot] one\nTIME,[Restart] two\n");
}

TEST_F(EventLog, TextMayHoldAnything) {
    writeLogLine(m_path, "C%s", "100%d\nnext", kLimit, 2);
    EXPECT_EQ(log(), "TIME,[C%s] 100%d\nnext\n");
}

TEST_F(EventLog, FileBelowTheLimitIsKept) {
    const std::string old(kLimit - 1, 'x');
    writeContent(m_path, old);
    writeLogLine(m_path, "Reboot", "new", kLimit, 2);
    EXPECT_EQ(log(), old + "TIME,[Reboot] new\n");
    EXPECT_FALSE(hasBackup(1));
}

TEST_F(EventLog, OneShotLinesAlwaysUseTheFirstBackup) {
    for (const char* reason : {"one", "two"}) {
        fill();
        writeLogLine(m_path, "Reboot", reason, kLimit, 2);
    }
    EXPECT_EQ(log(), "TIME,[Reboot] two\n");
    EXPECT_TRUE(hasBackup(1));
    EXPECT_FALSE(hasBackup(2));
}

TEST_F(EventLog, FolderInTheFilesPlaceLosesTheLine) {
    std::filesystem::create_directory(m_path);
    writeLogLine(m_path, "Reboot", "lost", kLimit, 2);
    EXPECT_TRUE(std::filesystem::is_empty(m_path));
}

TEST_F(EventLog, PipeInTheFilesPlaceIsNotWaitedForAndLosesTheLine) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    (void)alarm(kHangSeconds);
    writeLogLine(m_path, "Reboot", "lost", kLimit, 2);
    (void)alarm(0);
    EXPECT_TRUE(std::filesystem::is_fifo(m_path));
}

TEST_F(EventLog, PipeInTheBackupsPlaceIsRemoved) {
    ASSERT_EQ(mkfifo((m_path + ".1").c_str(), 0600), 0);
    fill();
    writeLogLine(m_path, "Reboot", "new", kLimit, 2);
    EXPECT_EQ(log(), "TIME,[Reboot] new\n");
    EXPECT_EQ(backup(1), std::string(kLimit, 'x'));
}

TEST_F(EventLog, LastingLogGoesRoundThroughItsBackups) {
    LogFile lasting;
    lasting.init(m_path, kLimit, 2);
    std::vector<std::string> backups;
    for (char round = 'a'; round < 'd'; ++round) {
        writeContent(m_path, std::string(kLimit, round));
        lasting.log("Reboot", "line");
        backups.push_back(backup(1).substr(0, 1) + backup(2).substr(0, 1));
    }
    EXPECT_EQ(backups, (std::vector<std::string>{"a", "ab", "cb"}));
}

TEST_F(EventLog, NoNumberOfBackupsIsSpecial) {
    LogFile lasting;
    lasting.init(m_path, kLimit, 0xFFFFFFFF);
    for (int round = 0; round < 2; ++round) {
        fill();
        lasting.log("Reboot", "line");
    }
    EXPECT_TRUE(hasBackup(2));
}

TEST_F(EventLog, NoBackupIsTakenAsOne) {
    LogFile lasting;
    lasting.init(m_path, kLimit, 0);
    for (int round = 0; round < 2; ++round) {
        fill();
        lasting.log("Reboot", "line");
    }
    EXPECT_EQ(log(), "TIME,[Reboot] line\n");
    EXPECT_TRUE(hasBackup(1));
    EXPECT_FALSE(hasBackup(2));
}

TEST_F(EventLog, LimitOfNothingMovesEveryLine) {
    LogFile lasting;
    lasting.init(m_path, 0, 3);
    lasting.log("Reboot", "one");
    lasting.log("Reboot", "two");
    EXPECT_EQ(backup(1), "");
    EXPECT_EQ(backup(2), "TIME,[Reboot] one\n");
    EXPECT_EQ(log(), "TIME,[Reboot] two\n");
}

TEST_F(EventLog, LineBeforeInitIsPrinted) {
    LogFile fresh;
    StdoutCapture capture;
    fresh.log("Reboot", "early");
    EXPECT_EQ(withoutTimes(capture.text()), "Logger is not inition,TIME,[Reboot] early\n");
}

}  // namespace
