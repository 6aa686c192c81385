#include "technic/SystemLogger.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cwchar>
#include <functional>
#include <ostream>
#include <string>

#include "technic/KdMutexChecker.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/StdoutCapture.h"
#include "tests/technic/SystemAnswers.h"

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
    const FixedWallClock clock("CST-8", 1709680089);
    StdoutCapture capture;
    SystemLogger::instance().log("KilledThread", "worker", "KdThread.cpp", 156);
    EXPECT_EQ(capture.text(),
              "Logger is not inition,2024-03-06 07:08:09,[KilledThread] worker,in "
              "KdThread.cpp,line 156\n");
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
                    FormattedCase{"as the 1024th", ofA(1023) + "\n", ofA(1023)},
                    FormattedCase{"last before the cut", ofA(1022) + "\nb", ofA(1022) + "\n"}));

INSTANTIATE_TEST_SUITE_P(Nothing, FormattedMessage,
                         testing::Values(FormattedCase{"empty", "",
                                                       "too many message, cannot print"}));

TEST(FormattedMessageThatFails, IsReplacedWhole) {
    // Not a character, so the formatter gives up behind "part ".
    const auto noCharacter = static_cast<wint_t>(0xD800);
    EXPECT_EQ(printedBy([&](SystemLogger& logger) {
                  logger.logf({"F", 1}, "C", "part %lc", noCharacter);
              }),
              std::string(kPrefix) + "too many message, cannot print,in F,line 1\n");
}

// Prints its mutex's calls.
class PrintingChecker : public IKdMutexChecker {
  public:
    void onLock(KdMutex*, const char*, std::uint32_t, std::uint32_t) override { std::puts("lock"); }
    void onUnlock(KdMutex*, const char*, std::uint32_t, std::uint32_t) override {
        std::puts("unlock");
    }
};

TEST(SystemLogger, TakesNoLockWhileNotInitialised) {
    PrintingChecker checker;
    setKdMutexChecker(&checker);
    const std::string printed = printedBy([](SystemLogger& logger) { logger.log("C", "text"); });
    setKdMutexChecker(nullptr);
    EXPECT_EQ(printed, std::string(kPrefix) + "text\n");
}

}  // namespace
