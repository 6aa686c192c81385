#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>

#include "technic/KdMutexChecker.h"
#include "technic/SystemLogger.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/LoggerProcess.h"
#include "tests/technic/StdoutCapture.h"
#include "tests/technic/SystemAnswers.h"

namespace {

class InitialisedLogger : public testing::Test {
  protected:
    std::string log() const { return withoutTimes(contentOf(m_path)); }
    std::string firstByte(const std::string& name) const {
        return contentOf(m_path + name).substr(0, 1);
    }

    DeviceFolder m_folder;
    std::string m_path = m_folder.path("System.log");
};

TEST_F(InitialisedLogger, InitReturnsOneAndOpensNothing) {
    withLoggerOfAnotherProcess([this](SystemLogger& logger) {
        EXPECT_EQ(logger.init(m_path, 1, 2), 1);
        EXPECT_FALSE(std::filesystem::exists(m_path));
    });
}

TEST_F(InitialisedLogger, AppendsToItsFileAndPrintsNothing) {
    StdoutCapture capture;
    withLoggerOfAnotherProcess([this](SystemLogger& logger) {
        const FixedWallClock clock("CST-8", 1709680089);
        logger.init(m_path, 1, 2);
        logger.log("C", "one");
        logger.log("C", "two", "F.cpp", 9);
        logger.logf({"G.cpp", 10}, "D", "%s\n", "three");
    });
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(contentOf(m_path),
              "2024-03-06 07:08:09,[C] one\n"
              "2024-03-06 07:08:09,[C] two,in F.cpp,line 9\n"
              "2024-03-06 07:08:09,[D] three,in G.cpp,line 10\n");
}

TEST_F(InitialisedLogger, LimitIsInKilobytes) {
    writeContent(m_path, std::string(2047, 'x'));
    withLoggerOfAnotherProcess([this](SystemLogger& logger) {
        logger.init(m_path, 2, 2);
        logger.log("C", "one");
        logger.log("C", "two");
    });
    EXPECT_EQ(log(), "TIME,[C] two\n");
    EXPECT_EQ(withoutTimes(contentOf(m_path + ".1")), std::string(2047, 'x') + "TIME,[C] one\n");
}

struct BackupCase {
    std::uint32_t count;
    // The first bytes of path.1, path.2 and path.3 after rotations of files of 'a', 'b' and 'c'.
    const char* backups;
};

void PrintTo(const BackupCase& row, std::ostream* out) {
    *out << row.count;
}

class Backups : public InitialisedLogger, public testing::WithParamInterface<BackupCase> {};

TEST_P(Backups, GoRound) {
    withLoggerOfAnotherProcess([this](SystemLogger& logger) {
        logger.init(m_path, 1, GetParam().count);
        for (char round = 'a'; round < 'd'; ++round) {
            writeContent(m_path, std::string(1024, round));
            logger.log("C", "line");
        }
    });
    EXPECT_EQ(firstByte(".1") + firstByte(".2") + firstByte(".3"), GetParam().backups);
}

INSTANTIATE_TEST_SUITE_P(Counts, Backups,
                         testing::Values(BackupCase{1, "c"}, BackupCase{2, "cb"},
                                         BackupCase{3, "abc"}, BackupCase{0xFFFFFFFF, "c"},
                                         BackupCase{0, "c"}));

TEST_F(InitialisedLogger, SecondInitGoesOnWithTheNextBackup) {
    const std::string other = m_folder.path("Other.log");
    writeContent(m_path, std::string(1024, 'a'));
    writeContent(other, std::string(2048, 'b'));
    withLoggerOfAnotherProcess([this, &other](SystemLogger& logger) {
        logger.init(m_path, 1, 2);
        logger.log("C", "line");
        logger.init(other, 2, 3);
        logger.log("C", "line");
    });
    EXPECT_EQ(contentOf(m_path + ".1"), std::string(1024, 'a'));
    EXPECT_EQ(contentOf(other + ".2"), std::string(2048, 'b'));
}

// Prints the places that its mutexes are locked and unlocked at.
class PrintingChecker : public IKdMutexChecker {
  public:
    void onLock(KdMutex*, const char* file, std::uint32_t line, std::uint32_t) override {
        std::printf("locked at %s:%u\n", file, line);
    }
    void onUnlock(KdMutex*, const char* file, std::uint32_t line, std::uint32_t) override {
        std::printf("unlocked at %s:%u\n", file, line);
    }
};

struct LockCase {
    const char* what;
    const char* path;
};

void PrintTo(const LockCase& row, std::ostream* out) {
    *out << row.what;
}

class LoggerLock : public InitialisedLogger, public testing::WithParamInterface<LockCase> {};

TEST_P(LoggerLock, IsTakenAtLine44AndGivenBackByTheGuard) {
    StdoutCapture capture;
    withLoggerOfAnotherProcess([this](SystemLogger& logger) {
        logger.init(m_folder.path(GetParam().path), 1, 2);
        PrintingChecker checker;
        setKdMutexChecker(&checker);
        logger.log("C", "line");
        setKdMutexChecker(nullptr);
    });
    EXPECT_EQ(capture.text(),
              "locked at SystemLogger.cpp:44\nunlocked at ../technic/KdMutex.h:71\n");
}

INSTANTIATE_TEST_SUITE_P(Lines, LoggerLock,
                         testing::Values(LockCase{"written", "System.log"},
                                         LockCase{"lost", "none/System.log"}));

}  // namespace
