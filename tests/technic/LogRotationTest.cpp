#include "technic/RotatingLog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include "technic/LogFile.h"
#include "technic/SystemLogger.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/LoggerProcess.h"
#include "tests/technic/StdoutCapture.h"
#include "tests/technic/SystemAnswers.h"

namespace {

constexpr std::size_t kLimit = 1024;

// Writes a line of category "C".
using WriteLine = std::function<void(const char* text)>;
using Action = std::function<void(const WriteLine& line)>;

// Lets `action` write through the logger, or a log, with a limit of kLimit and three backups.
void throughSystemLogger(const std::string& path, const Action& action) {
    withLoggerOfAnotherProcess([&](SystemLogger& logger) {
        logger.init(path, kLimit / 1024, 3);
        action([&](const char* text) { logger.log("C", text); });
    });
}

void throughLogFile(const std::string& path, const Action& action) {
    LogFile log;
    log.init(path, kLimit, 3);
    action([&](const char* text) { log.log("C", text); });
}

struct Owner {
    const char* name;
    void (*write)(const std::string& path, const Action& action);
};

void PrintTo(const Owner& owner, std::ostream* out) {
    *out << owner.name;
}

// What the process-wide logger and the one-shot log have in common.
class LogRotation : public testing::TestWithParam<Owner> {
  protected:
    void write(const Action& action) const { GetParam().write(m_path, action); }
    void fill(char byte) const { writeContent(m_path, std::string(kLimit, byte)); }
    std::string log() const { return withoutTimes(contentOf(m_path)); }
    std::string backup(int number) const { return m_path + "." + std::to_string(number); }
    void makeBackupAFolder(int number) const { std::filesystem::create_directory(backup(number)); }

    DeviceFolder m_folder;
    std::string m_path = m_folder.path("Some.log");
};

TEST_P(LogRotation, HoldsTheFileOpenForOneLineOnly) {
    const std::string moved = m_folder.path("moved");
    write([&](const WriteLine& line) {
        line("one");
        std::filesystem::rename(m_path, moved);
        line("two");
    });
    EXPECT_EQ(withoutTimes(contentOf(moved)), "TIME,[C] one\n");
    EXPECT_EQ(log(), "TIME,[C] two\n");
}

TEST_P(LogRotation, LineThatFindsTheFileFullIsTheFirstOfTheNewFile) {
    fill('x');
    write([](const WriteLine& line) {
        line("one");
        line("two");
    });
    EXPECT_EQ(contentOf(backup(1)), std::string(kLimit, 'x'));
    EXPECT_EQ(log(), "TIME,[C] one\nTIME,[C] two\n");
}

TEST_P(LogRotation, WhatStandsInTheBackupsPlaceIsRemoved) {
    fill('x');
    makeBackupAFolder(1);
    write([](const WriteLine& line) { line("one"); });
    EXPECT_EQ(contentOf(backup(1)), std::string(kLimit, 'x'));
    EXPECT_EQ(log(), "TIME,[C] one\n");
}

TEST_P(LogRotation, FileThatCannotBeMovedIsWrittenOnAndTheNextBackupTried) {
    fill('x');
    makeBackupAFolder(1);
    writeContent(backup(1) + "/kept", "");
    write([](const WriteLine& line) {
        line("one");
        line("two");
    });
    EXPECT_EQ(withoutTimes(contentOf(backup(2))), std::string(kLimit, 'x') + "TIME,[C] one\n");
    EXPECT_EQ(log(), "TIME,[C] two\n");
}

TEST_P(LogRotation, FileThatCannotBeOpenedLosesTheLineInSilence) {
    StdoutCapture capture;
    const std::string folder = m_folder.path("later");
    m_path = folder + "/Some.log";
    write([&](const WriteLine& line) {
        line("lost");
        std::filesystem::create_directory(folder);
        line("written");
    });
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(log(), "TIME,[C] written\n");
}

// The path leads through the first backup's place, so removing the old backup cuts it off.
TEST_P(LogRotation, FileThatCannotBeReopenedLosesTheLineAndTheBackupIsTriedAgain) {
    StdoutCapture capture;
    const std::string file = m_path;
    const std::string through = backup(1);
    m_path = through + "/../Some.log";
    std::filesystem::create_directory(through);
    writeContent(file, std::string(kLimit, 'x'));
    write([&](const WriteLine& line) {
        line("lost");
        std::filesystem::create_directory(through);
        writeContent(through + "/kept", "");
        line("written on, for the first backup is in use");
        std::filesystem::remove(through + "/kept");
        line("moved to the second");
    });
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(withoutTimes(contentOf(file + ".2")),
              std::string(kLimit, 'x') + "TIME,[C] written on, for the first backup is in use\n");
    EXPECT_EQ(withoutTimes(contentOf(file)), "TIME,[C] moved to the second\n");
}

TEST_P(LogRotation, LineThatCannotBeWrittenIsLostInSilence) {
    StdoutCapture capture;
    std::filesystem::create_symlink("/dev/full", m_path);
    write([this](const WriteLine& line) {
        line("lost");
        std::filesystem::remove(m_path);
        line("written");
    });
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(log(), "TIME,[C] written\n");
    EXPECT_FALSE(std::filesystem::exists(backup(1)));
}

INSTANTIATE_TEST_SUITE_P(Owners, LogRotation,
                         testing::Values(Owner{"SystemLogger", throughSystemLogger},
                                         Owner{"LogFile", throughLogFile}),
                         [](const testing::TestParamInfo<Owner>& row) { return row.param.name; });

class UnknownSize : public testing::Test {
  protected:
    UnknownSize() { writeContent(m_path, std::string(kLimit, 'x')); }
    void write(void (*through)(const std::string& path, const Action& action)) const {
        through(m_path, [](const WriteLine& line) {
            const NoFileStatus refused;
            line("line");
        });
    }

    DeviceFolder m_folder;
    const std::string m_path = m_folder.path("Some.log");
};

TEST_F(UnknownSize, IsSmallEnoughForTheSystemLogger) {
    write(throughSystemLogger);
    EXPECT_EQ(withoutTimes(contentOf(m_path)), std::string(kLimit, 'x') + "TIME,[C] line\n");
}

TEST_F(UnknownSize, DropsTheLineOfAOneShotLog) {
    write(throughLogFile);
    EXPECT_EQ(contentOf(m_path), std::string(kLimit, 'x'));
    EXPECT_FALSE(std::filesystem::exists(m_path + ".1"));
}

}  // namespace
