#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "technic/LogFile.h"
#include "technic/SystemLogger.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/LoggerProcess.h"
#include "tests/technic/RunOnThreads.h"

namespace {

constexpr int kWriters = 8;
constexpr int kLinesOfAWriter = 200;

using Lines = std::vector<std::string>;

std::string textOf(int writer, int number) {
    return "line " + std::to_string(number) + " of writer " + std::to_string(writer);
}

// The lines of one writer as they stand in a log, in order.
Lines writtenBy(int writer) {
    Lines lines;
    for (int number = 0; number < kLinesOfAWriter; ++number) {
        lines.push_back("TIME,[C] " + textOf(writer, number));
    }
    return lines;
}

Lines writtenByAll() {
    Lines lines;
    for (int writer = 0; writer < kWriters; ++writer) {
        const Lines one = writtenBy(writer);
        lines.insert(lines.end(), one.begin(), one.end());
    }
    return lines;
}

Lines sorted(Lines lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

// Lets every writer write its lines at the same time as the others.
void writeAtTheSameTime(const std::function<void(const std::string& text)>& write) {
    runOnThreads(kWriters, [&write](std::size_t writer) {
        for (int number = 0; number < kLinesOfAWriter; ++number) {
            write(textOf(static_cast<int>(writer), number));
        }
    });
}

Lines linesOf(const std::string& path) {
    std::istringstream text(withoutTimes(contentOf(path)));
    Lines lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

Lines ofWriter(int writer, const Lines& all) {
    const std::string tail = " of writer " + std::to_string(writer);
    Lines lines;
    std::copy_if(all.begin(), all.end(), std::back_inserter(lines), [&](const std::string& line) {
        return line.size() > tail.size() &&
               line.compare(line.size() - tail.size(), tail.size(), tail) == 0;
    });
    return lines;
}

class LogStress : public testing::Test {
  protected:
    void throughLogger(std::uint32_t limitInKilobytes, std::uint32_t backupCount) const {
        withLoggerOfAnotherProcess([&](SystemLogger& logger) {
            logger.init(m_path, limitInKilobytes, backupCount);
            writeAtTheSameTime([&](const std::string& text) { logger.log("C", text.c_str()); });
        });
    }
    // The lines of the backups 1, 2 and so on and then of the file itself.
    Lines linesOfBackupsAndFile() const {
        Lines lines;
        std::string path = m_path + ".1";
        for (int next = 2; std::filesystem::exists(path); ++next) {
            append(lines, path);
            path = m_path + "." + std::to_string(next);
        }
        append(lines, m_path);
        return lines;
    }
    static void append(Lines& lines, const std::string& path) {
        const Lines more = linesOf(path);
        lines.insert(lines.end(), more.begin(), more.end());
    }

    DeviceFolder m_folder;
    const std::string m_path = m_folder.path("Some.log");
};

TEST_F(LogStress, LoggerKeepsEveryLineOfEveryThreadInOrderThroughItsRotations) {
    throughLogger(1, 200);
    const Lines lines = linesOfBackupsAndFile();
    EXPECT_TRUE(std::filesystem::exists(m_path + ".10"));
    EXPECT_EQ(sorted(lines), sorted(writtenByAll()));
    for (int writer = 0; writer < kWriters; ++writer) {
        EXPECT_EQ(ofWriter(writer, lines), writtenBy(writer));
    }
}

TEST_F(LogStress, LoggerLosesOnlyTheOldestLinesToItsRotations) {
    throughLogger(4, 1);
    const Lines lines = linesOfBackupsAndFile();
    std::size_t kept = 0;
    for (int writer = 0; writer < kWriters; ++writer) {
        const Lines whole = writtenBy(writer);
        const Lines left = ofWriter(writer, lines);
        ASSERT_LE(left.size(), whole.size());
        EXPECT_TRUE(std::equal(left.rbegin(), left.rend(), whole.rbegin())) << writer;
        kept += left.size();
    }
    EXPECT_EQ(kept, lines.size());
    EXPECT_GE(std::filesystem::file_size(m_path + ".1"), 4096U);
}

TEST_F(LogStress, OneShotLinesOfAllThreadsAreWrittenWhole) {
    writeAtTheSameTime(
        [this](const std::string& text) { writeLogLine(m_path, "C", text, 1 << 20, 2); });
    EXPECT_EQ(sorted(linesOf(m_path)), sorted(writtenByAll()));
}

// Threads that find the file full at the same time move it one after the other, so lines may go
// with a backup too many, but never in part and never twice.
TEST_F(LogStress, OneShotLinesStayWholeThroughUnserialisedRotations) {
    writeAtTheSameTime(
        [this](const std::string& text) { writeLogLine(m_path, "C", text, 1024, 2); });
    const Lines all = sorted(writtenByAll());
    const Lines left = sorted(linesOfBackupsAndFile());
    EXPECT_FALSE(left.empty());
    EXPECT_TRUE(std::includes(all.begin(), all.end(), left.begin(), left.end()));
}

}  // namespace
