#include "technic/SystemLogger.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/technic/DeviceFolder.h"
#include "tests/technic/StdoutCapture.h"

namespace {

constexpr const char* kPrefix = "Logger is not inition,TIME,[C] ";

// What `action` prints, time stamps left out.
std::string printedBy(const std::function<void(SystemLogger&)>& action) {
    StdoutCapture capture;
    action(SystemLogger::instance());
    return withoutTimes(capture.text());
}

TEST(SystemLogger, IsOne) {
    EXPECT_EQ(&SystemLogger::instance(), &SystemLogger::instance());
}

TEST(SystemLogger, PrintsBehindANoticeWhileNotInitialised) {
    EXPECT_EQ(printedBy([](SystemLogger& logger) { logger.log("C", "text"); }),
              std::string(kPrefix) + "text\n");
}

TEST(SystemLogger, NamesFileAndLineBehindTheText) {
    EXPECT_EQ(printedBy([](SystemLogger& logger) {
                  logger.log("KilledThread", "worker", "KdThread.cpp", 156);
              }),
              "Logger is not inition,TIME,[KilledThread] worker,in KdThread.cpp,line 156\n");
}

TEST(SystemLogger, TextIsNoFormat) {
    EXPECT_EQ(printedBy([](SystemLogger& logger) { logger.log("C", "100%s"); }),
              std::string(kPrefix) + "100%s\n");
}

TEST(SystemLogger, FormatsArguments) {
    EXPECT_EQ(printedBy([](SystemLogger& logger) {
                  logger.logf({"File.cpp", 7}, "C", "%d of %s", 3, "five");
              }),
              std::string(kPrefix) + "3 of five,in File.cpp,line 7\n");
}

struct FormattedCase {
    const char* what;
    std::string message;
    std::string kept;
};

void PrintTo(const FormattedCase& row, std::ostream* out) {
    *out << row.what;
}

class FormattedMessage : public testing::TestWithParam<FormattedCase> {};

TEST_P(FormattedMessage, IsKeptAs) {
    EXPECT_EQ(printedBy([](SystemLogger& logger) {
                  logger.logf({"F", 1}, "C", "%s", GetParam().message.c_str());
              }),
              kPrefix + GetParam().kept + ",in F,line 1\n");
}

std::string ofA(std::size_t length) {
    return std::string(length, 'a');
}

INSTANTIATE_TEST_SUITE_P(Lengths, FormattedMessage,
                         testing::Values(FormattedCase{"1022", ofA(1022), ofA(1022)},
                                         FormattedCase{"1023", ofA(1023), ofA(1023)},
                                         FormattedCase{"1024", ofA(1024), ofA(1023)},
                                         FormattedCase{"5000", ofA(5000), ofA(1023)}));

INSTANTIATE_TEST_SUITE_P(
    LineEnds, FormattedMessage,
    testing::Values(FormattedCase{"one at the end", "a\n", "a"},
                    FormattedCase{"two at the end", "a\n\n", "a\n"},
                    FormattedCase{"one alone", "\n", "\n"},
                    FormattedCase{"two alone", "\n\n", "\n"},
                    FormattedCase{"one inside", "a\nb", "a\nb"},
                    FormattedCase{"as the 1023rd", ofA(1022) + "\n", ofA(1022)},
                    FormattedCase{"as the 1024th", ofA(1023) + "\n", ofA(1023)}));

INSTANTIATE_TEST_SUITE_P(Nothing, FormattedMessage,
                         testing::Values(FormattedCase{"empty", "",
                                                       "too many message, cannot print"}));

// There is no way back from init, so each of these runs in a process of its own.
class InitialisedLogger : public testing::Test {
  protected:
    static void inAnotherProcess(const std::function<void(SystemLogger&)>& action) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            action(SystemLogger::instance());
            std::fflush(nullptr);
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    std::string log() const { return withoutTimes(contentOf(m_path)); }
    std::string firstByte(const std::string& name) const {
        return contentOf(m_path + name).substr(0, 1);
    }

    DeviceFolder m_folder;
    std::string m_path = m_folder.path("System.log");
};

TEST_F(InitialisedLogger, InitReturnsOneAndOpensNothing) {
    inAnotherProcess([this](SystemLogger& logger) {
        if (logger.init(m_path, 1, 2) != 1 || std::filesystem::exists(m_path)) {
            _exit(1);
        }
    });
}

TEST_F(InitialisedLogger, AppendsToItsFileAndPrintsNothing) {
    StdoutCapture capture;
    inAnotherProcess([this](SystemLogger& logger) {
        logger.init(m_path, 1, 2);
        logger.log("C", "one");
        logger.log("C", "two", "F.cpp", 9);
    });
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(log(), "TIME,[C] one\nTIME,[C] two,in F.cpp,line 9\n");
}

TEST_F(InitialisedLogger, LimitIsInKilobytes) {
    writeContent(m_path, std::string(2047, 'x'));
    inAnotherProcess([this](SystemLogger& logger) {
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
    inAnotherProcess([this](SystemLogger& logger) {
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

TEST_F(InitialisedLogger, LosesALineThatCannotBeWritten) {
    inAnotherProcess([this](SystemLogger& logger) {
        logger.init(m_folder.path("none/System.log"), 1, 2);
        logger.log("C", "lost");
    });
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("none")));
}

TEST_F(InitialisedLogger, KeepsEveryLineOfSeveralThreadsThroughARotation) {
    const std::size_t old = 504;
    const std::size_t lineSize = std::string("YYYY-MM-DD hh:mm:ss,[C] l\n").size();
    writeContent(m_path, std::string(old, 'x'));
    inAnotherProcess([this](SystemLogger& logger) {
        logger.init(m_path, 1, 2);
        std::vector<std::thread> writers;
        for (int i = 0; i < 4; ++i) {
            writers.emplace_back([&logger] {
                for (int n = 0; n < 10; ++n) {
                    logger.log("C", "l");
                }
            });
        }
        for (std::thread& writer : writers) {
            writer.join();
        }
    });
    EXPECT_EQ(contentOf(m_path + ".1").size(), old + 20 * lineSize);
    EXPECT_EQ(contentOf(m_path).size(), 20 * lineSize);
}

}  // namespace
